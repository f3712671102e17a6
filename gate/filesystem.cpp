// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/filesystem.h"

namespace gate
{

namespace
{

unsigned int byteAt(std::string_view start, std::size_t place)
{
    return static_cast<unsigned char>(start[place]);
}

unsigned int wordAt(std::string_view start, std::size_t place)
{
    return byteAt(start, place) | byteAt(start, place + 1) << 8;
}

bool isPowerOfTwo(unsigned int number)
{
    return number != 0 && (number & (number - 1)) == 0;
}

/// By the numbers that every FAT has to have, as the names in it are not to be relied on.
bool isFat(std::string_view start)
{
    const unsigned int sector = wordAt(start, 11), clusters = byteAt(start, 13), reserved = wordAt(start, 14),
                       tables = byteAt(start, 16), kind = byteAt(start, 21);
    return wordAt(start, 510) == 0xaa55 && sector >= 512 && sector <= 4096 && isPowerOfTwo(sector)
           && isPowerOfTwo(clusters) && reserved > 0 && tables > 0 && tables <= 2
           && (kind == 0xf0 || kind >= 0xf8);
}

} // namespace

const char *fileSystemOf(std::string_view start)
{
    if (start.size() < fileSystemStart)
        return nullptr;
    if (start.substr(3, 8) == "EXFAT   ")
        return "exfat";
    if (wordAt(start, 1024 + 56) == 0xef53)
        return "ext4";
    return isFat(start) ? "vfat" : nullptr;
}

const char *mountOptionsOf(std::string_view fileSystem, bool isReadOnly)
{
    if (fileSystem == "vfat")
        return "utf8";
    if (fileSystem == "exfat")
        return "iocharset=utf8";
    return isReadOnly ? "errors=continue,noload" : "errors=continue";
}

} // namespace gate
