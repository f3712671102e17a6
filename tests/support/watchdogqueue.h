// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WATCHDOGQUEUE_H
#define WATCHDOGQUEUE_H

#include <QByteArray>
#include <QString>

#include <sys/types.h>

/// A queue, the watchdog's by default, as bytes and from the other side. Only in the sandbox, where the
/// queues are private. Whoever wants the texts only has takeSentCommands().
class WatchdogQueue
{
public:
    /// What ftok(3) gets for the system's queue, said here once more so that the tests do not believe the
    /// tool.
    static constexpr int projectId = 143;

    /// The queue of the key that the watchdog's file in this program's directory gives; -1 without the file.
    WatchdogQueue();
    /// Opens or creates the queue of this key.
    explicit WatchdogQueue(key_t key);

    int id() const;
    /// How many messages wait.
    int length() const;
    /// Takes the oldest message off. Returns all its bytes after the type, none when there is no message.
    QByteArray take();
    /// The type of the message that take() has returned last.
    long takenType() const;
    /// Puts a message of these bytes on. Returns false when that is impossible without waiting.
    bool put(const QByteArray &bytes, long type = 1);
    /// Puts messages of 512 bytes on until no more fits.
    void fill();
    /// Removes the queue itself.
    void remove();

private:
    int queueId;
    long lastType = 0;
};

/// The file that gives the queue its key, in this program's directory, while this lives. Without one living
/// there is no such file.
class WatchdogFile
{
public:
    WatchdogFile();
    ~WatchdogFile();
    WatchdogFile(const WatchdogFile &) = delete;
    WatchdogFile &operator=(const WatchdogFile &) = delete;

    static QString path();
};

#endif
