// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef DEBUGLINES_H
#define DEBUGLINES_H

#include <QStringList>

/// Collects the debug lines that the product code writes while it lives, from any thread. One at a time.
class DebugLines
{
public:
    DebugLines();
    ~DebugLines();
    DebugLines(const DebugLines &) = delete;
    DebugLines &operator=(const DebugLines &) = delete;

    /// The lines so far, oldest first, character for character.
    QStringList lines() const;
};

#endif
