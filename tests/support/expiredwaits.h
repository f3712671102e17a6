// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef EXPIREDWAITS_H
#define EXPIREDWAITS_H

/// How many waits of this process for files, limited to a second or more, have run out so far. QProcess waits
/// in that way, so a test can tell whether it waited in vain without a look at the clock. Takes the place of
/// ppoll(2) in a test that has support/expiredwaits.cpp among its sources. Any thread.
int expiredWaits();

#endif
