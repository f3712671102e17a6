// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WAITING_H
#define WAITING_H

#include <QElapsedTimer>
#include <QTest>

/// How long a test waits for what has to come at once, on a computer that does much else.
constexpr int waitingLimitMs = 30000;

/// Waits, with the event loop running, until `holds()` is true. Returns false when that takes too long.
template <class Condition>
bool waitUntil(Condition holds, int limitMs = waitingLimitMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!holds()) {
        if (clock.elapsed() > limitMs)
            return false;
        QTest::qWait(5);
    }
    return true;
}

#endif
