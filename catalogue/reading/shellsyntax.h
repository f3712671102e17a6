// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SHELLSYNTAX_H
#define SHELLSYNTAX_H

#include <QByteArray>
#include <QVector>

/// What a shell says of a script that it cannot read.
struct SyntaxError {
    int script = 0; ///< which one of those that were asked about
    int line = 1;
    QString message;
};

/// Has the shell of this computer read the scripts, with its own "-n", by which it runs nothing; those that
/// it cannot read, at most so many. None where there is no such shell. The scripts are handed over without a
/// file.
QVector<SyntaxError> syntaxErrors(const QByteArray &shell, const QVector<QByteArray> &scripts, int most);

#endif
