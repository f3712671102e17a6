// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/findings.h"

#include "rules/rules.h"

#include <algorithm>
#include <tuple>

namespace
{

QVector<Rule> allRules()
{
    return fileRules() + listRules() + commandRules() + mediumRules() + signingRules();
}

} // namespace

int Findings::count(Severity severity) const
{
    return static_cast<int>(std::count_if(list.begin(), list.end(), [severity](const Finding &finding) {
        return finding.severity == severity;
    }));
}

QStringList findingIds()
{
    QStringList ids;
    for (const Rule &rule : allRules())
        ids.append(rule.id);
    return ids;
}

Findings findAll(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen)
{
    Findings findings;
    const Subject subject(medium, file, verdict, screen);
    Collector collector(subject, &findings);
    for (const Rule &rule : allRules()) {
        collector.startRule(rule.id, rule.severity);
        rule.find(subject, collector);
    }
    const auto place = [&medium](const Finding &finding) {
        return std::make_tuple(finding.file != medium.catalogue, finding.file, finding.at.line,
                               finding.at.column);
    };
    std::stable_sort(findings.list.begin(), findings.list.end(),
                     [&place](const Finding &a, const Finding &b) { return place(a) < place(b); });
    return findings;
}
