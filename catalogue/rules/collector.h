// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef COLLECTOR_H
#define COLLECTOR_H

#include "rules/findings.h"

class Subject;
struct IniEntry;

constexpr int keptOfAKind = 50;

/// Takes the findings of one rule.
class Collector
{
public:
    Collector(const Subject &subject, Findings *findings);

    void startRule(const char *id, Severity severity);
    /// Whether the next one will be kept, or only counted, so that it need not say what would be right.
    bool hasRoom() const;
    /// At a place in the catalogue.
    void add(int offset, const QString &message, const QString &right);
    /// At a place in an entry, whose line, or lines, `right` replaces.
    void replace(const IniEntry &entry, int offset, const QString &message, const QString &right);
    void replace(int begin, int end, int offset, const QString &message, const QString &right);
    /// On another file of the medium, or on the medium.
    void addOther(const QString &path, const QString &message, const QString &right);

private:
    void keep(const Finding &finding);

    const Subject &subject;
    Findings *findings;
    QString id;
    Severity severity = Severity::Note;
    int kept = 0;
};

#endif
