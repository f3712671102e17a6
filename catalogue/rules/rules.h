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
};

QVector<Rule> fileRules();
QVector<Rule> listRules();
QVector<Rule> commandRules();
QVector<Rule> mediumRules();
QVector<Rule> signingRules();

#endif
