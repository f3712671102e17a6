#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The media, good and hostile, that zul_media is tried with, and what has to become of each.

Usage: mediacases.py list [--on folder|ext4|fat]    their names, and what has to be said of each
       mediacases.py make CASE DIRECTORY            one of them, with what the controller is set to
       mediacases.py document [--check]             the table of docs/testing.md, or whether that has it

DIRECTORY gets: medium (what is on it), media.conf, keys.d, serial (if there is one) and said (the lines that
zul_media has to write, of a medium that is called sda1).

Keys and signatures are made with openssl alone, so that nothing of what is tried has a part in it. Where a medium is
not about its signature, that is a valid one.
"""

import base64
import dataclasses
import hashlib
import os
import re
import shutil
import socket
import stat
import subprocess
import sys
import tempfile
from collections.abc import Callable, Iterable

MANIFEST = "zul_install/MANIFEST"
SIGNATURE = "zul_install/MANIFEST.sig"
RESULTS = "zul_results"

# What a medium's file system can have. A case needs some of it.
LINKS, NODES, NAMES, CASE, HOLES, MODES, NO_CASE = "links", "nodes", "any names", "case", "holes", "modes", "no case"
FILE_SYSTEMS = {
    # A folder, which an ordinary user fills.
    "folder": {LINKS, NAMES, CASE, HOLES, MODES},
    "ext4": {LINKS, NODES, NAMES, CASE, HOLES, MODES},
    "fat": {NO_CASE},
}

CATALOGUE = b"""[system]
CMD_List="update,check,report"
ENDGAME=false

[CMD]
update=Update application@sh /mnt/upgrade/update.sh
check=Check its data@cksum /mnt/upgrade/data/app.bin
report=Write a report@cp /mnt/upgrade/update.sh /mnt/upgrade/zul_results/report
"""
# More than is read at once, and not a multiple of it.
BIG = b"".join(hashlib.sha256(bytes([i % 256, i // 256])).digest() for i in range(5000))[:150001]
BASE = {
    "update.sh": (b"#!/bin/sh\necho updated\n", 0o755),
    "zul_install/system.ini": (CATALOGUE, 0o644),
    "data/app.bin": (BIG, 0o644),
    "data/empty": (b"", 0o644),
}

# The order of the group that Ed25519's signatures count in.
ORDER = 2**252 + 27742317777372353535851937790883648493

USUAL = "Signature=required\nFreeMemory=0\n"


# --- Keys -------------------------------------------------------------------------------------------------


def openssl(*arguments: str) -> None:
    subprocess.run(["openssl", *arguments], check=True, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class Keys:
    """Secret and public keys, each made when it is asked for the first time."""

    def __init__(self, folder: str) -> None:
        self.folder = folder

    def secret(self, name: str) -> str:
        file = os.path.join(self.folder, name + ".secret")
        if not os.path.exists(file):
            kinds = {"rsa": ["RSA", "-pkeyopt", "rsa_keygen_bits:2048"], "ed448": ["ED448"]}
            kinds["ec"] = ["EC", "-pkeyopt", "ec_paramgen_curve:P-256"]
            openssl("genpkey", "-algorithm", *kinds.get(name, ["ED25519"]), "-out", file)
        return file

    def public(self, name: str) -> bytes:
        file = os.path.join(self.folder, name + ".public")
        if not os.path.exists(file):
            openssl("pkey", "-in", self.secret(name), "-pubout", "-out", file)
        return contents(file)

    def sign(self, name: str, text: bytes) -> bytes:
        source, target = os.path.join(self.folder, "text"), os.path.join(self.folder, "signature")
        with open(source, "wb") as file:
            file.write(text)
        openssl("pkeyutl", "-sign", "-rawin", "-inkey", self.secret(name), "-in", source, "-out", target)
        return contents(target)


def contents(file: str | bytes) -> bytes:
    with open(file, "rb") as source:
        return source.read()


# --- A medium, and the controller that it comes to ----------------------------------------------------------


@dataclasses.dataclass
class Listed:
    """A file as a manifest has it."""

    path: bytes
    size: int
    mode: int
    digest: str

    def lines(self) -> bytes:
        return entry(self.path, self.size, f"{self.mode:03o}", self.digest)


def entry(path: bytes, size: object = len(BASE["update.sh"][0]), mode: str = "755", digest: str = "") -> bytes:
    """The two lines of a file; of update.sh, whatever it is called, when nothing else is said."""
    return f"#file {size} {mode}\n{digest or digest_of(BASE['update.sh'][0])}  ".encode() + path + b"\n"


def digest_of(data: bytes) -> str:
    return hashlib.sha256(data).hexdigest()


HEAD = b"#zul-manifest 1\n"
UPDATE = entry(b"update.sh")


class Medium:
    """A folder that is filled as the medium, and the controller's files beside it."""

    def __init__(self, folder: str, keys: Keys) -> None:
        self.folder = folder
        self.keys = keys
        self.settings: str | None = USUAL
        self.installed: dict[str, bytes] = {"owner.pem": keys.public("owner")}
        self.serial: bytes | None = None
        self.listed: list[Listed] = []
        self.nodes: dict[str, tuple[int, int, int]] = {}  # kind and numbers of devices, which only root can make
        os.makedirs(folder)

    def path(self, name: str | bytes) -> bytes:
        return os.path.join(os.fsencode(self.folder), os.fsencode(name))

    def write(self, name: str | bytes, data: bytes, mode: int = 0o644) -> None:
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "wb") as file:
            file.write(data)
        os.chmod(self.path(name), mode)

    def grow(self, name: str, size: int) -> None:
        """With nothing but a hole."""
        with open(self.path(name), "ab") as file:
            file.truncate(size)

    def read(self, name: str) -> bytes:
        with open(self.path(name), "rb") as file:
            return file.read()

    def remove(self, name: str) -> None:
        os.remove(self.path(name))

    def rename(self, old: str, new: str) -> None:
        os.makedirs(os.path.dirname(self.path(new)), exist_ok=True)
        os.rename(self.path(old), self.path(new))

    def link(self, name: str, target: str) -> None:
        """In the place of what is there, which goes to "aside"."""
        if os.path.lexists(self.path(name)):
            self.rename(name, "aside")
        os.symlink(target, self.path(name))

    def node(self, name: str, kind: int, major: int = 0, minor: int = 0) -> None:
        """In the place of a file. A device is made where one is allowed to, and is kept in mind for who is."""
        self.remove(name)
        if kind == stat.S_IFSOCK:
            make_socket(self.path(name))
        elif kind == stat.S_IFIFO:
            os.mkfifo(self.path(name))
        else:
            self.nodes[name] = (kind, major, minor)

    def flip(self, name: str, place: int) -> None:
        data = bytearray(self.read(name))
        data[place] ^= 1
        with open(self.path(name), "r+b") as file:
            file.write(data)

    def base(self, changes: dict[str, tuple[bytes, int]] | None = None) -> None:
        """The files that most media have."""
        for name, (data, mode) in {**BASE, **(changes or {})}.items():
            self.write(name, data, mode)

    def list_file(self, name: str | bytes, mode: int = 0o644, path: bytes | None = None) -> None:
        with open(self.path(name), "rb") as file:
            data = file.read()
        self.listed.append(Listed(path or os.fsencode(name), len(data), mode, digest_of(data)))

    def list_base(self) -> None:
        for name, (_, mode) in BASE.items():
            self.list_file(name, mode)

    def install(self, settings: str, keys: str, serial: str) -> None:
        """What the controller is set to, in place of what it was set to before."""
        shutil.rmtree(keys, ignore_errors=True)
        os.makedirs(keys)
        files: dict[str, bytes | None] = {os.path.join(keys, name): key for name, key in self.installed.items()}
        files[settings] = None if self.settings is None else self.settings.encode()
        files[serial] = self.serial
        for path, data in files.items():
            if data is not None:
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, "wb") as file:
                    file.write(data)
            elif os.path.exists(path):
                os.remove(path)

    def text(self, head: bytes = HEAD) -> bytes:
        return head + b"".join(file.lines() for file in self.listed)

    def sign(self, text: bytes | None = None, key: str = "owner") -> None:
        """Writes a manifest, of what is listed or just these bytes, and its signature."""
        text = self.text() if text is None else text
        self.write(MANIFEST, text)
        self.write(SIGNATURE, self.keys.sign(key, text))


