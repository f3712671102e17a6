# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The machine protocol: what the machine is told, and what it tells by itself."""

import contextlib
import json
from typing import Any

from waiting import connect


class Monitor:
    """A connection to the machine; keeps every event that has come."""

    def __init__(self, path: str) -> None:
        self.connection = connect(path)
        self.lines = self.connection.makefile("rw", encoding="utf-8")
        self.events: list[dict[str, Any]] = []
        self._read()
        self.command("qmp_capabilities")

    def _read(self) -> dict[str, Any]:
        line = self.lines.readline()
        if not line:
            raise ConnectionError("the machine has ended")
        message: dict[str, Any] = json.loads(line)
        return message

    def command(self, name: str, **arguments: object) -> Any:
        message: dict[str, object] = {"execute": name}
        if arguments:
            message["arguments"] = {key.replace("_", "-"): value for key, value in arguments.items()}
        self.lines.write(json.dumps(message) + "\n")
        self.lines.flush()
        while True:
            answer = self._read()
            if "event" in answer:
                self.events.append(answer)
            elif "error" in answer:
                raise RuntimeError(f"{name}: {answer['error']['desc']}")
            else:
                return answer["return"]

    def count(self) -> int:
        """How many events there have been so far."""
        self.command("query-status")
        return len(self.events)

    def happened(self, event: str, since: int = 0) -> int:
        """How often an event has happened after the first `since` events."""
        self.command("query-status")
        return sum(1 for entry in self.events[since:] if entry["event"] == event)

    def close(self) -> None:
        with contextlib.suppress(BrokenPipeError):  # what was still to be said to a machine that has ended
            self.lines.close()
        self.connection.close()
