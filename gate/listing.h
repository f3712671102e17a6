// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_LISTING_H
#define GATE_LISTING_H

#include "gate/files.h"
#include "gate/manifest.h"

#include <string>
#include <vector>

namespace gate
{

/// Lists every file of a medium as it lies there, for its author, in the order of their paths: without the
/// manifest and its signature, the folder for results, and folders that systems leave on media by
/// themselves. One that has the right to be run, or is a program or a script by its first bytes, gets 755,
/// any other 644; so it is the same on FAT, which has no such right. False, with the path and the reason,
/// when something is neither file nor folder, cannot be read, or cannot be signed.
bool listFiles(const Descriptor &medium, std::vector<ListedFile> *files, std::string *error);

} // namespace gate

#endif
