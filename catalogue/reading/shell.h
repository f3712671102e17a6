// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SHELL_H
#define SHELL_H

#include <QString>
#include <QStringList>

// What a shell is, for all who ask.

/// Whether the character is one of these, which are ASCII.
bool isOneOf(const char *characters, QChar character);

/// The number of words at the beginning of a command line that name a shell: 1 for "sh" and its kin, by
/// whatever path, 2 for "busybox sh", 0 when the program is none.
int shellWords(const QStringList &words);

/// A command line that hands a script to a shell, taken apart as it is written.
struct ShellCall {
    QString shell;  ///< with its options: "sh -c"; empty for any other command line
    QString script; ///< what stands behind that
};

ShellCall shellCall(const QString &commandLine);

/// The command line that hands `script` to a shell.
QString throughShell(const QString &script, const QString &shell = "sh -c");

/// A path as it is written for a shell.
QString shellWord(const QString &path);

#endif
