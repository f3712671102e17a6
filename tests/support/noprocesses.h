// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef NOPROCESSES_H
#define NOPROCESSES_H

/// While it lives, the kernel gives this program no further process, whoever it runs as. A signal to all
/// processes, which is what the toolkit makes of one to a process that it was refused, ends the test.
class NoProcesses
{
public:
    NoProcesses();
    ~NoProcesses();
    NoProcesses(const NoProcesses &) = delete;
    NoProcesses &operator=(const NoProcesses &) = delete;
};

#endif
