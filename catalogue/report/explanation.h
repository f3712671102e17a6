// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef EXPLANATION_H
#define EXPLANATION_H

#include <QByteArray>
#include <QString>

/// The manual's paragraph on a finding, out of the manual itself, which the program carries; empty for what
/// is none.
QString explanationOf(const QString &id);

/// Its first sentence, without marks.
QString summaryOf(const QString &id);

/// A paragraph of the manual without its marks, on one line.
QString plainText(const QString &markdown);

/// What to say where there is no finding of this id: which ones may be meant.
QString unknownFinding(const QString &id);

/// Every id, its severity, whether "fix" puts it right, asks, or does either, and what it is about.
QByteArray ruleList();

/// The same for programs.
QByteArray ruleListJson();

#endif
