// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/noprocesses.h"

#include <QtGlobal>

#include <cerrno>
#include <cstdarg>

#include <atomic>
#include <dlfcn.h>
#include <linux/sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::atomic<bool> refused{false};

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

int silentFile()
{
    static int ends[2] = {-1, -1};
    if (ends[0] == -1 && pipe(ends) == -1)
        qFatal("no pipe");
    return ends[0];
}

} // namespace

NoProcesses::NoProcesses()
{
    refused = true;
}

NoProcesses::~NoProcesses()
{
    refused = false;
}

// The limit that prlimit(1) sets does not bind a computer's root. These definitions of the program's own come
// before the C library's, for Qt's libraries too.
extern "C" {

pid_t fork() noexcept
{
    static auto *const next = real<pid_t()>("fork");
    if (refused) {
        errno = EAGAIN;
        return -1;
    }
    return next();
}

// Qt calls clone(2) by its number.
long syscall(long number, ...) noexcept
{
    static auto *const next = real<long(long, ...)>("syscall");
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long &argument : arguments)
        argument = va_arg(list, long);
    va_end(list);
    if (refused && number == SYS_clone) {
        // The kernel leaves what was there, and that may be any open file; here it is one that never says
        // anything.
        if (static_cast<unsigned long>(arguments[0]) & CLONE_PIDFD)
            *reinterpret_cast<int *>(arguments[2]) = silentFile();
        errno = EAGAIN;
        return -1;
    }
    return next(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

int kill(pid_t process, int signal) noexcept
{
    static auto *const next = real<int(pid_t, int)>("kill");
    if (process == -1)
        qFatal("signal %d for all processes", signal);
    return next(process, signal);
}
}
