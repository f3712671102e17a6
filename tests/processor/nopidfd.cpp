// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Preloaded by tests/armhf into what runs emulated. QProcess asks the kernel whether a process can be waited
// for by a descriptor. The emulation lets the question through, and the kernel says yes; but it starts no
// process with such a descriptor, so that QProcess would wait for an arbitrary number. Here the kernel is one
// of before Linux 5.4, which says no, and QProcess uses what it has for that.

#include <cerrno>
#include <cstdarg>

#include <dlfcn.h>
#include <sys/syscall.h>

namespace
{

constexpr long byDescriptor = 3; // P_PIDFD, which older headers have not

using SystemCall = long (*)(long, ...);

} // namespace

// The program's own definition comes before the C library's, for Qt's libraries too.
extern "C" long syscall(long number, ...)
{
    static const auto next = reinterpret_cast<SystemCall>(dlsym(RTLD_NEXT, "syscall"));
    long arguments[6];
    va_list given;
    va_start(given, number);
    for (long &argument : arguments)
        argument = va_arg(given, long);
    va_end(given);
    if (number == SYS_waitid && arguments[0] == byDescriptor) {
        errno = EINVAL;
        return -1;
    }
    return next(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}
