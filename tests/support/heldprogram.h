// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef HELDPROGRAM_H
#define HELDPROGRAM_H

#include <QString>
#include <QTemporaryDir>

/// A program that runs until it is released.
class HeldProgram
{
public:
    HeldProgram();
    ~HeldProgram();
    HeldProgram(const HeldProgram &) = delete;
    HeldProgram &operator=(const HeldProgram &) = delete;

    /// The command line that runs it.
    QString commandLine() const;
    /// Waits until it runs; false when it does not.
    bool isRunning();
    /// Lets it end with exit code 0.
    void release();

private:
    QTemporaryDir directory;
    QString path;
    int writer = -1;
};

#endif
