// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace gate
{

Descriptor::Descriptor(int number)
    : value(number)
{
}

Descriptor::Descriptor(Descriptor &&other) noexcept
    : value(std::exchange(other.value, -1))
{
}

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept
{
    std::swap(value, other.value);
    return *this;
}

Descriptor::~Descriptor()
{
    if (isOpen())
        close(value);
}

std::string systemError()
{
    return std::strerror(errno);
}

bool isRegular(const Descriptor &file, std::string *error)
{
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        *error = systemError();
        return false;
    }
    if (!S_ISREG(status.st_mode))
        *error = "not a regular file";
    return S_ISREG(status.st_mode);
}

long readSome(const Descriptor &file, char *buffer, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = read(file.number(), buffer + done, size - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return -1;
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return static_cast<long>(done);
}

bool readAll(const Descriptor &file, std::size_t largest, std::string *bytes, std::string *error)
{
    bytes->clear();
    char buffer[16384];
    while (bytes->size() <= largest) {
        const std::size_t wanted = std::min(sizeof buffer, largest + 1 - bytes->size());
        const long count = readSome(file, buffer, wanted);
        if (count < 0) {
            *error = "cannot be read: " + systemError();
            return false;
        }
        bytes->append(buffer, static_cast<std::size_t>(count));
        if (static_cast<std::size_t>(count) < wanted)
            return true;
    }
    *error = "longer than " + std::to_string(largest) + " bytes";
    return false;
}

} // namespace gate
