// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/collector.h"

#include "reading/medium.h"
#include "rules/subject.h"

Collector::Collector(const Subject &itsSubject, Findings *itsFindings)
    : subject(itsSubject)
    , findings(itsFindings)
{
}

void Collector::startRule(const char *ruleId, Severity ruleSeverity)
{
    id = ruleId;
    severity = ruleSeverity;
    kept = 0;
}

bool Collector::hasRoom() const
{
    return kept < keptOfAKind;
}

void Collector::keep(const Finding &finding)
{
    if (hasRoom())
        findings->list.append(finding);
    else
        ++findings->omitted[id];
    ++kept;
}

void Collector::add(int offset, const QString &message, const QString &right)
{
    replace(-1, -1, offset, message, right);
}

void Collector::replace(const IniEntry &entry, int offset, const QString &message, const QString &right)
{
    const int end = entry.semicolon < 0 ? entry.end : lineEnd(subject.file.bytes(), entry.end);
    replace(entry.begin, end, offset, message, right);
}

void Collector::replace(int begin, int end, int offset, const QString &message, const QString &right)
{
    keep({id, severity, subject.medium.catalogue, subject.file.position(offset), message, right, begin, end});
}

void Collector::addOther(const QString &path, const QString &message, const QString &right)
{
    keep({id, severity, path, {1, 1}, message, right});
}
