// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FASTSLEEP_H
#define FASTSLEEP_H

#include <functional>

class QThread;

/// Called on the sleeping thread in place of its sleep, with the seconds that it asked for.
using SleepObserver = std::function<void(unsigned long seconds)>;

/// From now on every sleep of whole seconds on `thread` takes a few milliseconds only, after `observer` has
/// been told; an empty observer gives the thread its real sleeps back. Takes the place of nanosleep(2),
/// through which QThread::sleep() sleeps, in a test that has support/fastsleep.cpp among its sources.
void observeSleepsOf(const QThread *thread, const SleepObserver &observer);

#endif
