// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WORKERBENCH_H
#define WORKERBENCH_H

#include "widget.h"

#include <QElapsedTimer>
#include <QStringList>

#include <functional>
#include <memory>

/// A worker with a run list, watched from its own thread, at the very moment of each event:
///
///     "start NAME"  "sleep SECONDS"  "done"  "calibrate off"  "calibrate on"  "end"
///
/// A test that uses it has support/fastsleep.cpp among its sources. The worker can be neither stopped nor
/// deleted, so it stays behind, idle, with its list.
class WorkerBench
{
public:
    enum Pace { Fast, Real }; ///< Real: the sleeps take their time and are no events

    explicit WorkerBench(const QVector<_system_CMD> &records = QVector<_system_CMD>(), Pace pace = Fast);
    ~WorkerBench();
    WorkerBench(const WorkerBench &) = delete;
    WorkerBench &operator=(const WorkerBench &) = delete;

    myThread *worker() const;
    /// The list that the worker is given. Not while it may be using it.
    QVector<_system_CMD> &list();

    /// Calls `act` on the worker's thread at each event, after it has been noted.
    void atEachEvent(const std::function<void(const QString &event)> &act);
    /// Starts the worker's thread without a batch.
    void startThread();
    /// Hands the list over; starts the thread when it is not running yet.
    void begin();
    /// Lets `act` start a batch and notes its events.
    void beginBy(const std::function<void()> &act);
    /// Waits for the end of the batch, and for two sleeps after it to see that nothing else comes. Returns
    /// the batch's events, or what it was waiting in vain for.
    QStringList events();
    /// begin() and events().
    QStringList run();

    /// Milliseconds from begin() to the event.
    qint64 timeOf(const QString &event) const;
    /// The seconds of all sleeps since the thread was started, idle ones too.
    QVector<unsigned long> sleeps() const;

private:
    struct State;
    std::shared_ptr<State> state;
};

/// A record as a catalogue's reader makes it.
_system_CMD record(const QString &name, const QString &commandLine, bool succeed = false);

#endif
