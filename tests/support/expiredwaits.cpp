// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/expiredwaits.h"

#include <atomic>
#include <csignal>
#include <ctime>

#include <dlfcn.h>
#include <poll.h>

namespace
{

std::atomic<int> expired{0};

} // namespace

int expiredWaits()
{
    return expired;
}

// The program's own definition comes before the C library's, for Qt's libraries too.
extern "C" int ppoll(pollfd *files, nfds_t count, const timespec *limit, const sigset_t *mask)
{
    using Ppoll = int (*)(pollfd *, nfds_t, const timespec *, const sigset_t *);
    static const auto next = reinterpret_cast<Ppoll>(dlsym(RTLD_NEXT, "ppoll"));
    const int ready = next(files, count, limit, mask);
    if (ready == 0 && limit != nullptr && limit->tv_sec > 0)
        ++expired;
    return ready;
}
