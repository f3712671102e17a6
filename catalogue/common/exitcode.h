// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef EXITCODE_H
#define EXITCODE_H

/// Exit codes; those from 64 on have the meaning that sysexits.h gives them.
enum ExitCode {
    ExitClean = 0,
    ExitWarnings = 1,
    ExitErrors = 2,
    ExitUsage = 64,
    ExitData = 65,        ///< not a text file, or too big to be a catalogue
    ExitNoInput = 66,     ///< nothing there, or not readable
    ExitUnavailable = 69, ///< a program that makes images is missing
    ExitSoftware = 70,    ///< the toolkit cannot be started, or the isolation does not hold
    ExitNoOutput = 73,    ///< cannot be written, or exists already
};

#endif
