// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_FILES_H
#define GATE_FILES_H

#include <string>

namespace gate
{

/// A file descriptor that is closed once.
class Descriptor
{
public:
    explicit Descriptor(int number = -1);
    Descriptor(Descriptor &&other) noexcept;
    Descriptor &operator=(Descriptor &&other) noexcept;
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor();

    int number() const
    {
        return value;
    }

    bool isOpen() const
    {
        return value >= 0;
    }

private:
    int value;
};

/// What the system says of the last call that failed, for the end of a line.
std::string systemError();

/// Whether `file` is open and a regular file; otherwise why not, from errno when it is not open.
bool isRegular(const Descriptor &file, std::string *error);

/// Reads `file` from where it stands to its end into `bytes`. False when it is longer than `largest`, after
/// no more than one byte beyond, or cannot be read.
bool readAll(const Descriptor &file, std::size_t largest, std::string *bytes, std::string *error);

/// Reads up to `size` bytes, however often that is interrupted. Less at the end of the file only; -1 for an
/// error.
long readSome(const Descriptor &file, char *buffer, std::size_t size);

} // namespace gate

#endif
