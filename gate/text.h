// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_TEXT_H
#define GATE_TEXT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the gate reads as text, from the owner and from strangers, is of this kind.
namespace gate
{

/// Whether `bytes` are UTF-8 (shortest form, no surrogates) without control characters: those below U+0020,
/// U+007F and U+0080 to U+009F. So it fits in one line of a journal, and nothing in it moves a terminal's
/// cursor.
bool isPlainText(std::string_view bytes);

/// `bytes` for one line of a message: as they are when they are plain text, otherwise with each byte that is
/// not printable ASCII as \xNN; at most so many bytes of them, "..." for the rest.
std::string printable(std::string_view bytes, std::size_t most = 200);

/// A decimal number as this program would write it, at most `largest`: no sign, no blank, no leading zero.
std::optional<std::uint64_t> readNumber(std::string_view digits, std::uint64_t largest);

/// Whether `name` is one of a controller: 1 to 64 letters, digits, '.', '_', '-', ',' or '+' of ASCII.
bool isControllersName(std::string_view name);

/// The lines without their ends; a last one without an end counts as well.
std::vector<std::string_view> linesOf(std::string_view text);

} // namespace gate

#endif
