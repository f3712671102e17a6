// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_SIGNEDMOUNT_H
#define GATE_SIGNEDMOUNT_H

#include "gate/medium.h"
#include "gate/verdict.h"

#include <cstdint>
#include <optional>
#include <string>

namespace gate
{

/// What became of a medium.
struct Outcome {
    bool isMounted = false;
    std::string line; ///< refused and why, or whose signature it has
    std::string note; ///< what else the owner should know; often empty
    std::optional<std::uint64_t> serial;
};

/// Judges a medium and mounts the copy of what is signed at `directory`, read-only, under the name of the
/// medium's device, so that df lists it as the medium.
///
/// `stage` is an empty folder that has to be on another mount than `directory`; nothing is visible there.
/// The medium is mounted in a mount namespace of a process of its own, and its bytes are read by another one
/// that is shut into that folder and may do nothing but read and fill the copy. The namespace shares the
/// mount that `directory` is on with this one, so that moving the finished copy there makes it appear here,
/// at once and whole. That is mount(2) alone, as any kernel has it. For that the mount has to be a shared
/// one, see share().
///
/// With results, the medium's folder for them is in the copy, writable, and not under the name of a device:
/// the tool takes the last line of df that has one, and would take that folder for the medium.
Outcome mountSigned(const Medium &medium, const Policy &policy, const std::string &directory,
                    const std::string &stage);

/// Sees to it that what is mounted in `directory`, in whatever namespace shares it, appears in both. Where
/// systemd runs that is so; otherwise the directory becomes a mount of its own.
bool share(const std::string &directory, std::string *error);

} // namespace gate

#endif
