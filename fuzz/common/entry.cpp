// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What libFuzzer calls, or replay.cpp in its place.

#include "common/guard.h"
#include "common/target.h"
#include "support/sandboxed.h"

#include <QApplication>
#include <QStringList>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace
{

constexpr int cannotRunHere = 77;
constexpr double mostProcessorSeconds = 20; // a hundred times what any input takes

/// Debug lines and warnings: there would be thousands a second.
void dropLines(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtDebugMsg && type != QtWarningMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

/// Before the first input, and not at the start: until then libFuzzer may start processes of its own.
bool shutTheGuard()
{
    if (closeTheWayOut())
        return true;
    std::fprintf(stderr, "the guard is refused here: %s\n", std::strerror(errno));
    std::_Exit(cannotRunHere);
}

QStringList steps;

double processorSeconds()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace

void note(const QString &step)
{
    static const bool atOnce = qEnvironmentVariableIsSet("ZUL_FUZZ_STEPS");
    if (atOnce)
        std::fprintf(stderr, "%s\n", step.toUtf8().constData());
    steps.append(step);
}

void violated(const QString &what)
{
    for (const QString &step : qAsConst(steps))
        std::fprintf(stderr, "    %s\n", step.toUtf8().constData());
    std::fprintf(stderr, "VIOLATED: %s\n", what.toUtf8().constData());
    std::fflush(stderr);
    std::abort();
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    if (!isSandboxed())
        std::_Exit(cannotRunHere);
    qInstallMessageHandler(dropLines);
    // Never ended: on the way out, objects of Qt that it still needs may be gone before it.
    static auto *const application = new QApplication(*argc, *argv);
    Q_UNUSED(application)
    QApplication::setQuitOnLastWindowClosed(false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool guarded = shutTheGuard();
    Q_UNUSED(guarded)
    steps.clear();
    const double before = processorSeconds();
    fuzz(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    // Of the process, because a busy computer may take its time; libFuzzer's own limit is for one that never
    // ends.
    const double taken = processorSeconds() - before;
    MUST(taken < mostProcessorSeconds, QString("takes %1 s of processor time").arg(taken));
    return 0;
}
