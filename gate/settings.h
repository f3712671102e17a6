// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_SETTINGS_H
#define GATE_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gate
{

constexpr std::size_t largestSettings = 65536;                       ///< bytes of the file
constexpr std::uint64_t largestSerial = 999999999999999999;          ///< eighteen digits
constexpr std::uint64_t largestSize = std::uint64_t(1) << 40;        ///< bytes, of any setting that is a size
constexpr std::uint64_t usualMaximumSize = std::uint64_t(256) << 20; ///< bytes
constexpr std::uint64_t usualFreeMemory = std::uint64_t(32) << 20;   ///< bytes

/// What the owner of the controller has decided, /etc/zul/media.conf.
struct Settings {
    enum class Signature { Required, Off };

    Signature signature = Signature::Required;
    bool results = false;                         ///< commands may write into the medium's zul_results
    bool rememberSerial = false;                  ///< an accepted serial becomes the lowest one
    std::uint64_t minimumSerial = 0;              ///< 0: a medium needs none
    std::uint64_t maximumSize = usualMaximumSize; ///< bytes of all files of a medium
    std::uint64_t freeMemory = usualFreeMemory;   ///< bytes that the copy leaves free
    std::string compatible;                       ///< the controller's name; empty for none
    std::string onRefused;                        ///< path of the program to run then; empty for none
};

/// Reads lines of NAME=value; empty ones and those that begin with '#' are passed over. Every line that is
/// anything else, a name that is not known or comes twice, and a value that is not one of its kind is told
/// in `errors`, and then there are no settings: what cannot be read may have been the line that requires a
/// signature. For the same reason a signature is required unless the file says that it is not.
std::optional<Settings> readSettings(std::string_view text, std::vector<std::string> *errors);

} // namespace gate

#endif
