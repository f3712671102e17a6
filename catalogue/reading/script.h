// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SCRIPT_H
#define SCRIPT_H

#include <QString>
#include <QStringList>
#include <QVector>

/// One program of a script, with its arguments as they are without their quotation marks. What a shell would
/// have to be run for, a variable or a pattern, stands as it is written.
struct Step {
    QStringList words;
    QStringList run;     ///< the same, without what stands in front of the program that is run in the end
    QString program;     ///< of that, without its folder, and of "mkfs.ext4" without its kind
    QStringList outputs; ///< files that it is redirected to
    int line = 1;        ///< on which it begins
};

/// The program of a command line, as a step has it.
QString programOf(const QStringList &words);

/// What a shell script runs, one after the other, whether it comes to it or not. It is read by the shell's
/// rules for words, quotes, comments, redirections and separators, not for what makes it decide or repeat.
QVector<Step> stepsOf(const QString &script);

/// A command line without what stands in front of the program that is run in the end: of "env A=b nice -n 5
/// cp x", "cp x".
QStringList withoutWrappers(const QStringList &words);

#endif