def make_socket(path: bytes) -> None:
    """By a short name, as a socket's path may not be long."""
    here = os.open(".", os.O_RDONLY)
    try:
        os.chdir(os.path.dirname(path))
        with socket.socket(socket.AF_UNIX) as made:
            made.bind(os.path.basename(path))
    finally:
        os.fchdir(here)
        os.close(here)


# --- What has to become of it -------------------------------------------------------------------------------

ACCEPTED, REFUSED, MOUNTED = "accepted", "refused", "mounted as it is"
Make = Callable[[Medium], None]


@dataclasses.dataclass
class Case:
    group: str
    name: str
    verdict: str
    lines: list[str]  # before the verdict's, and with it; {name}, {settings}, {keys}, {serial}, and <number> for any
    make: Make
    needs: set[str]
    serial_after: bytes | None = None
    results: bool = False  # whether the copy has the medium's folder for them
    bulky: bool = False  # too much for an image of every day

    def said(self, name: str, settings: str, keys: str, serial: str) -> str:
        places = {"name": name, "settings": settings, "keys": keys, "serial": serial}
        return "".join(line.format(**places) + "\n" for line in self.lines)

    def can_be_on(self, file_system: str) -> bool:
        return self.needs <= FILE_SYSTEMS[file_system]


CASES: list[Case] = []
group = ""
BY_OWNER = "signed by owner.pem"
UNKNOWN = "signature of no known key, or of another manifest"
CHANGED = "is not what was signed"


def refused(name: str, why: str, make: Make, *needs: str, before: Iterable[str] = (), bulky: bool = False) -> None:
    lines = [*before, "{name}: refused: " + why]
    CASES.append(Case(group, name, REFUSED, lines, make, set(needs), bulky=bulky))


def accepted(
    name: str,
    make: Make,
    *needs: str,
    said: str = BY_OWNER,
    before: Iterable[str] = (),
    serial_after: bytes | None = None,
    results: bool = False,
    bulky: bool = False,
) -> None:
    lines = [*before, "{name}: accepted: " + said]
    CASES.append(Case(group, name, ACCEPTED, lines, make, set(needs), serial_after, results, bulky))


def wrong_manifest(name: str, line: int, why: str, text: bytes, *needs: str, bulky: bool = False) -> None:
    """A medium that has the files, with a manifest that is none and a signature that holds."""

    def make(m: Medium) -> None:
        m.base()
        m.sign(text)

    refused(name, f"{MANIFEST}: line {line}: {why}".replace("{", "{{").replace("}", "}}"), make, *needs, bulky=bulky)


def signed(change: Make | None = None) -> Make:
    """A medium that was signed, and what was done to it afterwards."""

    def make(m: Medium) -> None:
        m.base()
        m.list_base()
        m.sign()
        if change:
            change(m)

    return make


def with_head(head: bytes, settings: str = "", serial: bytes | None = None) -> Make:
    def make(m: Medium) -> None:
        m.base()
        m.list_base()
        m.sign(m.text(HEAD + head))
        m.settings = USUAL + settings
        m.serial = serial

    return make


def with_settings(settings: str | None, change: Make | None = None) -> Make:
    def make(m: Medium) -> None:
        signed(change)(m)
        m.settings = settings

    return make


def with_keys(installed: dict[str, Callable[[Keys], bytes]], signer: str = "owner") -> Make:
    def make(m: Medium) -> None:
        m.base()
        m.list_base()
        m.sign(key=signer)
        m.installed = {name: key(m.keys) for name, key in installed.items()}

    return make


def public(name: str) -> Callable[[Keys], bytes]:
    return lambda keys: keys.public(name)


# --- Not signed, or by somebody else --------------------------------------------------------------------------

group = "unsigned"
refused("unsigned", "no manifest", Medium.base)
refused("empty", "no manifest", lambda m: None)
refused("manifest-without-signature", "no signature", signed(lambda m: m.remove(SIGNATURE)))
refused("signature-without-manifest", "no manifest", signed(lambda m: m.remove(MANIFEST)))
refused("manifest-elsewhere", "no manifest", signed(lambda m: m.rename(MANIFEST, "MANIFEST")))

group = "signed"
accepted("signed", signed())


def in_the_order_of_a_hand(m: Medium) -> None:
    m.base()
    m.list_base()
    m.listed.reverse()
    m.sign()


def with_other_modes(m: Medium) -> None:
    m.base()
    for name, mode in {
        "update.sh": 0o500,
        "data/app.bin": 0o777,
        "data/empty": 0,
        "zul_install/system.ini": 0o444,
    }.items():
        m.list_file(name, mode)
    m.sign()


def unusual_names(m: Medium) -> None:
    m.base({"data/größer ü/Übersicht.txt": (b"x", 0o644), "data/更新 1.txt": (b"y", 0o644)})
    for name in [*BASE, "data/größer ü/Übersicht.txt", "data/更新 1.txt"]:
        m.list_file(name)
    m.sign()


def shell_words(m: Medium) -> None:
    names = ["data/a file", "data/$(reboot)", "data/;reboot", "data/'quoted'", "data/-rf", "data/#file 0 644"]
    m.base({name: (name.encode(), 0o644) for name in names})
    for name in [*BASE, *names]:
        m.list_file(name)
    m.sign()


accepted("in-another-order", in_the_order_of_a_hand)
accepted("permissions-as-listed", with_other_modes)
accepted("names-in-other-letters", unusual_names)
accepted("names-that-mean-something-to-a-shell", shell_words, NAMES)
accepted("program-without-its-bit", signed(lambda m: os.chmod(m.path("update.sh"), 0o644)))
accepted("files-that-only-root-may-read", signed(lambda m: os.chmod(m.path("update.sh"), 0)), MODES)

group = "signed by another key"
refused("signed-by-another", UNKNOWN, with_keys({"owner.pem": public("owner")}, "stranger"))


def with_strangers_key(m: Medium) -> None:
    with_keys({"owner.pem": public("owner")}, "stranger")(m)
    for place in ("owner.pem", "etc/zul/keys.d/owner.pem", "zul_install/owner.pem"):
        m.write(place, m.keys.public("stranger"))


refused("signed-by-another-that-brings-the-key", UNKNOWN, with_strangers_key)


def nonsense(key: str) -> Make:
    """Nothing of a manifest is looked at before its signature holds, so that nobody hears what is wrong with it."""

    def make(m: Medium) -> None:
        m.base()
        m.sign(b"#zul-manifest 2\n\0\xff", key)

    return make


def nonsense_without_signature(m: Medium) -> None:
    nonsense("owner")(m)
    m.remove(SIGNATURE)


