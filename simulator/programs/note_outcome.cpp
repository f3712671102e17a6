// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Says on standard error, in the tool's log, what each program that the tool runs for a catalogue comes to:
// the tool shows "Succeed" or "Failed", and an author wants to know the exit code. Loaded before the tool's
// libraries (LD_PRELOAD), so that the tool itself is the one that ships; what the tool starts does not get
// it.

#include <QProcess>
#include <QString>

#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace
{

__attribute__((constructor)) void keepFromPrograms()
{
    unsetenv("LD_PRELOAD");
}

} // namespace

int QProcess::execute(const QString &command)
{
    using Execute = int(const QString &);
    static auto *const real =
        reinterpret_cast<Execute *>(dlsym(RTLD_NEXT, "_ZN8QProcess7executeERK7QString"));
    const auto start = std::chrono::steady_clock::now();
    std::fprintf(stderr, "rehearsal runs %s\n", qPrintable(QString(command).replace('\n', ' ')));
    const int code = real(command);
    const auto took = std::chrono::steady_clock::now() - start;
    std::fprintf(stderr, "rehearsal exit %d after %lld ms\n", code,
                 static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()));
    return code;
}
