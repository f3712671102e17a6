// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/isolation.h"

#include "common/exitcode.h"

#include <QProcess>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <sys/msg.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace
{

constexpr int cannotBeStarted = -2; // what QProcess::execute returns for a program that does not exist

Rehearsal &currentRehearsal()
{
    static Rehearsal rehearsal;
    return rehearsal;
}

int standInsCalled = 0;

/// A thread that has nothing to do.
class IdleThread : public QThread
{
    void run() override
    {
    }
};

void startThread()
{
    IdleThread thread;
    thread.start();
    thread.wait();
}

void endWhatIsForked()
{
    if (fork() == 0)
        std::_Exit(EXIT_SUCCESS);
}

/// A function that must not reach this computer, and a call of it by which that shows.
struct Trial {
    const char *function;
    void (*call)();
};

// Each is called in a way to which the real one would do nothing. The last two have none, and are reached
// only when the others, which are defined in the same file, were found to be in place.
const Trial trials[] = {
    {"popen", [] { std::ignore = popen("", "no mode"); }},
    {"msgget", [] { msgget(0x7fffffff, 0); }}, // without leave to make a queue
    {"msgsnd", [] { msgsnd(-1, "", 0, IPC_NOWAIT); }},
    {"msgrcv", [] { msgrcv(-1, nullptr, 0, 0, IPC_NOWAIT); }},
    {"fork", endWhatIsForked},
    {"QProcess::start", [] { QProcess().start(QString(), QIODevice::ReadOnly); }},
    {"QProcess::execute", [] { QProcess::execute(QString()); }},
    {"QThread::sleep", [] { QThread::sleep(0); }},
    {"QThread::start", startThread},
    {"system", [] { std::ignore = system(""); }},
};

/// The first function that reaches this computer; null when none does.
const char *firstThatReachesOut()
{
    for (const Trial &trial : trials) {
        const int before = standInsCalled;
        trial.call();
        if (standInsCalled == before)
            return trial.function;
    }
    return nullptr;
}

} // namespace

void rehearseCommands(Rehearsal rehearsal)
{
    currentRehearsal() = std::move(rehearsal);
}

int rehearsed(const QString &commandLine)
{
    return currentRehearsal() ? currentRehearsal()(commandLine) : cannotBeStarted;
}

void noteStandIn()
{
    ++standInsCalled;
}

void requireIsolation()
{
    static const char *const reachesOut = firstThatReachesOut();
    if (!reachesOut)
        return;
    std::fprintf(stderr, "zul_catalogue: %s is not kept from this computer; nothing was started\n",
                 reachesOut);
    std::_Exit(ExitSoftware); // the toolkit is not in a state to be ended from within
}
