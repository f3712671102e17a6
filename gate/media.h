// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_MEDIA_H
#define GATE_MEDIA_H

#include "gate/medium.h"

#include <string>

namespace gate
{

/// Where everything is on a controller.
struct Places {
    std::string media = "/media"; ///< below it each medium has a directory of its name
    std::string run = "/run/zul_media";
    std::string settings = "/etc/zul/media.conf";
    std::string keys = "/etc/zul/keys.d";
    std::string serial = "/var/lib/zul_media/serial"; ///< the highest that was accepted
};

/// What a command ends with.
enum ExitCode { ExitDone = 0, ExitRefused = 1, ExitLeftAlone = 2, ExitUsage = 64, ExitFailed = 70 };

/// Whether a medium may be called so: letters and digits, as the kernel's names of disks are.
bool isMediumsName(const std::string &name);

/// Mounts a medium below the directory of media as the settings say: as it is, or what is signed of it, or
/// not at all. What becomes of it is one line to the standard error.
int mountMedium(const Medium &medium, const Places &places);

/// Unmounts what is mounted of the medium, whether or not it is in use, and says so. Nothing happens to one
/// that is not known.
int unmountMedium(const std::string &name, const Places &places);

/// Prints what is wrong with the settings and the keys, and whether signatures are required.
int printSettings(const Places &places);

} // namespace gate

#endif
