// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_CONTENT_H
#define GATE_CONTENT_H

#include "gate/files.h"

#include <cstdint>
#include <functional>
#include <string>

namespace gate
{

/// What a file had in it when it was read.
struct Content {
    std::uint64_t size = 0; ///< bytes
    std::string sha256;     ///< 64 digits, small letters
};

/// Takes the next bytes of a file. False, with the reason, ends the reading.
using TakeBytes = std::function<bool(const char *bytes, std::size_t size, std::string *error)>;

/// Reads a file from where it stands to its end, once, and hands on the very bytes that it makes the sum of.
/// Ends where there are more than `largest`, with a size that is larger and those handed on that came
/// before.
bool readContent(const Descriptor &file, std::uint64_t largest, const TakeBytes &take, Content *content,
                 std::string *error);

} // namespace gate

#endif
