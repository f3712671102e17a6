# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""A medium that answers as it likes: a network block device, which the machine has in the place of a drive.

What it answers may depend on how often a place was read before, and it may be gone at any read: an error answers that
and all later ones, as those of a drive that is pulled. (One that is never answered would stop the whole machine.)
"""

import os
import socket
import struct
import threading
from collections import Counter
from collections.abc import Callable

SECTOR = 512

# The network block device's protocol: fixed newstyle negotiation, simple replies.
MAGIC, OPTION_MAGIC, OPTION_REPLY = 0x4E42444D41474943, 0x49484156454F5054, 0x3E889045565A9
REQUEST, REPLY = 0x25609513, 0x67446698
OPTION_EXPORT_NAME, OPTION_ABORT, OPTION_INFO, OPTION_GO = 1, 2, 6, 7
REPLY_ACK, REPLY_INFO, REPLY_UNSUPPORTED = 1, 3, 2**31 + 1
READ, WRITE, DISCONNECT, FLUSH = 0, 1, 2, 3
FIXED_NEWSTYLE, NO_ZEROES = 1, 2
HAS_FLAGS, SENDS_FLUSH = 1, 4
EIO = 5

# What comes instead of bytes that were read: those, where they begin, and how often they were read before.
Answer = Callable[[bytes, int, int], bytes]


class BlockServer:
    """Serves the bytes of an image to one machine. Writes are kept in memory."""

    def __init__(self, image: str, path: str) -> None:
        with open(image, "rb") as file:
            self.data = bytearray(file.read())
        self.path = path
        self.answer: Answer | None = None
        self.times: Counter[int] = Counter()  # how often each sector was read
        self.reads = 0
        self.gone_from: int | None = None  # the read at which it is pulled, counted from 0
        self.is_gone = threading.Event()  # whether that has come
        self.is_pulled = threading.Event()  # from then on every read fails
        self.lock = threading.Lock()
        if os.path.exists(path):
            os.unlink(path)
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.bind(path)
        self.socket.listen()
        threading.Thread(target=self._serve, daemon=True).start()

    def node(self) -> dict[str, object]:
        """For the machine, as a block device."""
        return {"driver": "nbd", "server": {"type": "unix", "path": self.path}}

    def pull(self) -> None:
        """Whoever waits for an answer gets an error, as of a drive that is gone."""
        self.is_pulled.set()

    def close(self) -> None:
        self.pull()
        self.socket.close()

    def times_read(self, contents: bytes) -> int:
        """How often the place was read at which the image has these bytes."""
        with self.lock:
            return self.times[self.data.index(contents) // SECTOR]

    # --- What is answered -------------------------------------------------------------------------------

    def _read(self, start: int, length: int) -> bytes | None:
        """None for an error."""
        with self.lock:
            number, self.reads = self.reads, self.reads + 1
            first = start // SECTOR
            before = self.times[first]
            self.times.update(range(first, (start + length + SECTOR - 1) // SECTOR))
        if self.gone_from is not None and number >= self.gone_from:
            self.is_gone.set()
            return None
        if self.is_pulled.is_set():
            return None
        data = bytes(self.data[start : start + length])
        if not self.answer:
            return data
        # Sector by sector, as each has its own count.
        parts = []
        for place in range(0, length, SECTOR):
            sector = (start + place) // SECTOR
            count = before if place == 0 else self.times[sector] - 1
            parts.append(self.answer(data[place : place + SECTOR], start + place, count))
        return b"".join(parts)

    # --- The protocol -----------------------------------------------------------------------------------

    def _serve(self) -> None:
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return  # closed
            threading.Thread(target=self._attend, args=[connection], daemon=True).start()

    def _attend(self, connection: socket.socket) -> None:
        with connection:
            try:
                if self._negotiate(connection):
                    self._answer_requests(connection)
            except (ConnectionError, OSError):
                pass  # the machine has ended

    def _negotiate(self, connection: socket.socket) -> bool:
        connection.sendall(struct.pack(">QQH", MAGIC, OPTION_MAGIC, FIXED_NEWSTYLE | NO_ZEROES))
        receive(connection, 4)
        while True:
            _, option, length = struct.unpack(">QII", receive(connection, 16))
            receive(connection, length)
            if option == OPTION_EXPORT_NAME:
                connection.sendall(struct.pack(">QH", len(self.data), HAS_FLAGS | SENDS_FLUSH))
                return True
            if option in (OPTION_GO, OPTION_INFO):
                export = struct.pack(">HQH", 0, len(self.data), HAS_FLAGS | SENDS_FLUSH)
                reply(connection, option, REPLY_INFO, export)
                reply(connection, option, REPLY_ACK)
                if option == OPTION_GO:
                    return True
            elif option == OPTION_ABORT:
                reply(connection, option, REPLY_ACK)
                return False
            else:
                reply(connection, option, REPLY_UNSUPPORTED)

    def _answer_requests(self, connection: socket.socket) -> None:
        while True:
            magic, _, kind, handle, start, length = struct.unpack(">IHHQQI", receive(connection, 28))
            assert magic == REQUEST
            data: bytes | None = b""
            if kind == READ:
                data = self._read(start, length)
            elif kind == WRITE:
                self.data[start : start + length] = receive(connection, length)
            elif kind == DISCONNECT:
                return
            connection.sendall(struct.pack(">IIQ", REPLY, EIO if data is None else 0, handle) + (data or b""))


def receive(connection: socket.socket, length: int) -> bytes:
    data = b""
    while len(data) < length:
        part = connection.recv(length - len(data))
        if not part:
            raise ConnectionError
        data += part
    return data


def reply(connection: socket.socket, option: int, kind: int, data: bytes = b"") -> None:
    connection.sendall(struct.pack(">QIII", OPTION_REPLY, option, kind, len(data)) + data)


def other_from(times: int, instead: dict[bytes, bytes], until: int | None = None) -> Answer:
    """Bytes in which `instead`'s keys are replaced by its values, which are as long, where they were read so many
    times before; until they were read `until` times. None of them may reach over a sector's end."""

    def answer(data: bytes, _: int, count: int) -> bytes:
        if count >= times and (until is None or count < until):
            for old, new in instead.items():
                data = data.replace(old, new)
        return data

    return answer
