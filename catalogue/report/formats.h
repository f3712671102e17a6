// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FORMATS_H
#define FORMATS_H

#include "report/report.h"

#include <QVector>

/// All that a check knows of one medium.
struct Checked {
    const Medium &medium;
    const Verdict &verdict;
    const Findings &findings;
};

/// The report for programs: of one medium its own, of several an object whose "media" has one for each.
QByteArray jsonReports(const QVector<Checked> &media);

/// A report in the Static Analysis Results Interchange Format, version 2.1.0, on all of them. Columns count
/// characters there, not bytes.
QByteArray sarifReport(const QVector<Checked> &media, const QString &version);

/// A line for each finding that a workflow on GitHub shows beside the line of the file.
QByteArray githubReport(const QVector<Checked> &media);

#endif
