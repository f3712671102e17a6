// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_COPY_H
#define GATE_COPY_H

#include "gate/files.h"
#include "gate/manifest.h"

#include <string>

namespace gate
{

/// Why a file cannot be opened.
struct Failure {
    bool isMissing = false; ///< there is none, or not even its folder
    std::string why;
};

/// Opens the file `path`, from the folder `root` on, for reading. Not open, with the reason, when it is not
/// a regular file or a part of the way is not a folder of the same file system. No link is followed, nothing
/// is waited for, and nothing that is not a file or a folder is opened. Part by part, which every kernel
/// can, so that what is tested is what runs on an old one.
Descriptor openBelow(const Descriptor &root, const std::string &path, Failure *failure);

/// Reads a file of the medium and compares it with what the manifest says. Its error begins with the path.
bool checkFile(const Descriptor &medium, const ListedFile &file, std::string *error);

/// The same, and writes what it reads to a new file of the same path, from the folder `target` on, with the
/// permissions that the manifest says. The medium is read once and the sum is made of the very bytes that
/// are written, so that a device with another answer to a second question has nobody who asks. After a
/// failure there may be a part of the file, which can neither be read nor run by others.
bool copyFile(const Descriptor &medium, const ListedFile &file, const Descriptor &target, std::string *error);

/// Makes the folders that the files need, from the folder `target` on, which has to be empty and nobody
/// else's.
bool makeFolders(const Manifest &manifest, const Descriptor &target, std::string *error);

/// What the copy of all files takes of a memory file system: bytes in whole pages, and files and folders.
struct Needs {
    std::uint64_t bytes;
    std::uint64_t entries;
};
Needs needsOf(const Manifest &manifest);

} // namespace gate

#endif
