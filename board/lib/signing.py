# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The owner of a controller, and whoever else signs media: on this computer, with the programs that an author has."""

import os
import shutil
import subprocess
import tempfile

from media import make_drive, make_medium
from preview import PROGRAM


class Signer:
    """Who has a key, by its name. Files of the same folder have it in common."""

    def __init__(self, folder: str, name: str = "owner") -> None:
        self.folder = folder
        self.secret, self.public = (os.path.join(folder, name + end) for end in (".pem", ".pub.pem"))
        if not os.path.exists(self.secret):
            self._openssl("genpkey", "-algorithm", "ed25519", "-out", self.secret)
            self._openssl("pkey", "-in", self.secret, "-pubout", "-out", self.public)

    @staticmethod
    def _openssl(*arguments: str) -> None:
        subprocess.run(["openssl", *arguments], check=True, stderr=subprocess.DEVNULL)

    def sign(self, folder: str, *options: str) -> None:
        said = subprocess.run([PROGRAM, "sign", folder, "--key", self.secret, *options], capture_output=True, text=True)
        assert said.returncode == 0, said.stdout + said.stderr

    def medium(self, folder: str, *options: str, kind: str = "vfat", more: dict[str, bytes] | None = None) -> str:
        """The image of a signed medium with the contents of a folder, and of files that are added afterwards."""
        handle, image = tempfile.mkstemp(suffix=".img", dir=self.folder)
        os.close(handle)
        with tempfile.TemporaryDirectory() as copy:
            shutil.copytree(folder, copy, dirs_exist_ok=True)
            self.sign(copy, *options)
            for name, contents in (more or {}).items():
                os.makedirs(os.path.dirname(os.path.join(copy, name)), exist_ok=True)
                with open(os.path.join(copy, name), "wb") as file:
                    file.write(contents)
            if kind == "vfat":
                make_medium(copy, image)
            else:  # of ext4 there are no images
                make_drive(image, [(kind, copy, 47)])
        return image
