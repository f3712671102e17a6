// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GUARD_H
#define GUARD_H

/// Takes from this process, for ever, what an input must never reach: starting a program, signalling another
/// process, and removing, renaming or mounting anything. Such a call fails with EPERM from now on. All
/// threads, and what they start. False, with errno, where the kernel refuses.
///
/// The targets keep the tool's code from such calls anyway; this is for the day on which they do not.
bool closeTheWayOut();

#endif
