// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_VERDICT_H
#define GATE_VERDICT_H

#include "gate/files.h"
#include "gate/manifest.h"
#include "gate/settings.h"
#include "gate/signature.h"

#include <functional>
#include <limits>
#include <string>

namespace gate
{

/// By what a medium is judged.
struct Policy {
    Settings settings;
    PublicKeys keys;
    std::uint64_t rememberedSerial = 0; ///< the highest that was accepted; 0 where none is remembered
    std::uint64_t availableMemory = std::numeric_limits<std::uint64_t>::max(); ///< bytes
};

/// What the gate says of a medium.
struct Verdict {
    bool isAccepted = false;
    std::string refusal; ///< why not, in one line
    std::string key;     ///< whose signature it has, once that holds
    Manifest manifest;   ///< what is signed, once it could be read
};

/// Gives the empty folder that the copy goes into, with room for what the manifest lists; not open, with the
/// reason, where there is none. Called once at most, when nothing but the files can be wrong any more.
using MakeRoom = std::function<Descriptor(const Manifest &manifest, std::string *error)>;

/// Judges the medium whose root is the folder `medium`, and copies what is signed. Only when it is accepted
/// may anything be done with the copy.
Verdict judgeAndCopy(const Descriptor &medium, const Policy &policy, const MakeRoom &makeRoom);

/// Says what that would say, and copies nothing.
Verdict judge(const Descriptor &medium, const Policy &policy);

} // namespace gate

#endif
