# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Where each block of the documents is run. One that is missing here, or that no document has, fails."""

from blocks import Block
from methods import (
    AtTheDesk,
    AuthorsCommands,
    By,
    Catalogue,
    Commands,
    Dialogue,
    FrameBufferNotAwaited,
    LineOfACatalogue,
    Mdev,
    Method,
    NewLanguage,
    NoCommand,
    Saved,
    StartedByHand,
    UdevRules,
    UsedBy,
)

EVERYDAY = By(".ci/run", "./test everyday")
NIGHT = By(".ci/nightly", "docs/test --full")
FIRST_STEPS = {
    "./demo": By("README.md", "\n./demo "),
    "./test": EVERYDAY,
    "cmake --preset dev": By("tests/analyse", "gcc_preset=dev "),
    "cmake --build --preset dev": By("tests/analyse", "gcc_preset=dev "),
    "ctest --preset dev -R catalogue": NIGHT,
}

VERIFIED = "zul_catalogue verify card --key owner.pub.pem | grep -E 'accepted: signed by owner.pub.pem, serial %s:'"
KEYS_INSTALLED = "zul_catalogue verify card --key /etc/zul/keys.d | grep"

# (document, heading, which block below it): how. They are run in this order.
TABLE: dict[tuple[str, str, int], Method] = {
    ("README.md", "Build", 1): Commands("builder"),
    ("README.md", "The catalogue", 1): Catalogue("builder", "build/ship", ("update.sh",)),
    # Each "openssl genpkey" asks twice, whatever needs the key afterwards once.
    ("docs/signing.md", "Signing media", 1): AtTheDesk(
        "builder", "build/ship", "grep 'ENCRYPTED PRIVATE' owner.pem && grep 'PUBLIC' owner.pub.pem", passphrases=3
    ),
    ("docs/signing.md", "Signing media", 2): UsedBy("packaging/test-installation", part=r"^sed .+"),
    ("docs/signing.md", "Signing media", 3): AtTheDesk("builder", "build/ship", VERIFIED % 7, passphrases=1),
    ("docs/signing.md", "Signing media", 4): NoCommand("a drawing"),
    ("docs/signing.md", "Keys", 1): AtTheDesk("builder", "build/ship", VERIFIED % 8, passphrases=1),
    ("docs/signing.md", "Keys", 2): AtTheDesk(
        "builder",
        "build/ship",
        f"{KEYS_INSTALLED} 'accepted: signed by second.pub.pem'; ls /etc/zul/keys.d | grep -c . | grep 2",
        before="mkdir -p /mnt/upgrade /etc/zul/keys.d && cp owner.pub.pem /etc/zul/keys.d"
        " && openssl genpkey -algorithm ed25519 -out second.pem"
        " && openssl pkey -in second.pem -pubout -out /mnt/upgrade/second.pub.pem"
        " && zul_catalogue sign card --key second.pem",
        user="root",
    ),
    ("docs/signing.md", "Keys", 3): AtTheDesk(
        "builder",
        "build/ship",
        f"{KEYS_INSTALLED} 'refused: signature of no known key'",
        before="echo of the owner >typed && zul_catalogue sign card --key owner.pem --passphrase-file typed",
        user="root",
    ),
    ("docs/signing.md", "The manifest", 1): NoCommand("the form of a file"),
    ("README.md", "Build", 2): Commands("packager", controller_at_hand=True),
    ("README.md", "Two commands", 1): Commands("newcomer", elsewhere={"./test": EVERYDAY}),
    ("CONTRIBUTING.md", "First steps", 1): Commands("newcomer", elsewhere=FIRST_STEPS),
    ("docs/translating.md", "A new language", 1): NewLanguage("newcomer", "et", "nl", NIGHT),
    # The README's blocks have installed it already.
    ("docs/installing.md", "Installing", 1): Commands(
        before="apt-get -q purge zul-upgrade zul-media",
        elsewhere={"systemctl status zul_upgrade": By("board/lib/scenarios.py", "systemctl status zul_upgrade")},
    ),
    ("docs/installing.md", "Faults of the system", 1): UsedBy("simulator/faults/faults.sh", part=r"^exec .+"),
    ("docs/installing.md", "The service", 1): FrameBufferNotAwaited(),
    ("docs/installing.md", "Screen", 1): UsedBy("board/lib/machine.py", part=r"(?<= )\S+"),
    ("docs/installing.md", "Touch", 1): UdevRules("/etc/udev/rules.d/99-touch.rules"),
    ("docs/installing.md", "Touch", 2): UsedBy("board/lib/scenarios.py", part=r"^\w+="),
    ("docs/installing.md", "Without systemd", 1): StartedByHand(),
    ("docs/installing.md", "Without systemd", 2): Mdev("/etc/mdev.conf"),
    ("docs/installing.md", "Without systemd", 3): Mdev("/lib/mdev/medium", mode=0o755, last=True),
}

