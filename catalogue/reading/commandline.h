// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <QString>
#include <QStringList>

/// What a command line becomes when it is started without a shell. The rules are QProcess's; it makes them
/// public from Qt 5.15 on only, so they are written down here, and a test holds them to a real start.
struct CommandLine {
    QStringList words;      ///< the program and its arguments
    QString bare;           ///< the text with "x" in the place of all that is quoted, and of the marks
    bool openQuote = false; ///< a quotation mark is never closed
};

CommandLine splitCommandLine(const QString &text);

#endif
