// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_LISTING_H
#define GATE_LISTING_H

#include "gate/files.h"
#include "gate/manifest.h"

#include <string>
#include <string_view>
#include <vector>

namespace gate
{

/// The path of everything on a medium that is no folder, in the order of their bytes: without the manifest
/// and its signature, the folder for results, and folders that systems leave on media by themselves. Opens
/// folders only. False, with the path and the reason, when one cannot be read.
bool listPaths(const Descriptor &medium, std::vector<std::string> *paths, std::string *error);

/// Whether the file system of `file` keeps who may run it. FAT and its kin do not; what they say of a file
/// is how they were mounted.
bool keepsRights(const Descriptor &file);

/// Whether a file that starts like this is signed as one to be run: it has the right to, where that is kept,
/// or it is a program or a script by its first bytes. So it is the same on FAT.
bool isToBeRun(const Descriptor &file, std::string_view start);

/// Lists every file of a medium as it lies there, for its author, in the order of listPaths(); what is to be
/// run gets 755, any other 644. False, with the path and the reason, when something is neither file nor
/// folder, or cannot be read.
bool listFiles(const Descriptor &medium, std::vector<ListedFile> *files, std::string *error);

} // namespace gate

#endif
