// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/text.h"

#include <algorithm>
#include <cstdio>

namespace gate
{

namespace
{

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}

/// The bytes of the character that `first` begins, and the lowest code point that needs so many; 0 for none.
std::size_t lengthOf(unsigned char first, std::uint32_t *codePoint, std::uint32_t *lowest)
{
    struct Form {
        unsigned char mask, mark;
        std::size_t length;
        std::uint32_t lowest;
    };
    for (const Form &form :
         {Form{0x80, 0x00, 1, 0}, {0xe0, 0xc0, 2, 0x80}, {0xf0, 0xe0, 3, 0x800}, {0xf8, 0xf0, 4, 0x10000}}) {
        if ((first & form.mask) == form.mark) {
            *codePoint = first & static_cast<unsigned char>(~form.mask);
            *lowest = form.lowest;
            return form.length;
        }
    }
    return 0;
}

/// Takes the first character off `rest`. False when it is none, or a control character.
bool takePlainCharacter(std::string_view *rest)
{
    std::uint32_t codePoint = 0, lowest = 0;
    const std::size_t length = lengthOf(static_cast<unsigned char>(rest->front()), &codePoint, &lowest);
    if (length == 0 || length > rest->size())
        return false;
    for (const char byte : rest->substr(1, length - 1)) {
        if (!isContinuation(byte))
            return false;
        codePoint = codePoint << 6 | (static_cast<unsigned char>(byte) & 0x3fU);
    }
    rest->remove_prefix(length);
    const bool isControl = codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0);
    const bool isSurrogate = codePoint >= 0xd800 && codePoint < 0xe000;
    return codePoint >= lowest && codePoint <= 0x10ffff && !isControl && !isSurrogate;
}

} // namespace

bool isPlainText(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (!takePlainCharacter(&bytes))
            return false;
    }
    return true;
}

std::string printable(std::string_view bytes, std::size_t most)
{
    const bool plain = bytes.size() <= most && isPlainText(bytes);
    std::string text;
    for (const char byte : bytes.substr(0, most)) {
        if (plain || (byte >= ' ' && byte <= '~')) {
            text += byte;
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02x",
                          static_cast<unsigned int>(static_cast<unsigned char>(byte)));
            text += escape;
        }
    }
    return bytes.size() > most ? text + "..." : text;
}

std::optional<std::uint64_t> readNumber(std::string_view digits, std::uint64_t largest)
{
    if (digits.empty() || (digits.size() > 1 && digits.front() == '0'))
        return std::nullopt;
    std::uint64_t number = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        const auto value = static_cast<std::uint64_t>(digit - '0');
        if (value > largest || number > (largest - value) / 10)
            return std::nullopt;
        number = number * 10 + value;
    }
    return number;
}

bool isControllersName(std::string_view name)
{
    const auto isAllowed = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
               || std::string_view("._-,+").find(c) != std::string_view::npos;
    };
    return !name.empty() && name.size() <= 64 && std::all_of(name.begin(), name.end(), isAllowed);
}

std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

} // namespace gate
