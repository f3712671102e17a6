// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/workerbench.h"

#include "support/fastsleep.h"
#include "support/waiting.h"

#include <mutex>

namespace
{

constexpr int sleepsAfterTheEnd = 2;

} // namespace

struct WorkerBench::State {
    myThread *worker = new myThread;
    QVector<_system_CMD> list;
    Pace pace = Fast;

    // What both threads use, under the mutex. Recursive, because an action may ask for what it guards.
    mutable std::recursive_mutex mutex;
    std::function<void(const QString &)> act;
    bool noting = false;
    int sleepsSinceEnd = -1; ///< -1 before the end of the batch
    QStringList events;
    QVector<qint64> times;
    QVector<unsigned long> sleeps;
    QElapsedTimer clock;

    void note(const QString &event);
    void noteSleep(unsigned long seconds);
    bool isOver() const;
};

void WorkerBench::State::note(const QString &event)
{
    const std::lock_guard<std::recursive_mutex> lock(mutex);
    if (!noting)
        return;
    events.append(event);
    times.append(clock.elapsed());
    if (event == "end")
        sleepsSinceEnd = 0;
    if (act)
        act(event);
}

void WorkerBench::State::noteSleep(unsigned long seconds)
{
    const std::lock_guard<std::recursive_mutex> lock(mutex);
    sleeps.append(seconds);
    if (events.isEmpty()) // the worker was idle and has not looked yet
        return;
    note(QString("sleep %1").arg(seconds));
    if (sleepsSinceEnd >= 0 && ++sleepsSinceEnd == sleepsAfterTheEnd)
        noting = false;
}

bool WorkerBench::State::isOver() const
{
    const std::lock_guard<std::recursive_mutex> lock(mutex);
    return sleepsSinceEnd >= (pace == Fast ? sleepsAfterTheEnd : 0);
}

WorkerBench::WorkerBench(const QVector<_system_CMD> &records, Pace pace)
    : state(std::make_shared<State>())
{
    state->list = records;
    state->pace = pace;
    const std::shared_ptr<State> kept = state; // by the connections, which the worker keeps
    QObject::connect(
        worker(), &myThread::signalStateChange, worker(),
        [kept](const QString &text) { kept->note(text.isEmpty() ? "done" : "start " + text); },
        Qt::DirectConnection);
    QObject::connect(
        worker(), &myThread::signaltsCalibrate, worker(),
        [kept](bool show) { kept->note(show ? "calibrate on" : "calibrate off"); }, Qt::DirectConnection);
    QObject::connect(
        worker(), &myThread::signal_end, worker(), [kept] { kept->note("end"); }, Qt::DirectConnection);
    if (pace == Fast)
        observeSleepsOf(worker(), [kept](unsigned long seconds) { kept->noteSleep(seconds); });
}

WorkerBench::~WorkerBench()
{
    worker()->suspend();
    observeSleepsOf(worker(), SleepObserver());
    const std::lock_guard<std::recursive_mutex> lock(state->mutex);
    state->noting = false;
    state->act = nullptr;
}

myThread *WorkerBench::worker() const
{
    return state->worker;
}

QVector<_system_CMD> &WorkerBench::list()
{
    return state->list;
}

void WorkerBench::atEachEvent(const std::function<void(const QString &)> &act)
{
    const std::lock_guard<std::recursive_mutex> lock(state->mutex);
    state->act = act;
}

void WorkerBench::startThread()
{
    worker()->start(QThread::InheritPriority);
}

void WorkerBench::begin()
{
    beginBy([this] { worker()->setSyscmd(&list()); });
}

void WorkerBench::beginBy(const std::function<void()> &act)
{
    {
        const std::lock_guard<std::recursive_mutex> lock(state->mutex);
        state->events.clear();
        state->times.clear();
        state->sleepsSinceEnd = -1;
        state->noting = true;
        state->clock.start();
    }
    act();
    if (!worker()->isRunning())
        startThread();
}

QStringList WorkerBench::events()
{
    const bool over = waitUntil([this] { return state->isOver(); });
    const std::lock_guard<std::recursive_mutex> lock(state->mutex);
    return over ? state->events : state->events + QStringList{"and no end"};
}

QStringList WorkerBench::run()
{
    begin();
    return events();
}

qint64 WorkerBench::timeOf(const QString &event) const
{
    const std::lock_guard<std::recursive_mutex> lock(state->mutex);
    const int index = state->events.indexOf(event);
    return index < 0 ? -1 : state->times.at(index);
}

QVector<unsigned long> WorkerBench::sleeps() const
{
    const std::lock_guard<std::recursive_mutex> lock(state->mutex);
    return state->sleeps;
}

_system_CMD record(const QString &name, const QString &commandLine, bool succeed)
{
    return {name, commandLine, succeed, 0};
}
