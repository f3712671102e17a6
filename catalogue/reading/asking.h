// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef ASKING_H
#define ASKING_H

#include <QByteArray>
#include <QVector>

/// What a program says of texts that it reads and does not run.
struct Answered {
    int exitCode = -1; ///< -1 where there is no such program, or it did not come to its end
    QByteArray output;
    QByteArray errors;
    QVector<QByteArray> names; ///< by which it opened the texts
};

/// Has a program of this computer, found by PATH, read an input and texts. For each of the texts it gets one
/// more argument, a name by which it can open it; on no disk is there a file. It ends before this returns.
Answered askProgram(QVector<QByteArray> arguments, const QByteArray &input,
                    const QVector<QByteArray> &texts = {});

#endif
