// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef EVENTLOOP_H
#define EVENTLOOP_H

#include <functional>

constexpr int loopGoesOn = -1;

/// Runs the application's event loop, does `act` in it, and returns what the loop ends with; `loopGoesOn`
/// when all that `act` set off is done and the loop has not ended.
int exitCodeOfEventLoop(const std::function<void()> &act);

#endif
