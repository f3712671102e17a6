// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Runs a command and appends to a file what it took, with all processes that it has waited for: milliseconds,
// those of processor time, and KiB of memory at the peak of the largest of them.
//
// Usage: cost_of FILE COMMAND [ARGUMENT...]
//
// A script cannot know the peak, as what is started begins with the peak of what has started it. Ends with
// the command's exit code, and with 127 when there is no such command.

#include <chrono>
#include <cstdio>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

double milliseconds(const timeval &time)
{
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3)
        return 64;
    std::FILE *costs = std::fopen(argv[1], "ae");
    if (!costs) {
        std::perror(argv[1]);
        return 1;
    }
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = fork();
    if (process == 0) {
        execvp(argv[2], argv + 2);
        std::perror(argv[2]);
        _exit(127);
    }
    int status = 0;
    rusage used = {};
    if (process < 0 || wait4(process, &status, 0, &used) != process)
        return 127;
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    std::fprintf(costs, "%.3f %.3f %ld\n", taken.count(),
                 milliseconds(used.ru_utime) + milliseconds(used.ru_stime), used.ru_maxrss);
    if (std::fclose(costs) != 0)
        return 1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
