// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FORMATS_H
#define FORMATS_H

#include "common/failure.h"
#include "report/report.h"

#include <QVector>

/// All that a check knows of one medium.
struct Checked {
    const Medium &medium;
    const Verdict &verdict;
    const Findings &findings;
};

/// What was named as a medium, and could not be checked.
struct Unchecked {
    QString argument;
    Failure failure;
};

/// One run of the program.
struct Checks {
    QVector<Checked> media;
    QVector<Unchecked> unchecked;
    bool areSeveral; ///< more than one was named
    int exitCode;
};

/// The report for programs: of one medium its own, of several, or of one that could not be checked, an object
/// whose "media" has one for each.
QByteArray jsonReports(const Checks &checks);

/// A report in the Static Analysis Results Interchange Format, version 2.1.0, on all of them. Columns count
/// characters there, not bytes.
QByteArray sarifReport(const Checks &checks, const QString &version);

/// A line for each finding, and for each medium that could not be checked, that a workflow on GitHub shows
/// beside the line of the file. Columns count characters.
QByteArray githubReport(const Checks &checks);

/// A column that counts characters, from one that counts bytes; a byte-order mark is none.
int characterColumn(const IniFile &file, Position at);

#endif
