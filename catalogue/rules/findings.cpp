// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/findings.h"

#include "reading/likeness.h"
#include "rules/completion.h"
#include "rules/rules.h"
#include "rules/suppressions.h"

#include <QHash>

#include <algorithm>
#include <tuple>

namespace
{

const QVector<Rule> &allRules()
{
    static const QVector<Rule> rules = fileRules() + listRules() + textRules() + commandRules()
                                       + programRules() + groundRules() + mediumRules() + signingRules()
                                       + suppressionRules();
    return rules;
}

const Rule *ruleOf(const QString &id)
{
    static const auto byId = [] {
        QHash<QString, const Rule *> rules;
        for (const Rule &rule : allRules())
            rules.insert(rule.id, &rule);
        return rules;
    }();
    return byId.value(id);
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

QStringList similarIds(const QString &word)
{
    constexpr int longest = 60; // letters; nobody has meant an id by more
    const QString wanted = word.left(longest).toLower();
    QMap<int, QStringList> byDistance;
    for (const QString &id : findingIds()) {
        const bool isPart = wanted.size() > 2 && id.contains(wanted);
        const int distance = isPart ? 1 : changesBetween(wanted, id);
        if (distance <= qMax(2, wanted.size() / 3))
            byDistance[distance].append(id);
    }
    QStringList similar;
    for (const QStringList &ids : qAsConst(byDistance))
        similar += ids;
    return similar;
}

Severity severityOf(const QString &id)
{
    const Rule *rule = ruleOf(id);
    return rule ? rule->severity : Severity::Note;
}

unsigned changeOf(const QString &id)
{
    const Rule *rule = ruleOf(id);
    return rule ? rule->change : AsksAuthor;
}

unsigned changeOf(const Finding &finding)
{
    unsigned change = changeOf(finding.id);
    for (const QString &id : finding.also)
        change |= changeOf(id);
    return change;
}

QString questionOf(const QString &id)
{
    const Rule *rule = ruleOf(id);
    return rule ? QString(rule->question) : QString();
}

QByteArray edited(const QByteArray &bytes, QVector<Edit> edits)
{
    std::sort(edits.begin(), edits.end(), [](const Edit &a, const Edit &b) {
        return std::tie(a.begin, a.end) < std::tie(b.begin, b.end);
    });
    QByteArray text;
    int at = 0;
    for (const Edit &edit : qAsConst(edits)) {
        text += bytes.mid(at, edit.begin - at) + edit.text;
        at = edit.end;
    }
    return text + bytes.mid(at);
}

Findings findAll(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen,
                 Keep keep)
{
    Findings findings;
    const Subject subject(medium, file, verdict, screen);
    Suppressions suppressions(subject);
    Collector collector(subject, &suppressions, &findings, keep);
    const bool isAll = keep != Keep::OnlyMendable;
    for (const Rule &rule : allRules()) {
        if (!isAll && (rule.change & AsksAuthor))
            continue;
        collector.startRule(rule);
        rule.find(subject, collector);
    }
    if (isAll)
        suppressions.tell(collector);
    complete(subject, suppressions, allRules(), keep, &findings);
    const auto place = [&medium](const Finding &finding) {
        return std::make_tuple(finding.file != medium.catalogue, finding.file, finding.at.line,
                               finding.at.column);
    };
    for (QVector<Finding> *list : {&findings.list, &findings.suppressed})
        std::stable_sort(list->begin(), list->end(),
                         [&place](const Finding &a, const Finding &b) { return place(a) < place(b); });
    return findings;
}
