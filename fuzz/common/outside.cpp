// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// As catalogue/window/standins.cpp does at an author's desk: the linker takes a definition from the program's
// own objects before one from a shared library. outside.map keeps them out of the dynamic symbol table, so
// that Qt and the C library go on using theirs.

#include "common/outside.h"

#include "common/target.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include <sys/msg.h>
#include <unistd.h>

namespace
{

Outside *current = nullptr;

Outside &outside()
{
    MUST(current, "the tool's code reaches out, and nobody is there");
    return *current;
}

/// What a program has printed, and how much of it was read.
struct Printed {
    QByteArray bytes;
    size_t at;
};

ssize_t readPrinted(void *cookie, char *buffer, size_t size)
{
    auto *printed = static_cast<Printed *>(cookie);
    const size_t count = std::min(size, static_cast<size_t>(printed->bytes.size()) - printed->at);
    std::memcpy(buffer, printed->bytes.constData() + printed->at, count);
    printed->at += count;
    return static_cast<ssize_t>(count);
}

int closePrinted(void *cookie)
{
    delete static_cast<Printed *>(cookie);
    return 0;
}

} // namespace

Outside::Outside()
{
    MUST(!current, "two computers at once");
    current = this;
}

Outside::~Outside()
{
    current = nullptr;
}

QByteArray Outside::outputOf(const QByteArray &command)
{
    violated("asks for the output of: " + command);
}

void Outside::shell(const QByteArray &command)
{
    violated("has a shell run: " + command);
}

void Outside::exit(int code)
{
    violated(QString("ends with %1").arg(code));
}

void Outside::start(const QString &commandLine)
{
    violated("starts: " + commandLine);
}

int Outside::execute(const QString &commandLine)
{
    violated("runs: " + commandLine);
}

bool Outside::exists(const QString &path)
{
    violated("looks for: " + path);
}

bool Outside::send(const QByteArray &)
{
    violated("tells the watchdog something");
}

void Outside::sleep(unsigned long)
{
    violated("waits");
}

extern "C" {

int msgget(key_t, int) noexcept
{
    return 1;
}

int msgsnd(int, const void *record, size_t size, int)
{
    const char *text = static_cast<const char *>(record) + sizeof(long);
    if (outside().send(QByteArray(text, static_cast<int>(strnlen(text, size)))))
        return 0;
    errno = EAGAIN;
    return -1;
}

ssize_t msgrcv(int, void *, size_t, long, int)
{
    errno = ENOMSG;
    return -1;
}

FILE *popen(const char *command, const char *)
{
    const cookie_io_functions_t functions{readPrinted, nullptr, nullptr, closePrinted};
    return fopencookie(new Printed{outside().outputOf(command), 0}, "r", functions);
}

int pclose(FILE *stream)
{
    return std::fclose(stream);
}

// The worker asks whether a process is to be had. It is told of one that no computer has, and that is over.
pid_t fork() noexcept
{
    return INT_MAX;
}

int system(const char *command)
{
    outside().shell(command);
    return 0;
}

} // extern "C"

void QThread::start(Priority)
{
}

void QThread::sleep(unsigned long seconds)
{
    outside().sleep(seconds);
}

void QProcess::start(const QString &commandLine, OpenMode)
{
    outside().start(commandLine);
}

int QProcess::execute(const QString &commandLine)
{
    return outside().execute(commandLine);
}

void QCoreApplication::exit(int code)
{
    outside().exit(code);
}

bool QFile::exists(const QString &path)
{
    // The sandbox is looked for as well, before there is a target.
    return current ? current->exists(path) : QFileInfo::exists(path);
}
