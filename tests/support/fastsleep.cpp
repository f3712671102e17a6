// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/fastsleep.h"

#include <QHash>
#include <QThread>

#include <cerrno>
#include <ctime>
#include <mutex>

#include <poll.h>

namespace
{

constexpr int fastSleepMs = 2;

/// Never released: threads may still sleep while the process ends.
struct Observers {
    std::mutex mutex; // not Qt's, which ThreadSanitizer does not know
    QHash<const QThread *, SleepObserver> byThread;
};

Observers &observers()
{
    static auto *all = new Observers;
    return *all;
}

SleepObserver observerOfThisThread()
{
    const std::lock_guard<std::mutex> lock(observers().mutex);
    return observers().byThread.value(QThread::currentThread());
}

bool isWholeSeconds(const timespec *time)
{
    return time->tv_sec > 0 && time->tv_nsec == 0;
}

} // namespace

void observeSleepsOf(const QThread *thread, const SleepObserver &observer)
{
    const std::lock_guard<std::mutex> lock(observers().mutex);
    if (observer)
        observers().byThread.insert(thread, observer);
    else
        observers().byThread.remove(thread);
}

// The program's own definition comes before the C library's, for Qt's libraries too.
extern "C" int nanosleep(const timespec *request, timespec *remaining)
{
    if (isWholeSeconds(request)) {
        if (const SleepObserver observer = observerOfThisThread()) {
            observer(static_cast<unsigned long>(request->tv_sec));
            return poll(nullptr, 0, fastSleepMs);
        }
    }
    errno = clock_nanosleep(CLOCK_REALTIME, 0, request, remaining);
    return errno == 0 ? 0 : -1;
}
