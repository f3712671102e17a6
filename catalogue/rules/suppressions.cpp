// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/suppressions.h"

#include "reading/initext.h"
#include "rules/collector.h"
#include "rules/rules.h"
#include "rules/subject.h"

#include <QRegularExpression>

namespace
{

void nothing(const Subject &, Collector &)
{
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

bool isBlankOrComment(const QByteArray &line)
{
    const QByteArray text = line.trimmed();
    return text.isEmpty() || text.startsWith(';');
}

/// The first line from here on that says something.
int nextLine(const IniFile &file, int offset)
{
    const QByteArray &bytes = file.bytes();
    int at = lineEnd(bytes, offset);
    while (at < bytes.size()) {
        const int begin = at + 1;
        const int end = lineEnd(bytes, begin);
        if (!isBlankOrComment(bytes.mid(begin, end - begin)))
            return file.position(begin).line;
        at = end;
    }
    return -1;
}

/// Where the first line that says something begins.
int firstOffset(const IniFile &file)
{
    int first = file.bytes().size();
    if (!file.sections().isEmpty())
        first = qMin(first, file.sections().first().begin);
    if (!file.entries().isEmpty())
        first = qMin(first, file.entries().first().begin);
    return file.strayLines().isEmpty() ? first : qMin(first, file.strayLines().first().begin);
}

QString commentFor(const QStringList &ids, const QString &reason)
{
    return "; zul: ignore=" + ids.join(',') + " because " + (reason.isEmpty() ? "REASON" : reason);
}

} // namespace

QVector<Rule> suppressionRules()
{
    return {unused(), withoutReason()};
}

Suppressions::Suppressions(const Subject &itsSubject)
    : subject(itsSubject)
{
    // Line by line, as it is meant: an open quotation mark makes no comment a part of a value.
    const IniFile &file = subject.asWritten();
    const QByteArray &bytes = file.bytes();
    if (!bytes.toLower().contains("zul:"))
        return;
    static const QRegularExpression mark("^;[ \\t]*zul:", QRegularExpression::CaseInsensitiveOption);
    const int first = firstOffset(file);
    for (const int begin : file.comments()) {
        const int end = lineEnd(bytes, begin);
        const QString text = textOf(bytes.mid(begin, end - begin));
        const QRegularExpressionMatch match = mark.match(text);
        if (!match.hasMatch())
            continue;
        Comment comment = understood(text.mid(match.capturedEnd()).trimmed());
        const int lineStart = file.lineStart(begin);
        const bool isAlone = bytes.mid(lineStart, begin - lineStart).trimmed().isEmpty();
        comment.begin = begin;
        comment.end = end;
        comment.isAboutMedium = begin < first;
        comment.line = isAlone ? nextLine(file, begin) : file.position(begin).line;
        byLine[comment.isAboutMedium ? 0 : comment.line].append(comments.size());
        comments.append(comment);
    }
}

/// Without "because", the names end where the first of them has another word behind it.
Suppressions::Comment Suppressions::understood(const QString &text)
{
    static const QRegularExpression ignore("^ignore\\s*=\\s*", QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression because("(^|\\s+)because(\\s+|$)",
                                            QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression blanks("\\s+");
    Comment comment = {};
    const QRegularExpressionMatch match = ignore.match(text);
    comment.isUnderstood = match.hasMatch();
    const QString rest = text.mid(match.capturedEnd());
    const QRegularExpressionMatch word = because.match(rest);
    if (word.hasMatch())
        comment.reason = rest.mid(word.capturedEnd());
    for (const QString &item : rest.left(word.hasMatch() ? word.capturedStart() : rest.size()).split(',')) {
        const QString id = item.trimmed().section(blanks, 0, 0);
        if (!id.isEmpty())
            comment.ids.append(id);
        if (id != item.trimmed())
            break;
    }
    return comment;
}

bool Suppressions::take(Finding *finding)
{
    if (comments.isEmpty() || finding->id.startsWith("suppression-"))
        return false;
    const bool isHere = finding->file == subject.medium.catalogue;
    const QVector<int> about = isHere ? commentsAbout(finding->at.line) : byLine.value(0);
    bool isMeant = false;
    for (const int number : about) {
        Comment &comment = comments[number];
        if (!comment.ids.contains(finding->id))
            continue;
        if (!comment.used.contains(finding->id))
            comment.used.append(finding->id);
        if (!isMeant)
            finding->reason = comment.reason;
        isMeant = true;
    }
    return isMeant;
}

QVector<int> Suppressions::commentsAbout(int line) const
{
    return byLine.value(0) + byLine.value(line);
}

QStringList Suppressions::idsFor(int line) const
{
    QStringList ids;
    for (const int number : commentsAbout(line))
        ids += comments.at(number).ids;
    return ids;
}

void Suppressions::tell(Collector &collector) const
{
    collector.startRule(unused());
    for (const Comment &comment : comments)
        tellUnused(comment, collector);
    collector.startRule(withoutReason());
    for (const Comment &comment : comments) {
        if (comment.reason.isEmpty() && !comment.ids.isEmpty() && comment.isUnderstood)
            collector.replace(comment.begin, comment.end, comment.begin,
                              "A finding is ignored here, and nobody will know why",
                              commentFor(comment.ids, QString()));
    }
}

void Suppressions::tellUnused(const Comment &comment, Collector &collector) const
{
    const auto say = [&](const QString &message, const QStringList &right) {
        if (right.isEmpty())
            collector.advise(comment.begin, message, "the line without this comment");
        else
            collector.replace(comment.begin, comment.end, comment.begin, message,
                              commentFor(right, comment.reason));
    };
    if (!comment.isUnderstood) {
        say("This comment does nothing, as it is not of the form that ignores a finding", {"ID"});
        return;
    }
    if (comment.ids.isEmpty())
        say("This comment names no finding to be ignored", {"ID"});
    for (const QString &id : comment.ids) {
        // Whether shellcheck is installed where it is checked is not the catalogue's affair.
        if (comment.used.contains(id) || id == "script-shellcheck")
            continue;
        QStringList right = comment.ids;
        const bool isKnown = findingIds().contains(id);
        const QStringList similar = isKnown || !collector.hasRoom() ? QStringList() : similarIds(id);
        if (similar.isEmpty())
            right.removeAll(id);
        else
            right.replace(right.indexOf(id), similar.first());
        say(QString(isKnown ? "Nothing is found here that is called %1" : "No finding is called %1").arg(id),
            right);
    }
}
