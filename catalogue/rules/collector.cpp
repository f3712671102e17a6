// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/collector.h"

#include "reading/initext.h"
#include "reading/medium.h"
#include "rules/rules.h"
#include "rules/subject.h"
#include "rules/suppressions.h"

#include <QFile>
#include <QFileInfo>

#include <cstring>

Collector::Collector(const Subject &itsSubject, Suppressions *itsSuppressions, Findings *itsFindings,
                     Keep itsKeep)
    : subject(itsSubject)
    , suppressions(itsSuppressions)
    , findings(itsFindings)
    , kept(itsKeep)
{
}

void Collector::startRule(const Rule &nextRule)
{
    rule = &nextRule;
    id = nextRule.id;
    asks = false;
    count = 0;
}

bool Collector::hasRoom() const
{
    return count < keptOfAKind || (kept != Keep::First && !(rule->change & AsksAuthor));
}

Collector &Collector::askAuthor()
{
    asks = true;
    return *this;
}

void Collector::keep(Finding finding)
{
    finding.id = id;
    finding.severity = rule->severity;
    finding.mendable = !finding.edits.isEmpty() && !asks && !(rule->change & AsksAuthor);
    asks = false;
    if (finding.file == subject.medium.catalogue)
        finding.end = endOf(finding.at);
    // Before they are counted: one that is meant takes the place of none that is not.
    if (suppressions && suppressions->take(&finding)) {
        findings->suppressed.append(finding);
        return;
    }
    const bool isKept = kept == Keep::OnlyMendable
                            ? finding.mendable
                            : count < keptOfAKind || (kept == Keep::Mendable && finding.mendable);
    if (isKept)
        findings->list.append(finding);
    else
        ++findings->omitted[id];
    ++count;
}

/// Behind the word at this place, or behind its one character.
Position Collector::endOf(Position at) const
{
    const QByteArray &bytes = subject.file.bytes();
    const int begin = subject.file.lineBegin(at.line) + at.column - 1;
    int end = begin;
    while (end < bytes.size() && !strchr(" \t\r\n,;@=\"", bytes.at(end)))
        ++end;
    if (end == begin && end < bytes.size() && bytes.at(end) != '\n' && bytes.at(end) != '\r')
        ++end;
    return {at.line, at.column + (end - begin)};
}

/// Of another file, without its end; empty where that cannot be read.
QByteArray Collector::lineOf(const QString &path, int line)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    QByteArray text;
    for (int number = 1; number <= line; ++number)
        text = file.readLine();
    while (text.endsWith('\n') || text.endsWith('\r'))
        text.chop(1);
    return text;
}

void Collector::add(int offset, const QString &message, const QString &right)
{
    keep({{}, {}, subject.medium.catalogue, subject.file.position(offset), message, right, {}, false, false});
}

void Collector::advise(int offset, const QString &message, const QString &advice)
{
    keep({{}, {}, subject.medium.catalogue, subject.file.position(offset), message, advice, {}, false, true});
}

void Collector::mend(const QVector<Edit> &edits, int offset, const QString &message, const QString &right)
{
    keep({{},
          {},
          subject.medium.catalogue,
          subject.file.position(offset),
          message,
          !right.isEmpty() || count >= keptOfAKind ? right : mendedLine(subject.file.bytes(), edits),
          edits,
          false,
          false});
}

void Collector::replace(const IniEntry &entry, int offset, const QString &message, const QString &right)
{
    asks = asks || !subject.meant(entry).isSure;
    replace(entry.begin, subject.textEnd(entry), offset, message, right);
}

void Collector::replace(int begin, int end, int offset, const QString &message, const QString &right)
{
    mend({{begin, end, right.toUtf8()}}, offset, message);
}

void Collector::commentOut(const IniEntry &entry, const QString &message)
{
    asks = asks || swallowsLines(subject.file, entry) || isKeyOfLines(subject.file, entry);
    mend(subject.commentedOut(entry), entry.begin, message);
}

void Collector::addOther(const QString &path, const QString &message, const QString &right,
                         const QVector<Edit> &edits)
{
    keep({{}, {}, path, {1, 1}, message, right, edits, false, false});
}

void Collector::adviseOther(const QString &path, int line, const QString &message, const QString &advice)
{
    keep({{}, {}, path, {line, 1}, message, advice, {}, false, true, {line, lineOf(path, line).size() + 1}});
}

void Collector::adviseOther(const QString &path, int line, int column, int endColumn, const QString &message,
                            const QString &advice)
{
    const QVector<uint> characters = QString::fromUtf8(lineOf(path, line)).toUcs4();
    const auto bytesBefore = [&characters](int one) {
        const int before = qBound(0, one - 1, characters.size());
        return QString::fromUcs4(characters.constData(), before).toUtf8().size();
    };
    keep({{},
          {},
          path,
          {line, bytesBefore(column) + 1},
          message,
          advice,
          {},
          false,
          true,
          {line, bytesBefore(qMax(column, endColumn)) + 1}});
}

QString mendedLine(const QByteArray &bytes, const QVector<Edit> &edits)
{
    int begin = edits.first().begin;
    while (begin > 0 && bytes.at(begin - 1) != '\n' && bytes.at(begin - 1) != '\r')
        --begin;
    QByteArray line;
    int at = begin;
    int end = lineEnd(bytes, at);
    for (const Edit &edit : edits) {
        const bool isLineEnd = edit.end > end && (edit.text.isEmpty() || edit.text == "\n");
        if (edit.begin < at || edit.begin > end || isLineEnd)
            break; // on another line, or that between the two
        line += bytes.mid(at, edit.begin - at) + edit.text;
        at = edit.end;
        if (at > end)
            end = lineEnd(bytes, at);
    }
    return textOf(line + bytes.mid(at, end - at));
}
