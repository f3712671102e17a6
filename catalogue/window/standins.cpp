// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Keeps the tool's code from having any effect on the author's computer.
//
// A window of the tool opens the watchdog's message queue, starts a thread that runs commands, lists file
// systems through a shell and reboots. None of that may happen at a desk, and the tool has no switch for it,
// on purpose. So this program defines those few functions itself: the linker takes a definition from the
// program's own objects before one from a shared library, and the window, which is linked in, gets these.
// isolation.map keeps them out of the dynamic symbol table, so that Qt and the C library go on using theirs.
// Whoever adds one adds its call to isolation.cpp, and its name to the map.

#include "window/isolation.h"

#include <QProcess>
#include <QThread>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <sys/msg.h>
#include <unistd.h>

namespace
{

int refused()
{
    noteStandIn();
    errno = EPERM;
    return -1;
}

} // namespace

extern "C" {

int msgget(key_t, int) noexcept
{
    return refused();
}

int msgsnd(int, const void *, size_t, int)
{
    return refused();
}

ssize_t msgrcv(int, void *, size_t, long, int)
{
    return refused();
}

FILE *popen(const char *, const char *)
{
    refused();
    return nullptr;
}

int system(const char *)
{
    return refused();
}

// The worker asks whether a process is to be had before it runs a command, which is answered here as well. It
// is told of one that no computer has, and that therefore is over.
pid_t fork() noexcept
{
    noteStandIn();
    return INT_MAX;
}

} // extern "C"

void QThread::start(Priority)
{
    noteStandIn();
}

void QThread::sleep(unsigned long)
{
    noteStandIn();
}

void QProcess::start(const QString &, OpenMode)
{
    noteStandIn();
    setErrorString(QStringLiteral("Commands are not run here"));
}

int QProcess::execute(const QString &commandLine)
{
    noteStandIn();
    return rehearsed(commandLine);
}
