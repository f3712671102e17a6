// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SUPPRESSIONS_H
#define SUPPRESSIONS_H

#include "rules/rules.h"

#include <QHash>

/// The rules on comments by which an author says that a finding is meant. They find nothing by themselves.
QVector<Rule> suppressionRules();

/// What the author has ignored, by the line that it is about.
QHash<int, QStringList> ignoredIds(const Subject &subject);

/// Takes out the findings that the author has given a reason for, "; zul: ignore=ID because REASON", on the
/// line of that comment or on the one below; tells of a comment that takes nothing out, or gives no reason.
void suppress(const Subject &subject, Findings *findings, Collector &collector);

#endif