refused("nonsense-signed-by-another", UNKNOWN, nonsense("stranger"))
refused("nonsense-without-signature", "no signature", nonsense_without_signature)


def manifest_of_another(m: Medium) -> None:
    m.write("other.sh", b"#!/bin/sh\n")
    m.list_file("other.sh", 0o755)
    m.sign()
    m.remove("other.sh")
    m.base()


def signature_of_another(m: Medium) -> None:
    signed()(m)
    m.write(SIGNATURE, m.keys.sign("owner", HEAD + UPDATE))


def old_manifest(m: Medium) -> None:
    signed()(m)
    m.write("update.sh", b"#!/bin/sh\necho mended!\n", 0o755)


refused("manifest-and-signature-of-another-medium", "other.sh: No such file or directory", manifest_of_another)
refused("signature-of-another-manifest", UNKNOWN, signature_of_another)
refused("manifest-of-an-older-state", "update.sh: " + CHANGED, old_manifest)

group = "one bit flipped in each file, in the manifest and in the signature: of its first, middle and last byte"


def flipped(name: str, part: float) -> Make:
    def make(m: Medium) -> None:
        signed()(m)
        m.flip(name, int((len(m.read(name)) - 1) * part))

    return make


for NAME in [name for name, (data, _) in BASE.items() if data] + [MANIFEST, SIGNATURE]:
    for WHERE, PART in {"first": 0.0, "middle": 0.5, "last": 1.0}.items():
        refused(
            f"bit-of-{os.path.basename(NAME)}-{WHERE}",
            UNKNOWN if NAME in (MANIFEST, SIGNATURE) else f"{NAME}: {CHANGED}",
            flipped(NAME, PART),
        )

group = "signature of another form"


def signature(change: Callable[[bytes, Keys, bytes], bytes]) -> Make:
    def make(m: Medium) -> None:
        signed()(m)
        m.write(SIGNATURE, change(m.read(SIGNATURE), m.keys, m.read(MANIFEST)))

    return make


def pem(data: bytes) -> bytes:
    return b"-----BEGIN SIGNATURE-----\n" + base64.encodebytes(data) + b"-----END SIGNATURE-----\n"


def beyond_the_order(data: bytes) -> bytes:
    """Another number for the same place: whoever computes modulo takes it, and has two signatures of one manifest."""
    return data[:32] + (int.from_bytes(data[32:], "little") + ORDER).to_bytes(32, "little")


LONG_SIGNATURE = f"{SIGNATURE}: longer than 64 bytes"
refused("signature-empty", UNKNOWN, signature(lambda s, k, t: b""))
refused("signature-of-63-bytes", UNKNOWN, signature(lambda s, k, t: s[:63]))
refused("signature-of-65-bytes", LONG_SIGNATURE, signature(lambda s, k, t: s + b"\0"))
refused("signature-with-a-line-end", LONG_SIGNATURE, signature(lambda s, k, t: s + b"\n"))
refused("signature-twice", LONG_SIGNATURE, signature(lambda s, k, t: s + s))
refused("signature-as-pem", LONG_SIGNATURE, signature(lambda s, k, t: pem(s)))
refused("signature-as-base64", LONG_SIGNATURE, signature(lambda s, k, t: base64.b64encode(s)))
refused("signature-in-hex", LONG_SIGNATURE, signature(lambda s, k, t: s.hex().encode()))
refused("signature-of-zeros", UNKNOWN, signature(lambda s, k, t: bytes(64)))
refused("signature-of-the-neutral-point", UNKNOWN, signature(lambda s, k, t: b"\1" + bytes(63)))
refused("signature-beyond-the-order", UNKNOWN, signature(lambda s, k, t: beyond_the_order(s)))
refused("signature-with-halves-swapped", UNKNOWN, signature(lambda s, k, t: s[32:] + s[:32]))
refused("signature-of-the-sum", UNKNOWN, signature(lambda s, k, t: k.sign("owner", hashlib.sha256(t).digest())))
refused("signature-of-all-but-the-last-line", UNKNOWN, signature(lambda s, k, t: k.sign("owner", t[:-1])))
refused("signature-of-more", UNKNOWN, signature(lambda s, k, t: k.sign("owner", t + b"\n")))
refused("signature-100-mb", LONG_SIGNATURE, signed(lambda m: m.grow(SIGNATURE, 100 << 20)), HOLES)

# --- What was done to the files -------------------------------------------------------------------------------

group = "file added: it is not there for the tool"
accepted("file-added", signed(lambda m: m.write("added.sh", b"#!/bin/sh\n", 0o755)))
accepted("folder-added", signed(lambda m: m.write("data/added/added.sh", b"#!/bin/sh\n", 0o755)))
accepted("added-beside-the-catalogue", signed(lambda m: m.write("zul_install/system.ini~", CATALOGUE)))
accepted("added-with-a-newline-in-its-name", signed(lambda m: m.write("x\n/dev/sda1 1 1 1 1% /tmp", b"")), NAMES)
accepted("link-added", signed(lambda m: m.link("added", "/etc")), LINKS)
accepted("device-added", signed(lambda m: m.nodes.update({"added": (stat.S_IFBLK, 8, 0)})), NODES)

group = "file removed, renamed, moved, exchanged, changed in size"
refused("file-removed", "update.sh: No such file or directory", signed(lambda m: m.remove("update.sh")))
refused("empty-file-removed", "data/empty: No such file or directory", signed(lambda m: m.remove("data/empty")))
refused("file-renamed", "update.sh: No such file or directory", signed(lambda m: m.rename("update.sh", "upgrade.sh")))
refused("file-moved", "update.sh: No such file or directory", signed(lambda m: m.rename("update.sh", "data/update.sh")))
refused(
    "folder-renamed",
    "data/app.bin: the folder data: No such file or directory",
    signed(lambda m: m.rename("data", "date")),
)
refused(
    "name-in-other-case",
    "update.sh: No such file or directory",
    signed(lambda m: m.rename("update.sh", "Update.sh")),
    CASE,
)


def exchanged(m: Medium) -> None:
    first, second = b"#!/bin/sh\necho first\n", b"#!/bin/sh\necho other\n"
    m.write("first.sh", first, 0o755)
    m.write("second.sh", second, 0o755)
    m.list_file("first.sh", 0o755)
    m.list_file("second.sh", 0o755)
    m.sign()
    m.write("first.sh", second, 0o755)
    m.write("second.sh", first, 0o755)


def resized(name: str, size: int) -> Make:
    return signed(lambda m: m.grow(name, size))


def other_size(name: str, size: int) -> str:
    return f"{name}: {CHANGED}: it has {size} bytes, not {len(BASE[name][0])}"


refused("files-exchanged", "first.sh: " + CHANGED, exchanged)
refused("file-shorter", other_size("data/app.bin", 150000), resized("data/app.bin", 150000))
refused("file-longer", other_size("data/app.bin", 150002), resized("data/app.bin", 150002))
refused("file-emptied", other_size("update.sh", 0), resized("update.sh", 0))
refused("empty-file-filled", other_size("data/empty", 1), resized("data/empty", 1))
refused("file-that-never-ends", other_size("data/app.bin", 1 << 34), resized("data/app.bin", 1 << 34), HOLES)


def emptied_to_a_hole(m: Medium) -> None:
    m.grow("data/app.bin", 0)
    m.grow("data/app.bin", len(BIG))


