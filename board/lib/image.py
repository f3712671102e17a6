# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What the board boots."""

import os
import subprocess


def build_image(package: str | None = None) -> str:
    """The directory of the image, built when it is not there yet."""
    script = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "build-image")
    arguments = ["--package", package] if package else []
    done = subprocess.run([script, *arguments], stdout=subprocess.PIPE, text=True, check=False)
    if done.returncode:
        raise SystemExit(done.returncode)
    return done.stdout.strip().splitlines()[-1]