# What authors read. They do all of it in the order of these, from the packages, which packaging/test has made.
AUTHORS = ("docs/writing-catalogues.md", "catalogue/zul_catalogue.1", "simulator/zul_rehearse.1")
OWNERS_KEY = (
    "openssl genpkey -algorithm ed25519 -out owner.pem && openssl pkey -in owner.pem -pubout -out owner.pub.pem"
)
FLEET = "/usr/share/doc/zul-catalogue/docs/fleet"
CONTROLLER_BY_SSH = """apt-get -q install busybox-static
for folder in bin etc lib opt sbin usr var/log; do mkdir -p /srv/controller/$folder; done
cp /bin/busybox /srv/controller/bin
chroot /srv/controller /bin/busybox --install -s /bin
cat >/usr/local/bin/ssh <<'END'
#!/bin/sh
[ "$1" = root@controller ] || exit 255
shift
exec sudo chroot /srv/controller "$@"
END
chmod 755 /usr/local/bin/ssh"""
# By the first line; dialogues, and files that have a name, say by themselves what is done with them.
AUTHORS_TABLE: dict[tuple[str, str], Method] = {
    ("docs/writing-catalogues.md", "sudo apt install ./zul-catalogue_*.deb"): AuthorsCommands(
        "command -v zul_catalogue"
    ),
    ("docs/writing-catalogues.md", "$ zul_catalogue preview card -o pictures"): Dialogue(again=True),
    ("docs/writing-catalogues.md", "cp -r card/. /media/$USER/CARD/"): AuthorsCommands(
        "cmp /media/reader/CARD/log.sh card/log.sh", before="install -d -o reader /media/reader /media/reader/CARD"
    ),
    ("docs/writing-catalogues.md", "sudo apt install ./zul-rehearsal_*.deb"): AuthorsCommands(
        "command -v zul_rehearse"
    ),
    ("docs/writing-catalogues.md", 'cp -f "$new" "$program.new"'): UsedBy("examples/update-program/update.sh"),
    ("docs/writing-catalogues.md", 'update="Update program@sh /mnt/upgrade/update.sh"'): LineOfACatalogue("update.sh"),
    (
        "docs/writing-catalogues.md",
        r'logs="Clear logs@sh -c \"cd /opt/zul && rm -rf logs && sync\""',
    ): LineOfACatalogue(),
    (
        "docs/writing-catalogues.md",
        "sh /mnt/upgrade/step -c -m 755 /mnt/upgrade/zul_install/app /opt/zul/app",
    ): UsedBy("catalogue/kit/medium/update.sh", part=r"^sh /mnt/upgrade/step -c -m "),
    (
        "docs/writing-catalogues.md",
        "; zul: ignore=shell-glob because the program itself takes the pattern",
    ): LineOfACatalogue(),
    ("docs/writing-catalogues.md", "repos:"): UsedBy(".pre-commit-hooks.yaml", part=r"(?:entry|files|language): .+"),
    ("catalogue/zul_catalogue.1", "zul_catalogue new card"): AuthorsCommands(
        "test -s card.img && test -s fleet.csv",
        goes_on="zul_catalogue check --watch card",
        before=f"rm -rf card; cp -r {FLEET}/reports .; {OWNERS_KEY}; chown reader: owner.pem",
    ),
    # A controller as small as they are made, in the place of the network.
    ("docs/writing-catalogues.md", "mkdir root"): AuthorsCommands(
        "test -x root/bin/busybox && grep '^added /var/log/update.log' rehearsal-2/report.txt", before=CONTROLLER_BY_SSH
    ),
    ("simulator/zul_rehearse.1", "zul_rehearse card"): AuthorsCommands(
        "test -s second/report.txt && test -s rehearsal-3/report.txt"
    ),
}


def method_of(block: Block) -> Method | None:
    """The table's, or that of a kind of block that says by itself what an author does with it."""
    if block.document not in AUTHORS:
        return TABLE.get(block.key)
    if method := AUTHORS_TABLE.get(block.opening):
        return method
    return Dialogue() if block.language == "console" else Saved() if block.file else None


# Which block has to be run before another, where only some are asked for.
PACKAGE = ("README.md", "Build", 2)
NEEDS = {key: PACKAGE for key in TABLE if key[0] == "docs/installing.md"}
NEEDS[("README.md", "The catalogue", 1)] = ("README.md", "Build", 1)
NEEDS.update({key: ("docs/signing.md", "Signing media", 1) for key in TABLE if key[0] == "docs/signing.md"})
NEEDS[("docs/signing.md", "Signing media", 1)] = ("README.md", "Build", 1)