refused("file-of-zeros-as-long", "data/app.bin: " + CHANGED, signed(emptied_to_a_hole))

group = "file or folder replaced by a link, a device, a pipe, a socket, a folder, a file"


def same_content_beside(m: Medium) -> None:
    """What the link leads to is just what was signed."""
    m.link("update.sh", "aside")


def hard_link(m: Medium) -> None:
    m.rename("update.sh", "aside")
    os.link(m.path("aside"), m.path("update.sh"))


def two_names(m: Medium) -> None:
    m.base()
    m.write("copy.sh", *BASE["update.sh"])
    m.list_base()
    m.list_file("copy.sh", 0o755)
    m.sign()
    m.link("copy.sh", "update.sh")


def folder_instead(name: str) -> Make:
    def change(m: Medium) -> None:
        m.remove(name)
        os.mkdir(m.path(name))

    return change


def file_instead_of_folder(m: Medium) -> None:
    m.rename("data", "aside")
    m.write("data", b"x")


def node_instead(name: str, kind: int, major: int = 0, minor: int = 0) -> Make:
    return lambda m: m.node(name, kind, major, minor)


refused("link-to-another-place", "update.sh: is a link", signed(lambda m: m.link("update.sh", "/etc/passwd")), LINKS)
refused("link-to-the-same-content", "update.sh: is a link", signed(same_content_beside), LINKS)
refused("link-to-another-listed-file", "copy.sh: is a link", two_names, LINKS)
refused("link-to-nowhere", "update.sh: is a link", signed(lambda m: m.link("update.sh", "none")), LINKS)
refused("link-to-itself", "update.sh: is a link", signed(lambda m: m.link("update.sh", "update.sh")), LINKS)
refused("link-out-of-the-medium", "update.sh: is a link", signed(lambda m: m.link("update.sh", "../copy")), LINKS)
refused(
    "link-to-the-kernels-files", "update.sh: is a link", signed(lambda m: m.link("update.sh", "/proc/self/mem")), LINKS
)
accepted("second-name-of-the-file", signed(hard_link), LINKS)
A_DEVICE = "is a device or the like"
refused("character-device", "update.sh: " + A_DEVICE, signed(node_instead("update.sh", stat.S_IFCHR, 1, 5)), NODES)
refused("block-device", "update.sh: " + A_DEVICE, signed(node_instead("update.sh", stat.S_IFBLK, 8, 0)), NODES)
refused("pipe", "update.sh: " + A_DEVICE, signed(node_instead("update.sh", stat.S_IFIFO)), LINKS)
refused("socket", "update.sh: " + A_DEVICE, signed(node_instead("update.sh", stat.S_IFSOCK)), LINKS)
refused("folder-instead-of-a-file", "update.sh: is a folder", signed(folder_instead("update.sh")))
refused("folder-instead-of-an-empty-file", "data/empty: is a folder", signed(folder_instead("data/empty")))
WAY = "data/app.bin: the folder data: "
refused("file-instead-of-a-folder", WAY + "is a file", signed(file_instead_of_folder))
refused("folder-replaced-by-a-link", WAY + "is a link", signed(lambda m: m.link("data", "aside")), LINKS)
refused("folder-replaced-by-a-link-outside", WAY + "is a link", signed(lambda m: m.link("data", "/etc")), LINKS)
refused("folder-replaced-by-a-link-up", WAY + "is a link", signed(lambda m: m.link("data", "..")), LINKS)

group = "the manifest, its signature or their folder replaced"
for NAME in (MANIFEST, SIGNATURE):
    SHORT = os.path.basename(NAME)

    def link_aside(m: Medium, name: str = NAME) -> None:
        m.link(name, "../aside")

    def no_bytes(m: Medium, name: str = NAME) -> None:
        m.write(name, b"")

    refused(f"{SHORT}-as-a-link", f"{NAME}: is a link", signed(link_aside), LINKS)
    refused(f"{SHORT}-as-a-folder", f"{NAME}: is a folder", signed(folder_instead(NAME)))
    refused(f"{SHORT}-as-a-pipe", f"{NAME}: {A_DEVICE}", signed(node_instead(NAME, stat.S_IFIFO)), LINKS)
    refused(f"{SHORT}-as-a-socket", f"{NAME}: {A_DEVICE}", signed(node_instead(NAME, stat.S_IFSOCK)), LINKS)
    refused(f"{SHORT}-as-a-device", f"{NAME}: {A_DEVICE}", signed(node_instead(NAME, stat.S_IFCHR, 1, 5)), NODES)
    refused(f"{SHORT}-emptied", UNKNOWN, signed(no_bytes))


def install_folder_is_a_file(m: Medium) -> None:
    m.rename("zul_install", "aside")
    m.write("zul_install", b"x")


INSTALL = f"{MANIFEST}: the folder zul_install: "
refused("zul_install-as-a-link", INSTALL + "is a link", signed(lambda m: m.link("zul_install", "aside")), LINKS)
refused("zul_install-as-a-link-outside", INSTALL + "is a link", signed(lambda m: m.link("zul_install", "/mnt")), LINKS)
refused("zul_install-as-a-file", INSTALL + "is a file", signed(install_folder_is_a_file))

# --- Manifests that are signed, and wrong -----------------------------------------------------------------------

group = "path that leads out, is not one, or not plain text"


def wrong_path(name: str, path: bytes, shown: str, why: str) -> None:
    wrong_manifest(name, 3, f"the path {shown} {why}", HEAD + entry(path))


NO_NAME, NO_PART, NOT_PLAIN = "has a part that is no name", "has an empty part", "is not plain UTF-8"
wrong_path("path-up", b"../update.sh", "../update.sh", NO_NAME)
wrong_path("path-up-in-between", b"data/../update.sh", "data/../update.sh", NO_NAME)
wrong_path("path-up-at-the-end", b"data/..", "data/..", NO_NAME)
wrong_path("path-up-alone", b"..", "..", NO_NAME)
wrong_path("path-absolute", b"/etc/passwd", "/etc/passwd", "is not from the medium's root")
wrong_path("path-of-two-slashes", b"//update.sh", "//update.sh", "is not from the medium's root")
wrong_path("path-with-two-slashes", b"data//app.bin", "data//app.bin", NO_PART)
wrong_path("path-with-a-slash-behind", b"update.sh/", "update.sh/", NO_PART)
wrong_path("path-with-a-dot", b"./update.sh", "./update.sh", NO_NAME)
wrong_path("path-with-a-dot-in-between", b"data/./app.bin", "data/./app.bin", NO_NAME)
wrong_path("path-of-a-dot", b".", ".", NO_NAME)
wrong_path("path-empty", b"", "", "is empty")
wrong_path("path-with-a-backslash", b"data\\app.bin", "data\\app.bin", "has a backslash")
wrong_path("path-up-with-backslashes", b"..\\update.sh", "..\\update.sh", "has a backslash")
wrong_path("path-of-the-standard-input", b"-", "-", "is the standard input to sha256sum")
wrong_path("path-of-the-manifest", b"zul_install/MANIFEST", "zul_install/MANIFEST", "cannot list itself")
wrong_path("path-of-the-signature", b"zul_install/MANIFEST.sig", "zul_install/MANIFEST.sig", "cannot list itself")
for CHARACTER, SHOWN in {
    "tab": ("\t", "\\x09"),
    "carriage-return": ("\r", "\\x0d"),
    "escape": ("\x1b", "\\x1b"),
    "zero-byte": ("\0", "\\x00"),
    "delete": ("\x7f", "\\x7f"),
    "c1-control": ("\x9b", "\\xc2\\x9b"),
}.items():
    wrong_path(f"path-with-a-{CHARACTER}", f"a{SHOWN[0]}b".encode(), f"a{SHOWN[1]}b", NOT_PLAIN)
