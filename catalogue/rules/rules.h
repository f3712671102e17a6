// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef RULES_H
#define RULES_H

#include "rules/collector.h"
#include "rules/subject.h"

/// One kind of finding.
struct Rule {
    const char *id;
    Severity severity;
    void (*find)(const Subject &subject, Collector &findings);
    unsigned change;      ///< what its mending may do to the operations: Change flags
    const char *question; ///< what its author has to answer, always or now and then; null where nothing is
};

QVector<Rule> fileRules();
QVector<Rule> listRules();
QVector<Rule> commandRules();
QVector<Rule> programRules();
QVector<Rule> groundRules();
QVector<Rule> textRules();
QVector<Rule> mediumRules();
QVector<Rule> signingRules();

#endif
