// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FAILURE_H
#define FAILURE_H

#include "common/exitcode.h"

#include <QString>

/// Why nothing could be done: one line for the user, and the exit code.
struct Failure {
    int exitCode = ExitClean;
    QString message;
};

#endif