wrong_path("path-of-no-utf-8", b"a\xff\xfeb", "a\\xff\\xfeb", NOT_PLAIN)
wrong_path("path-of-a-slash-that-is-too-long", b"..\xc0\xafetc", "..\\xc0\\xafetc", NOT_PLAIN)
wrong_path("path-of-half-a-character", b"a\xc3", "a\\xc3", NOT_PLAIN)
wrong_path("path-of-a-surrogate", b"a\xed\xa0\x80", "a\\xed\\xa0\\x80", NOT_PLAIN)
wrong_path("path-with-a-long-name", b"x" * 256, "x" * 200 + "...", "has a name that is too long")
wrong_path("path-too-long", b"d/" * 512 + b"x", "d/" * 100 + "...", "is too long")
wrong_manifest("path-with-a-newline", 4, 'not "#file SIZE MODE"', HEAD + entry(b"data\n/app.bin"))


def long_names(m: Medium) -> None:
    m.base()
    m.list_base()
    for name in ["n" * 255, "/".join(["f" * 200] * 5) + "/" + "g" * 19]:
        m.write(name, b"x")
        m.list_file(name)
    assert max(len(file.path) for file in m.listed) == 1024
    m.sign()


accepted("longest-names", long_names, NAMES)


def long_path_changed(m: Medium) -> None:
    """The line has to say what is wrong, however long the path is."""
    long_names(m)
    m.flip(os.fsdecode(m.listed[-1].path), 0)


refused("longest-path-changed", f"{'/'.join(['f' * 200] * 5)}/{'g' * 19}: {CHANGED}", long_path_changed, NAMES)

group = "paths that come into one another's way"
wrong_manifest("path-twice", 5, "the path update.sh is there twice", HEAD + UPDATE + UPDATE)
wrong_manifest(
    "path-twice-with-other-sums",
    5,
    "the path update.sh is there twice",
    HEAD + UPDATE + entry(b"update.sh", 0, "755", digest_of(b"")),
)
wrong_manifest("path-below-a-file", 5, "the path update.sh/x is below a file", HEAD + UPDATE + entry(b"update.sh/x"))
wrong_manifest("path-of-a-folder", 5, "the path data is a folder, too", HEAD + entry(b"data/x") + entry(b"data"))


def another_case(m: Medium) -> None:
    """One file of the medium under two names. The copy has two."""
    m.base()
    m.list_base()
    m.list_file("update.sh", 0o755, b"UPDATE.SH")
    m.sign()


refused("path-twice-in-another-case", "UPDATE.SH: No such file or directory", another_case, CASE)
accepted("path-twice-in-another-case-on-fat", another_case, NO_CASE)


def by_its_short_name(m: Medium) -> None:
    m.base()
    m.write("a long name.script", b"#!/bin/sh\n", 0o755)
    m.list_base()
    m.list_file("a long name.script", 0o755, b"ALONGN~1.SCR")
    m.sign()


accepted("path-of-a-short-name-on-fat", by_its_short_name, NO_CASE)


def lists_itself_in_another_case(m: Medium) -> None:
    m.base()
    m.list_base()
    text = m.text()
    m.sign(text + entry(b"zul_install/manifest", len(text), "644", digest_of(text)))


refused(
    "manifest-that-lists-itself-on-fat",
    f"zul_install/manifest: {CHANGED}: it has <number> bytes, not <number>",
    lists_itself_in_another_case,
    NO_CASE,
)

group = "manifest of 100 MB, of a million lines, of too many files"
TOO_LONG = f"{MANIFEST}: longer than 4194304 bytes"


def sparse_manifest(m: Medium) -> None:
    signed()(m)
    m.grow(MANIFEST, 100 << 20)


