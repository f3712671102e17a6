// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef EXPLANATION_H
#define EXPLANATION_H

#include <QByteArray>
#include <QString>

/// The manual's paragraph on a finding, out of the manual itself, which the program carries; empty for what
/// is none.
QString explanationOf(const QString &id);

/// Every id, its severity, and whether "fix" puts it right, asks, or does either.
QByteArray ruleList();

#endif
