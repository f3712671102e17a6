// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef OUTSIDE_H
#define OUTSIDE_H

#include <QByteArray>
#include <QString>

/// The computer, as the tool's code finds it in a target that is linked with zul_fuzz_outside: outside.cpp
/// defines the functions by which the tool reaches out, and they come here. Nothing reaches the real one. The
/// worker's thread is not started by itself; the target runs it, or does not.
class Outside
{
public:
    /// From now on this one is asked; one at a time.
    Outside();
    virtual ~Outside();
    Outside(const Outside &) = delete;
    Outside &operator=(const Outside &) = delete;

    /// What a shell's command prints.
    virtual QByteArray outputOf(const QByteArray &command);
    /// A shell's command, not waited for.
    virtual void shell(const QByteArray &command);
    /// The application is to end its event loop.
    virtual void exit(int code);
    /// A program that the window starts; it prints nothing.
    virtual void start(const QString &commandLine);
    /// A program that the worker runs to its end: its exit code, or -2 when it cannot be started.
    virtual int execute(const QString &commandLine);
    /// Whether a file is there.
    virtual bool exists(const QString &path);
    /// A record for the watchdog, whole. False when the queue is full.
    virtual bool send(const QByteArray &text);
    /// The worker waits.
    virtual void sleep(unsigned long seconds);
};

#endif
