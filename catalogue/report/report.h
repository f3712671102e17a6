// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef REPORT_H
#define REPORT_H

#include "rules/findings.h"
#include "window/verdict.h"

#include <QByteArray>

struct Medium;
struct Mended;

/// The report for people: what the operator sees, what is run, the findings in the style of a compiler.
QByteArray textReport(const Medium &medium, const Verdict &verdict, const Findings &findings, bool colours);

/// What was put right in a medium, for people; what is left, with the question that its author has to answer.
QByteArray mendingReport(const Mended &mended, bool colours);

/// The report for programs. Its form has a version; a new field does not change it, anything else does.
QByteArray jsonReport(const Medium &medium, const Verdict &verdict, const Findings &findings);

/// Prints a line for the user, beside the reports; returns the exit code.
int fail(int exitCode, const QString &message);

/// Whether the standard output is a terminal that shows them, and its user wants them.
bool wantsColours();

/// 0 clean, 1 warnings that count, 2 errors.
int exitCodeOf(const Findings &findings, bool strict);

/// "error", "warning" or "note".
QString severityName(Severity severity);

/// "2 errors".
QString counted(qint64 count, const QString &what);

/// The text with control characters as escapes, so that a catalogue cannot steer the terminal that shows it.
QString printable(const QString &text);

#endif