def full_manifest(m: Medium) -> None:
    m.base()
    lines = b"".join(entry(b"file-%07d" % number) for number in range(1000))
    m.sign(HEAD + lines * ((100 << 20) // len(lines) + 1))


refused("manifest-of-100-mb-sparse", TOO_LONG, sparse_manifest, HOLES)
refused("manifest-of-100-mb-full", TOO_LONG, full_manifest, bulky=True)
refused("manifest-one-byte-too-long", TOO_LONG, lambda m: m.sign(HEAD + b"\n" * ((4 << 20) - len(HEAD) + 1)))
wrong_manifest("manifest-of-a-million-lines", 2, 'not "#file SIZE MODE"', HEAD + b"\n" * 1000000)
wrong_manifest(
    "manifest-of-20001-files",
    40003,
    "more than 20000 files",
    HEAD + b"".join(entry(b"%d" % number) for number in range(20001)),
)
wrong_manifest(
    "manifest-of-a-line-of-4-mb", 1, 'not "#zul-manifest 1"', HEAD[:-1] + b" " * ((4 << 20) - len(HEAD)) + b"\n"
)
wrong_manifest(
    "manifest-of-50100-folders",
    81,
    "more than 20000 folders",
    HEAD + b"".join(entry(b"%03d/" % number + b"d/" * 500 + b"x") for number in range(100)),
)


def most_files(m: Medium) -> None:
    for number in range(20000):
        m.write(f"{number // 200}/{number}", b"")
        m.listed.append(Listed(f"{number // 200}/{number}".encode(), 0, 0o644, digest_of(b"")))
    m.sign()


accepted("manifest-of-20000-files", most_files, LINKS, bulky=True)

group = "manifest of another form"
NOT_HEAD, NOT_FILE, NOT_SUM = 'not "#zul-manifest 1"', 'not "#file SIZE MODE"', 'not "SHA256  PATH"'


def manifest_of_no_bytes(m: Medium) -> None:
    """openssl signs no empty file; this is the first test of RFC 8032."""
    key = "d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a"
    signed_by_it = (
        "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701cf9b46bd25bf5f0595b"
        "be24655141438e7a100b"
    )
    der = base64.encodebytes(bytes.fromhex("302a300506032b6570032100" + key))
    m.installed = {"owner.pem": b"-----BEGIN PUBLIC KEY-----\n" + der + b"-----END PUBLIC KEY-----\n"}
    m.base()
    m.write(MANIFEST, b"")
    m.write(SIGNATURE, bytes.fromhex(signed_by_it))


refused("manifest-empty", f"{MANIFEST}: line 1: {NOT_HEAD}", manifest_of_no_bytes)
wrong_manifest("manifest-without-head", 1, NOT_HEAD, UPDATE)
wrong_manifest("manifest-of-sums-alone", 1, NOT_HEAD, UPDATE.split(b"\n", 1)[1])
wrong_manifest("manifest-of-version-2", 1, NOT_HEAD, b"#zul-manifest 2\n" + UPDATE)
wrong_manifest("manifest-of-version-10", 1, NOT_HEAD, b"#zul-manifest 10\n" + UPDATE)
wrong_manifest("manifest-of-version-1.0", 1, NOT_HEAD, b"#zul-manifest 1.0\n" + UPDATE)
wrong_manifest("manifest-with-a-byte-order-mark", 1, NOT_HEAD, b"\xef\xbb\xbf" + HEAD + UPDATE)
wrong_manifest("manifest-in-utf-16", 1, NOT_HEAD, (HEAD + UPDATE).decode().encode("utf-16"))
wrong_manifest("manifest-with-carriage-returns", 1, NOT_HEAD, (HEAD + UPDATE).replace(b"\n", b"\r\n"))
wrong_manifest("manifest-with-carriage-returns-later", 2, NOT_FILE, HEAD + UPDATE.replace(b"\n", b"\r\n"))
wrong_manifest("manifest-with-two-heads", 2, NOT_FILE, HEAD + HEAD + UPDATE)
wrong_manifest("manifest-without-files", 2, NOT_FILE, HEAD)
wrong_manifest("manifest-without-a-line-end", 3, NOT_SUM, (HEAD + UPDATE)[:-1])
wrong_manifest("manifest-with-an-empty-line", 2, NOT_FILE, HEAD + b"\n" + UPDATE)
wrong_manifest("manifest-with-an-empty-line-behind", 4, NOT_FILE, HEAD + UPDATE + b"\n")
wrong_manifest("manifest-with-more-behind", 4, NOT_FILE, HEAD + UPDATE + b"\0" * 16)
wrong_manifest("manifest-with-a-comment", 2, NOT_FILE, HEAD + b"# of today\n" + UPDATE)
wrong_manifest("manifest-with-a-field-that-is-not-known", 2, NOT_FILE, HEAD + b"#install yes\n" + UPDATE)
wrong_manifest("manifest-with-a-size-alone", 3, NOT_SUM, HEAD + b"#file 1 644\n#file 1 644\n")
wrong_manifest("manifest-of-upper-case-sums", 3, NOT_SUM, HEAD + entry(b"update.sh", digest="AB" * 32))
wrong_manifest("manifest-of-a-sum-too-short", 3, NOT_SUM, HEAD + entry(b"update.sh", digest="a" * 63))
wrong_manifest("manifest-of-a-sum-too-long", 3, NOT_SUM, HEAD + entry(b"update.sh", digest="a" * 65))
wrong_manifest("manifest-of-md5-sums", 3, NOT_SUM, HEAD + entry(b"update.sh", digest="a" * 32))
wrong_manifest("manifest-of-binary-marks", 3, NOT_SUM, HEAD + UPDATE.replace(b"  ", b" *"))
wrong_manifest("manifest-of-escaped-names", 3, NOT_SUM, HEAD + entry(b"a\\\\b", digest="\\" + "a" * 64))
for MODE in ("4755", "0755", "7777", "888", "75", "rwx", "-755", "", " 755"):
    wrong_manifest(f"permissions-{MODE.strip() or 'missing'}", 2, NOT_FILE, HEAD + entry(b"update.sh", mode=MODE))

group = "sizes that are none, and sums that overflow"
for SIZE in (
    2**63,
    2**64 - 1,
    2**64,
    2**64 + 23,
    2**40 + 1,
    "-1",
    "-0",
    "0x17",
    "023",
    "+23",
    "2.3e1",
    "23.0",
    "",
    "٢٣",
    "23k",
):
    wrong_manifest(f"size-{SIZE if SIZE != '' else 'missing'}", 2, NOT_FILE, HEAD + entry(b"update.sh", SIZE))


def sums_beyond(count: int) -> Make:
    def make(m: Medium) -> None:
        m.base()
        m.sign(HEAD + b"".join(entry(b"%d" % number, 2**40) for number in range(count)))
        m.settings = USUAL + "MaximumSize=1024G\n"

    return make


for COUNT in (2, 20000):
    refused(
        f"sum-of-{COUNT}-largest-files",
        f"its files have {COUNT * 2**40} bytes, and {2**40} are accepted",
        sums_beyond(COUNT),
    )

group = "larger than MaximumSize, or than memory"
WHOLE = sum(len(data) for data, _ in BASE.values())


def limited(size: int) -> Make:
    return with_settings(f"{USUAL}MaximumSize={size}\n")


accepted("just-as-large-as-accepted", limited(WHOLE))
refused("one-byte-too-large", f"its files have {WHOLE} bytes, and {WHOLE - 1} are accepted", limited(WHOLE - 1))


def larger_than_memory(m: Medium) -> None:
    """Its sum is wrong, which nobody should find out: who sums up half a terabyte does not come to an end."""
    m.base()
    m.write("huge", b"")
    m.grow("huge", 2**39)
    m.sign(HEAD + UPDATE + entry(b"huge", 2**39, "644"))
    m.settings = USUAL + "MaximumSize=1024G\n"


NO_ROOM = f"its files need {2**39 + 4096} bytes of memory, and <number> can be had"
refused("larger-than-memory", NO_ROOM, larger_than_memory, HOLES)


def larger_by_word_alone(m: Medium) -> None:
    m.base()
    m.sign(HEAD + UPDATE + entry(b"data/app.bin", 2**39, "644"))
    m.settings = USUAL + "MaximumSize=1024G\n"


refused("larger-than-memory-by-the-manifest", NO_ROOM, larger_by_word_alone)
refused(
    "memory-that-has-to-stay-free",
    "its files need <number> bytes of memory, and 0 can be had",
    with_settings("Signature=required\nFreeMemory=1024G\n"),
)

# --- Which controller, and which serial ---------------------------------------------------------------------------

group = "serial rolled back, equal, absent, or none"
AT_LEAST_5 = "MinimumSerial=5\n"
REMEMBERS = "RememberSerial=yes\n"


def with_serial(number: int) -> str:
    return f"{BY_OWNER}, serial {number}"


refused("serial-below", "serial 4, and 5 is the lowest that is accepted", with_head(b"#serial 4\n", AT_LEAST_5))
refused("serial-absent", "no serial, and 5 is the lowest that is accepted", with_head(b"", AT_LEAST_5))
accepted("serial-equal", with_head(b"#serial 5\n", AT_LEAST_5), said=with_serial(5))
accepted("serial-above", with_head(b"#serial 6\n", AT_LEAST_5), said=with_serial(6))
accepted("serial-that-nobody-asks-for", with_head(b"#serial 1\n"), said=with_serial(1))
accepted("serial-largest", with_head(b"#serial 999999999999999999\n"), said=with_serial(999999999999999999))
accepted("serial-zero", with_head(b"#serial 0\n"), said=with_serial(0))
refused(
    "serial-rolled-back",
    "serial 6, and 7 is the lowest that is accepted",
    with_head(b"#serial 6\n", REMEMBERS, b"7\n"),
)
refused("serial-gone", "no serial, and 7 is the lowest that is accepted", with_head(b"", REMEMBERS, b"7\n"))
accepted("serial-again", with_head(b"#serial 7\n", REMEMBERS, b"7\n"), said=with_serial(7), serial_after=b"7\n")
accepted("serial-newer", with_head(b"#serial 8\n", REMEMBERS, b"7\n"), said=with_serial(8), serial_after=b"8\n")
accepted("serial-first", with_head(b"#serial 8\n", REMEMBERS), said=with_serial(8), serial_after=b"8\n")
refused(
    "serial-below-both",
    "serial 6, and 9 is the lowest that is accepted",
    with_head(b"#serial 6\n", REMEMBERS + "MinimumSerial=9\n", b"7\n"),
)


def raises_the_serial_and_is_refused(m: Medium) -> None:
    """Or any medium that was signed and then broken would lock out all others."""
    with_head(b"#serial 99\n", REMEMBERS, b"7\n")(m)
    m.flip("update.sh", 0)


refused("serial-of-a-refused-medium-is-not-remembered", "update.sh: " + CHANGED, raises_the_serial_and_is_refused)
refused(
    "remembered-serial-damaged",
    "{serial}: not a serial: seven\\x0a",
    with_head(b"#serial 9\n", REMEMBERS, b"seven\n"),
)
refused("remembered-serial-emptied", "{serial}: not a serial: ", with_head(b"#serial 9\n", REMEMBERS, b""))
for NAME, TEXT, LINE, WHY in [
    ("of-19-digits", "1000000000000000000", 2, "not a serial: 1000000000000000000"),
    ("of-2-to-the-64", str(2**64 + 9), 2, f"not a serial: {2**64 + 9}"),
    ("negative", "-1", 2, "not a serial: -1"),
    ("with-zeros-before", "007", 2, "not a serial: 007"),
    ("empty", "", 2, "not a serial: "),
    ("with-a-blank-behind", "7 ", 2, "not a serial: 7 "),
    ("with-an-escape", "7\x1b[2J", 2, "not a serial: 7\\x1b[2J"),
    ("twice", "7\n#serial 9", 3, NOT_FILE),
]:
    wrong_manifest(f"serial-{NAME}", LINE, WHY, HEAD + b"#serial %s\n" % TEXT.encode() + UPDATE)

group = "compatible: right, wrong, absent, two of them"
IS_800 = "Compatible=zul-800\n"
accepted("compatible-right", with_head(b"#compatible zul-800\n", IS_800))
accepted("compatible-absent", with_head(b"", IS_800))
accepted("compatible-and-serial", with_head(b"#compatible zul-800\n#serial 3\n", IS_800), said=with_serial(3))
refused(
    "compatible-wrong",
    "for the controller zul-480, and this is zul-800",
    with_head(b"#compatible zul-480\n", IS_800),
)
refused(
    "compatible-in-another-case",
    "for the controller Zul-800, and this is zul-800",
    with_head(b"#compatible Zul-800\n", IS_800),
)
refused(
    "compatible-that-only-begins-so",
    "for the controller zul-800x, and this is zul-800",
    with_head(b"#compatible zul-800x\n", IS_800),
)
refused(
    "compatible-with-a-controller-of-no-name",
    "for the controller zul-800, and this has no name",
    with_head(b"#compatible zul-800\n"),
)
for NAME, TEXT, LINE, WHY in [
    ("twice", "zul-800\n#compatible zul-480", 3, NOT_FILE),
    ("behind-the-serial", "zul-800\n#serial 1\n#compatible zul-480", 4, NOT_FILE),
    ("empty", "", 2, "not the name of a controller: "),
    ("with-a-blank", "zul 800", 2, "not the name of a controller: zul 800"),
    ("of-all", "*", 2, "not the name of a controller: *"),
    ("too-long", "z" * 65, 2, "not the name of a controller: " + "z" * 65),
]:
    wrong_manifest(f"compatible-{NAME}", LINE, WHY, HEAD + b"#compatible %s\n" % TEXT.encode() + UPDATE)

# --- The owner's keys and settings ------------------------------------------------------------------------------

group = "no key, a broken one, one of another kind, two"
NO_KEY = "there is no key that it could be signed with"


def left_out(name: str, why: str) -> list[str]:
    return [f"{{keys}}/{name}: {why}: left out"]


def no_valid_key(name: str, why: str, key: Callable[[Keys], bytes], file: str = "owner.pem") -> None:
    refused(name, NO_KEY, with_keys({file: key}), before=left_out(file, why))


refused("no-key", NO_KEY, with_keys({}))
refused("key-of-another-name", NO_KEY, with_keys({"owner.pub": public("owner"), ".pem": public("owner")}))
no_valid_key("key-broken", "not a public key", lambda k: k.public("owner").replace(b"MCowBQ", b"MCowBR"))
no_valid_key("key-cut-off", "not a public key", lambda k: k.public("owner")[:60])
no_valid_key("key-empty", "not a public key", lambda k: b"")
no_valid_key("key-that-is-the-secret-one", "not a public key, but a secret one", lambda k: contents(k.secret("owner")))
no_valid_key("key-twice-in-a-file", "more than one key", lambda k: k.public("owner") + k.public("second"))
no_valid_key("key-too-long", "longer than 65536 bytes", lambda k: k.public("owner") + b"#" * 65536)
no_valid_key("key-of-rsa", "a key of another kind than Ed25519", public("rsa"))
no_valid_key("key-of-a-nist-curve", "a key of another kind than Ed25519", public("ec"))
no_valid_key("key-of-ed448", "a key of another kind than Ed25519", public("ed448"))
BOTH = {"1.pem": public("owner"), "2.pem": public("second")}
accepted("two-keys-signed-by-the-first", with_keys(BOTH), said="signed by 1.pem")
accepted("two-keys-signed-by-the-second", with_keys(BOTH, "second"), said="signed by 2.pem")
refused("two-keys-signed-by-neither", UNKNOWN, with_keys(BOTH, "stranger"))
accepted(
    "one-key-broken-and-one-not",
    with_keys({"1.pem": lambda k: b"broken", "2.pem": public("owner")}),
    said="signed by 2.pem",
    before=left_out("1.pem", "not a public key"),
)
refused("key-revoked", UNKNOWN, with_keys({"second.pem": public("second")}))

group = "damaged settings"
PUT_RIGHT = "the settings have to be put right first"


def damaged(name: str, settings: str | None, said: str) -> None:
    refused(name, PUT_RIGHT, with_settings(settings), before=["{settings}: " + said])


damaged("settings-missing", None, "No such file or directory")
damaged("settings-misspelt-off", "Signature=of\n", 'line 1: Signature is off or required, not "of"')
damaged("settings-in-other-case", "Signature=Off\n", 'line 1: Signature is off or required, not "Off"')
damaged("settings-with-quotation-marks", 'Signature="off"\n', 'line 1: Signature is off or required, not ""off""')
damaged("settings-misspelt-name", "Sgnature=required\n", "line 1: no setting is called Sgnature")
damaged("settings-twice", "Signature=required\nSignature=off\n", "line 2: Signature is there twice")
damaged("settings-of-zeros", "\0" * 64, "line 1: not NAME=value: " + "\\x00" * 64)
damaged("settings-with-a-typo-beside-off", "Signature=off\nBeep=1\n", "line 2: no setting is called Beep")
damaged(
    "settings-with-a-wrong-size",
    USUAL + "MaximumSize=-1\n",
    'line 3: MaximumSize is a size, such as 256M, up to 1024G, not "-1"',
)
refused("settings-empty-require-a-signature", "no manifest", with_settings("", lambda m: m.remove(MANIFEST)))
accepted("settings-without-a-word-on-it", with_settings("FreeMemory=0\n"))

# --- Results ------------------------------------------------------------------------------------------------------

group = "zul_results: listed, a link, a file, with a catalogue in it"
WRITES = USUAL + "Results=yes\n"
for NAME, PATH in {"zul_results-listed": "zul_results", "zul_results-with-a-listed-file": "zul_results/x"}.items():
    wrong_manifest(NAME, 3, f"the path {PATH} is left to what commands write", HEAD + entry(PATH.encode()))


def planted(m: Medium) -> None:
    m.write("zul_results/zul_install/system.ini", b"[system]\nCMD_Type=x\n[CMD]\nx=Hostile@reboot\n")
    m.write("zul_results/update.sh", b"#!/bin/sh\nreboot\n", 0o755)


def with_results(change: Make | None = None) -> Make:
    return with_settings(WRITES, change)


def no_results(name: str, why: str, change: Make, *needs: str) -> None:
    accepted(name, with_results(change), *needs, said=f"{BY_OWNER}; no folder for results: {why}")


accepted("results-in-a-new-folder", with_results(), results=True)
accepted("results-beside-a-planted-catalogue", with_results(planted), results=True)
accepted("planted-catalogue-without-results", signed(planted))
no_results("zul_results-as-a-link", "Not a directory", lambda m: m.link(RESULTS, "/tmp"), LINKS)
no_results("zul_results-as-a-link-to-the-catalogue", "Not a directory", lambda m: m.link(RESULTS, "zul_install"), LINKS)
no_results("zul_results-as-a-file", "Not a directory", lambda m: m.write(RESULTS, b"x"))
accepted("results-of-a-longer-name", signed(lambda m: m.write("zul_results2/x", b"")))


def listed_in_another_case(m: Medium) -> None:
    m.base()
    m.write("ZUL_RESULTS/x", b"signed")
    m.list_base()
    m.list_file("ZUL_RESULTS/x")
    m.sign()
    m.settings = WRITES


accepted("results-listed-in-another-case-on-fat", listed_in_another_case, NO_CASE, results=True)

# --- Without a signature ------------------------------------------------------------------------------------------

group = "no signature required: whatever it is"


def off(make: Make) -> Make:
    def all_of_it(m: Medium) -> None:
        make(m)
        m.settings = "Signature=off\n"

    return all_of_it


WITHOUT: dict[str, Make] = {
    "off-unsigned": Medium.base,
    "off-signed": signed(),
    "off-signed-by-another": with_keys({"owner.pem": public("owner")}, "stranger"),
    "off-changed": flipped("update.sh", 0),
    "off-without-keys": with_keys({}),
}
for NAME, MAKE in WITHOUT.items():
    CASES.append(Case(group, NAME, MOUNTED, ["{name}: mounted"], off(MAKE), set()))

assert len({case.name for case in CASES}) == len(CASES), "two cases have the same name"


def case_of(name: str) -> Case:
    return next(case for case in CASES if case.name == name)


def cases_on(file_system: str) -> list[Case]:
    return [case for case in CASES if case.can_be_on(file_system)]


def is_said(wanted: str, said: str) -> bool:
    pattern = re.escape(wanted).replace(re.escape("<number>"), "[0-9]+")
    return re.fullmatch(pattern, said) is not None


# --- Command line -------------------------------------------------------------------------------------------------

TOP = os.path.join(os.path.dirname(os.path.realpath(__file__)), "../..")

# What happens while a medium is judged, or afterwards, and the tests that do it.
MOMENTS = {
    "pulled at each call of the judge": ["gate.devious-devices"],
    "a device that returns other bytes at the second read, or from the first on": ["gate.devious-devices"],
    "a device that never answers, and another medium that waits": ["gate.devious-devices"],
    "swapped for an unsigned medium while it is judged": ["gate.devious-devices"],
    "swapped between verification and use": ["simulator.gate-signed-media"],
    "a signed and a refused medium at once": ["gate.media", "simulator.gate-refused-media"],
    "whoever judges is killed, at any moment": ["gate.media"],
    "some of the list on one drive, FAT and ext4, and a signed card beside it": ["what_is_not_signed_is_not_there"],
    "all of the list": [
        "whatever_is_wrong_on_fat_is_refused",
        "whatever_is_wrong_on_ext4_is_refused",
        "whatever_is_signed_is_accepted",
    ],
    "a drive that returns other bytes, or another size, when it is read again": [
        "what_answers_otherwise_the_second_time_gains_nothing"
    ],
    "a drive that is swapped after its verdict": ["what_was_verified_runs_though_the_medium_is_another_one_now"],
    "a drive that is pulled at any read": ["pulled_at_any_read_it_leaves_nothing"],
    "two drives, signed or not": ["of_two_media_each_has_its_verdict"],
}


def contents_of(name: str) -> str:
    with open(os.path.join(TOP, name), encoding="utf-8") as source:
        return source.read()


def document() -> list[str]:
    """The lines of the two tables in docs/testing.md."""
    lines = ["| media | accepted | refused | in the simulator | on FAT | on ext4 |", "|---|---|---|---|---|---|"]
    groups = {title: [case for case in CASES if case.group == title] for title in (case.group for case in CASES)}
    for title, cases in {**groups, "all": CASES}.items():
        no = sum(case.verdict == REFUSED for case in cases)
        where = [str(sum(case.can_be_on(kind) for case in cases)) for kind in ("folder", "fat", "ext4")]
        lines.append("| " + " | ".join([title, str(len(cases) - no), str(no), *where]) + " |")
    lines += ["", "| what happens | where |", "|---|---|"]
    lines += [f"| {what} | `{'`, `'.join(tests)}` |" for what, tests in MOMENTS.items()]
    return lines


def tests() -> set[str]:
    """Those that are about media of the list, by their names."""
    board = re.findall(r"^@scenario.*\ndef (\w+)", contents_of("board/lib/hostile.py"), re.MULTILINE)
    scenarios = [name for name in os.listdir(os.path.join(TOP, "simulator/scenarios")) if name.startswith("gate-")]
    gate = re.findall(r"\b(gate\.devious-\w+)", contents_of("gate/tests/CMakeLists.txt"))
    gate += re.findall(r"^zul_gate_test\((media)\b", contents_of("gate/tests/CMakeLists.txt"), re.MULTILINE)
    return {
        *board,
        *("simulator." + name.removesuffix(".sh") for name in scenarios),
        *("gate." + name.removeprefix("gate.") for name in gate),
    }


def check_document() -> int:
    text, tables = contents_of("docs/testing.md"), "\n".join(document()).split("\n\n")
    wrong = [f"docs/testing.md has not this table:\n{table}" for table in tables if f"\n{table}\n\n" not in text]
    listed = {name for names in MOMENTS.values() for name in names}
    wrong += [f"MOMENTS has what is not listed, or the other way round: {name}" for name in sorted(listed ^ tests())]
    for line in wrong:
        print(line, file=sys.stderr)
    return 1 if wrong else 0


def make_one(case: Case, directory: str) -> None:
    with tempfile.TemporaryDirectory() as folder:
        medium = Medium(os.path.join(directory, "medium"), Keys(folder))
        case.make(medium)
    for name, (kind, major, minor) in medium.nodes.items():
        os.mknod(medium.path(name), kind | 0o600, os.makedev(major, minor))
    places = [os.path.join(directory, name) for name in ("media.conf", "keys.d", "serial")]
    medium.install(*places)
    with open(os.path.join(directory, "said"), "w", encoding="utf-8") as said:
        said.write(case.said("sda1", *places))


def main(words: list[str]) -> int:
    if words == ["document"]:
        print("\n".join(document()))
    elif words == ["document", "--check"]:
        return check_document()
    elif words[:1] == ["make"] and len(words) == 3 and words[1] in {case.name for case in CASES}:
        make_one(case_of(words[1]), words[2])
    elif words[:1] == ["list"] and (len(words) == 1 or (len(words) == 3 and words[1] == "--on")):
        for case in cases_on(words[2]) if len(words) == 3 else CASES:
            print(
                case.name,
                "|",
                case.lines[-1].format(name="sda1", settings="media.conf", keys="keys.d", serial="serial"),
            )
    else:
        print(__doc__)
        return 0 if words in ([], ["-h"], ["--help"]) else 64
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
