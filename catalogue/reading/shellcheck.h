// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SHELLCHECK_H
#define SHELLCHECK_H

#include <QByteArray>
#include <QString>
#include <QVector>

/// A script, for the shell that reads it on the controller.
struct ShellText {
    QByteArray bytes;
    bool isForBash = false; ///< any other is for what every "sh" knows
};

/// What shellcheck says of a script, where that is certainly a mistake.
struct Remark {
    int text = 0; ///< which one of those that were asked about
    int line = 1;
    int column = 1;    ///< in characters
    int endColumn = 1; ///< behind it; on the same line
    int code = 0;      ///< 2283 of "SC2283"
    QString message;
};

/// Has shellcheck read the scripts, all for one shell in one process, with no settings but these. None where
/// it is not installed, or too old to be asked like this. What has been said of a text is remembered: it does
/// not depend on anything else. Texts that are too long, and what is too much for a wait, is left out.
QVector<Remark> remarksOn(const QVector<ShellText> &texts);

#endif
