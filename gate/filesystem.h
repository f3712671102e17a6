// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_FILESYSTEM_H
#define GATE_FILESYSTEM_H

#include <string_view>

namespace gate
{

constexpr std::size_t fileSystemStart = 2048; ///< bytes of a device that tell what is on it

/// What the kernel calls the file system whose first bytes these are: "vfat", "exfat" or "ext4", as which
/// older ones of its kin can be mounted, too. Null for anything else, so that the kernel reads nothing of
/// it.
const char *fileSystemOf(std::string_view start);

/// What it is mounted with besides. Names on FAT and exFAT are UTF-8, as they are where the medium was
/// written and signed. An ext4 that was pulled while it was written to would have its journal written out
/// even by a read-only mount, so that is kept from it; and it may ask for the system to stop on an error,
/// which is not for a medium to decide.
const char *mountOptionsOf(std::string_view fileSystem, bool isReadOnly);

} // namespace gate

#endif
