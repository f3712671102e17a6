// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef CHECKING_H
#define CHECKING_H

struct Options;

/// Checks every medium that is named, each once, and prints one report on them. Returns the worst outcome's
/// exit code.
int check(const Options &options);

/// The same whenever something of them has changed, until somebody stops it, which is 0, or nobody reads it.
int watch(const Options &options);

#endif
