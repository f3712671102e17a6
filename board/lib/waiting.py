# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Waiting for a condition, with a limit in seconds; Timeout is raised when it is over.

How long things take depends on how fast the emulation is, so the limits are generous and nothing sleeps for a fixed
time before it looks.
"""

import os
import socket
import time
from collections.abc import Callable
from typing import TypeVar

PAUSE_BETWEEN_LOOKS = 0.2

Value = TypeVar("Value")


class Timeout(Exception):
    """A condition did not come true within its limit."""


def wait_until(condition: Callable[[], Value | None], limit: float, what: str) -> Value:
    """Returns the condition's value as soon as it is true."""
    end = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Timeout(f"not within {limit} s: {what}")
        time.sleep(PAUSE_BETWEEN_LOOKS)


def connect(path: str, limit: float = 30) -> socket.socket:
    def attempt() -> socket.socket | None:
        connection = socket.socket(socket.AF_UNIX)
        try:
            connection.connect(path)
            return connection
        except (FileNotFoundError, ConnectionRefusedError):
            connection.close()
            return None

    return wait_until(attempt, limit, f"connection to {os.path.basename(path)}")
