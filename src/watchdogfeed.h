// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WATCHDOGFEED_H
#define WATCHDOGFEED_H

#include <QObject>
#include <QString>

#include <sys/types.h>

/// What the watchdog process and this program make the key of their queue of, beside a file: of this number
/// ftok(3) gets the remainder modulo 256.
constexpr int watchdogQueueId = 6799;

/// One record of the watchdog queue, host byte order, shared with the watchdog process.
/// On the 32-bit target 4 + 512 bytes; where `long` is wider, `mtype` follows it, as msgop(2) wants.
struct WatchdogMessage {
    static constexpr int textSize = 512; ///< bytes of `mtext`, sent whole whatever the text's length

    long mtype;           ///< message type, set by the sender; this program always sends 1
    char mtext[textSize]; ///< UTF-8 command up to its zero byte; what follows may be left from a longer text
};

/// The System V message queue that this program shares with the watchdog process.
/// GUI thread only: sending and receiving use the same record.
class MyMessageType : public QObject
{
    Q_OBJECT

public:
    /// Builds the object only; createMessageId() has to be called before anything else.
    explicit MyMessageType(QObject *parent = nullptr);

    /// Opens or creates (mode 0666) the queue whose key ftok(3) gives for the file "zul_watchdog" in the
    /// program's directory and the project id `id` % 256. May be repeated. A missing file is no error: the
    /// key is then -1. Returns the queue identifier, or -1 when msgget(2) failed.
    int createMessageId(int id);

    /// Sends `text` (at most 511 bytes of UTF-8; more is cut off) as one record without waiting.
    /// `type` is only checked against -1. Returns 0, or -1 when the queue is missing or full, with a debug
    /// line and no retry. The line of a missing queue has errno as it stands at the call.
    int write(QString text, int type);

    /// Takes the next message off the queue without waiting. `type` is only checked against -1.
    /// Returns its text, at most 512 bytes decoded as UTF-8; empty when there is none or the queue is
    /// missing, the latter with the same debug line as write().
    QString read(int type);

    /// Whether the last createMessageId() gave a queue.
    bool isCreate();

private:
    bool isUsable(int type) const;

    WatchdogMessage message{};
    int msqid = -1;
    long receiveType = 0; ///< as for msgrcv(2): 0 takes the first message of any type
};

/// The commands that this program gives the watchdog process. None reports whether it arrived: one that
/// cannot be sent is dropped with a debug line. GUI thread only.
class WatchDogFeed : public QObject
{
    Q_OBJECT

public:
    /// Opens the watchdog queue; when that fails, every command tries again.
    explicit WatchDogFeed(QObject *parent = nullptr);

    /// Suspends the supervision: "syscmd_suspend@`n`". What `n` means, and its unit, is the watchdog's
    /// affair.
    void onSuspend(unsigned int n);
    /// Stops the supervision: "syscmd_stop". Nothing calls it; kept for completeness.
    void onStop();
    /// Takes the supervision up again: "syscmd_resume". Nothing calls it; kept for completeness.
    void onResume();
    /// Restarts the application programs: "syscmd_apprestart".
    void onRestartApp();

private:
    void send(const QString &command);

    MyMessageType *messenger;
};

#endif
