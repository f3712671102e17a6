// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef COMPLETION_H
#define COMPLETION_H

#include "rules/rules.h"

class Suppressions;

/// Makes the line that is right by one finding right by all the others, too, which the author need not be
/// asked about: those on the same line, and those that would be found only once the first is put right. So
/// that whoever takes the line over has nothing found in it again. What the author has ignored stays. For
/// mending, which looks at the outcome again, a line is not looked at once more to see that nothing is left.
void complete(const Subject &subject, const Suppressions &suppressions, const QVector<Rule> &rules, Keep keep,
              Findings *findings);

#endif
