# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The serial line."""

import re
import select
import time

from waiting import PAUSE_BETWEEN_LOOKS, Timeout, connect

COMMAND_LIMIT = 300
INTERRUPT_LIMIT = 60


class Console:
    """A root shell on the serial line. What comes over it is kept in a file as well."""

    def __init__(self, path: str, log: str) -> None:
        self.connection = connect(path)
        self.connection.setblocking(False)
        self.log = open(log, "ab", buffering=0)
        self.text = ""
        self.count = 0
        self.is_at_work = False  # with a command that was given up

    def _receive(self) -> None:
        try:
            data = self.connection.recv(65536)
        except BlockingIOError:
            return
        if not data:
            raise ConnectionError("the serial line is closed")
        self.log.write(data)
        self.text += data.decode("utf-8", "replace").replace("\r", "")

    def _send(self, text: str) -> None:
        data = text.encode()
        while data:
            try:
                data = data[self.connection.send(data) :]
            except BlockingIOError:
                time.sleep(PAUSE_BETWEEN_LOOKS)

    def _wait_for(self, pattern: str, limit: float, what: str) -> re.Match[str]:
        """Looks whenever something comes: the line holds a few hundred bytes, and stands still when it is full."""
        end = time.monotonic() + limit
        while True:
            self._receive()
            found = re.search(pattern, self.text)
            if found:
                return found
            if time.monotonic() > end:
                raise Timeout(f"not within {limit} s: {what}")
            select.select([self.connection], [], [], PAUSE_BETWEEN_LOOKS)

    def wait_for_shell(self, limit: float) -> None:
        """Returns when the shell of a new start says that it is there. Nothing is typed before: what the serial
        line receives while nobody reads it can block it for good."""
        self._wait_for("console ready\n", limit, "a shell on the serial line")
        self.is_at_work = False

    def run(self, command: str, limit: float = COMMAND_LIMIT) -> tuple[int, str]:
        """Runs a command; returns its exit code and what it printed. One that does not end within the limit is
        interrupted when the next one comes."""
        if self.is_at_work:
            self._interrupt()
        self.is_at_work = True
        self._type(f'{{ {command}\n}} </dev/null 2>&1; echo "<$?=$((1000 + {self.count + 1}))>"\n')
        end = self._wait_for(rf"<(\d+)={1000 + self.count}>\n", limit, f"end of: {command}")
        self.is_at_work = False
        return int(end.group(1)), self.text[: end.start()]

    def _type(self, text: str) -> None:
        self.count += 1
        self.text = ""
        self._send(text)

    def _interrupt(self) -> None:
        """Returns when the shell listens again."""
        self._type(f'\x03\necho "<listens=$((1000 + {self.count + 1}))>"\n')
        self._wait_for(f"<listens={1000 + self.count}>\n", INTERRUPT_LIMIT, "the shell after an interrupted command")

    def wait_for_text(self, pattern: str, limit: float) -> str:
        """Everything that has come since the last command, once the pattern is in it."""
        self._wait_for(pattern, limit, f"on the serial line: {pattern}")
        return self.text

    def read_rest(self) -> None:
        """What has come before the machine ended."""
        try:
            while True:
                self._receive()
                select.select([self.connection], [], [], PAUSE_BETWEEN_LOOKS)
        except ConnectionError:
            pass

    def close(self) -> None:
        self.connection.close()
        self.log.close()
