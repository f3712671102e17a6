// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Preloaded into an unmodified program: ends it where its event loop would begin, so that what is counted is
// the start and nothing else. Where ZUL_AT_EVENT_LOOP names a file, it gets one line: the monotonic clock and
// the processor time used in nanoseconds, the resident memory and its peak in KiB.

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <unistd.h>

namespace
{

long statusField(const char *name)
{
    FILE *status = std::fopen("/proc/self/status", "r");
    char line[256];
    long value = 0;
    while (status && std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, name, std::strlen(name)) == 0)
            value = std::atol(line + std::strlen(name));
    }
    if (status)
        std::fclose(status);
    return value;
}

long long nanosecondsOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<long long>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

void writeWhatTheStartTook(const char *path)
{
    // First, because looking takes time itself.
    const long long now = nanosecondsOf(CLOCK_MONOTONIC);
    const long long used = nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID);
    FILE *file = std::fopen(path, "w");
    if (!file)
        return;
    std::fprintf(file, "%lld %lld %ld %ld\n", now, used, statusField("VmRSS:"), statusField("VmHWM:"));
    std::fclose(file);
}

} // namespace

int QApplication::exec()
{
    if (const char *path = std::getenv("ZUL_AT_EVENT_LOOP"))
        writeWhatTheStartTook(path);
    // Without destructors: ending is not part of the start.
    _exit(0);
}
