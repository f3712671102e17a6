// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/suppressions.h"

#include <QRegularExpression>

#include <algorithm>

namespace
{

/// A comment by which an author says that findings are meant.
struct Suppression {
    int offset; ///< of the comment
    int end;
    QStringList ids;
    bool hasReason;
    int line; ///< the one that it is about
};

void nothing(const Subject &, Collector &)
{
}

bool isBlankOrComment(const QByteArray &line)
{
    const QByteArray text = line.trimmed();
    return text.isEmpty() || text.startsWith(';');
}

/// The first line from here on that says something.
int nextLine(const Subject &subject, int offset)
{
    const QByteArray &bytes = subject.file.bytes();
    int at = lineEnd(bytes, offset);
    while (at < bytes.size()) {
        const int begin = at + 1;
        const int end = lineEnd(bytes, begin);
        if (!isBlankOrComment(bytes.mid(begin, end - begin)))
            return subject.file.position(begin).line;
        at = end;
    }
    return -1;
}

QVector<Suppression> suppressionsIn(const Subject &subject)
{
    static const QRegularExpression comment(
        ";[ \\t]*zul:[ \\t]*ignore=([\\w,-]*)(?:[ \\t]+because[ \\t]+(\\S[^\\r\\n]*))?");
    QVector<Suppression> found;
    if (!subject.file.bytes().contains("zul:"))
        return found;
    const QString text = QString::fromLatin1(subject.file.bytes()); // a character for each byte
    for (auto matches = comment.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const int begin = subject.file.lineStart(match.capturedStart());
        const bool isAlone = text.midRef(begin, match.capturedStart() - begin).trimmed().isEmpty();
        found.append(
            {match.capturedStart(), match.capturedEnd(),
             match.captured(1).split(',', QString::SkipEmptyParts), !match.captured(2).isEmpty(),
             isAlone ? nextLine(subject, match.capturedStart()) : subject.file.position(begin).line});
    }
    return found;
}

const Rule &unused()
{
    static const Rule rule{"suppression-unused", Severity::Warning, nothing, AsksAuthor,
                           "whether anything else was meant"};
    return rule;
}

const Rule &withoutReason()
{
    static const Rule rule{"suppression-without-reason", Severity::Warning, nothing, AsksAuthor,
                           "why it is meant"};
    return rule;
}

/// Whether the findings had one of this id on the line; it is not among them any more.
bool takeOut(Findings *findings, const QString &catalogue, const QString &id, int line)
{
    const auto isMeant = [&](const Finding &finding) {
        return finding.id == id && finding.file == catalogue && finding.at.line == line;
    };
    const auto end = std::stable_partition(findings->list.begin(), findings->list.end(),
                                           [&](const Finding &finding) { return !isMeant(finding); });
    const bool any = end != findings->list.end();
    for (auto finding = end; finding != findings->list.end(); ++finding)
        findings->suppressed.append(*finding);
    findings->list.erase(end, findings->list.end());
    return any;
}

} // namespace

QVector<Rule> suppressionRules()
{
    return {unused(), withoutReason()};
}

QHash<int, QStringList> ignoredIds(const Subject &subject)
{
    QHash<int, QStringList> ids;
    for (const Suppression &one : suppressionsIn(subject))
        ids[one.line] += one.ids;
    return ids;
}

void suppress(const Subject &subject, Findings *findings, Collector &collector)
{
    const QVector<Suppression> suppressions = suppressionsIn(subject);
    const QString catalogue = subject.medium.catalogue;
    collector.startRule(unused());
    for (const Suppression &one : suppressions) {
        QStringList idle;
        for (const QString &id : one.ids) {
            // Of many of a kind only the first are listed, and it may be one of the others.
            if (!takeOut(findings, catalogue, id, one.line) && !findings->omitted.contains(id))
                idle.append(id);
        }
        if (!idle.isEmpty() || one.ids.isEmpty())
            collector.replace(one.offset, one.end, one.offset,
                              one.ids.isEmpty()
                                  ? QString("This comment names no finding to be ignored")
                                  : QString("Nothing is found here that is called %1").arg(idle.join(", ")),
                              "; zul:");
    }
    collector.startRule(withoutReason());
    for (const Suppression &one : suppressions) {
        if (!one.hasReason && !one.ids.isEmpty())
            collector.replace(one.offset, one.end, one.offset,
                              "A finding is ignored here, and nobody will know why",
                              "; zul: ignore=" + one.ids.join(',') + " because REASON");
    }
}
