// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on how the catalogue is written: what the reader of the file makes of its bytes.

#include "reading/initext.h"
#include "reading/shell.h"
#include "rules/rules.h"

#include <QRegularExpression>

#include <algorithm>

namespace
{

bool isCommand(const IniEntry &entry)
{
    return entry.path().startsWith("CMD/");
}

QString firstLine(const QByteArray &bytes, int from)
{
    return textOf(bytes.mid(from, lineEnd(bytes, from) - from));
}

void byteOrderMark(const Subject &subject, Collector &findings)
{
    if (subject.file.hasByteOrderMark()) {
        findings.replace(0, lineEnd(subject.file.bytes(), 0), 0,
                         "The file starts with a byte-order mark, which changes how its letters are read; "
                         "save it without one",
                         firstLine(subject.file.bytes(), 3));
    }
}

void lineEnds(const Subject &subject, Collector &findings)
{
    const int at = subject.file.bytes().indexOf('\r');
    if (at >= 0)
        findings.add(
            at, "Line ends with a carriage return; the tool reads it, but a shell on the controller does not",
            "sed -i 's/\\r$//; s/\\r/\\n/g' " + shellWord(subject.medium.catalogue));
}

void nul(const Subject &subject, Collector &findings)
{
    const int at = subject.file.bytes().indexOf('\0');
    if (at < 0)
        return;
    QByteArray line = subject.file.lines(at, at);
    const int begin = at - (subject.file.position(at).column - 1);
    const int end = begin + line.size();
    // Blanks that come to the front with it are not part of a key any more, as they were behind a zero byte.
    const bool isInFront = line.startsWith('\0');
    line.replace('\0', "");
    while (isInFront && (line.startsWith(' ') || line.startsWith('\t')))
        line.remove(0, 1);
    if (line.isEmpty())
        line = ";";
    findings.replace(begin, end, at, "A zero byte: the tool drops the rest of this value", textOf(line));
}

void unbalancedQuotes(const Subject &subject, Collector &findings)
{
    for (const IniEntry &entry : subject.file.entries()) {
        if (!swallowsLines(subject.file, entry))
            continue;
        const int end = lineEnd(subject.file.bytes(), entry.valueBegin);
        const QByteArray value = subject.file.bytes().mid(entry.valueBegin, end - entry.valueBegin);
        findings.replace(
            entry.begin, end, bareQuotes(subject.file, entry).value(0, entry.begin),
            "This quotation mark is not closed on its line; the lines after it become part of the value",
            subject.line(entry, textOfRaw(value.trimmed(), false)));
    }
}

void hashComment(const Subject &subject, Collector &findings)
{
    const auto look = [&](int begin) {
        if (subject.file.bytes().at(begin) == '#') {
            const QString line = firstLine(subject.file.bytes(), begin);
            findings.replace(begin, lineEnd(subject.file.bytes(), begin), begin,
                             "\"#\" does not start a comment; \";\" does", ';' + line.mid(1));
        }
    };
    for (const IniLine &stray : subject.file.strayLines())
        look(stray.begin);
    for (const IniEntry &entry : subject.file.entries())
        look(entry.begin);
}

void ignoredLine(const Subject &subject, Collector &findings)
{
    for (const IniLine &stray : subject.file.strayLines()) {
        const QString line = firstLine(subject.file.bytes(), stray.begin);
        if (!line.startsWith('#') && !line.startsWith(';'))
            findings.replace(stray.begin, lineEnd(subject.file.bytes(), stray.begin), stray.begin,
                             "This line has no \"=\", so it is ignored; a comment starts with \";\"",
                             "; " + line);
    }
}

/// A section's name as it is written between its brackets.
QString writtenSection(const QString &section)
{
    if (section.isEmpty())
        return "General";
    if (section == "/")
        return QString();
    return (section.compare("General", Qt::CaseInsensitive) == 0 ? "%" : "") + writtenKey(section);
}

void brokenSection(const Subject &subject, Collector &findings)
{
    for (const IniLine &head : subject.file.sections()) {
        if (!head.closed)
            findings.replace(head.begin, head.end, head.begin, "This section's name is not closed with \"]\"",
                             '[' + writtenSection(head.section.trimmed()) + ']');
    }
}

void nestedSection(const Subject &subject, Collector &findings)
{
    for (const IniLine &head : subject.file.sections()) {
        const QString outer = head.section.section('/', 0, 0);
        if (head.section.contains('/') && (outer == "system" || outer == "CMD"))
            findings.replace(
                head.begin, head.end, head.begin,
                QString("A section within [%1] hides keys of that: the reader looks here for them instead")
                    .arg(outer),
                '[' + writtenSection(QString(head.section).replace('/', '-')) + ']');
    }
}

void rawUtf8(const Subject &subject, Collector &findings)
{
    if (subject.file.hasByteOrderMark())
        return;
    // Not in the lists: their items are compared with keys, which are read byte by byte too.
    for (const IniEntry *entry : subject.textEntries()) {
        const DecodedValue &value = entry->value;
        const auto isRaw = [&](int at) { return static_cast<uchar>(subject.file.bytes().at(at)) >= 0x80; };
        const auto first = std::find_if(value.at.begin(), value.at.end(), isRaw);
        if (first == value.at.end() || !isCommand(*entry))
            continue;
        findings.replace(*entry, *first,
                         QString("Letters beyond ASCII are read byte by byte: the operator sees \"%1\"; "
                                 "write them as \\x escapes")
                             .arg(value.text.section('@', 0, 0)),
                         subject.line(*entry, intendedText(subject.file, value)));
    }
}

/// Backslashes in a value, each with what it swallows.
QRegularExpressionMatchIterator escapesIn(const Subject &subject, const IniEntry &entry)
{
    static const QRegularExpression escape("\\\\(x[0-9a-fA-F]+|.|$)",
                                           QRegularExpression::DotMatchesEverythingOption);
    const QByteArray raw = subject.file.bytes().mid(entry.valueBegin, entry.end - entry.valueBegin);
    return escape.globalMatch(QString::fromLatin1(raw));
}

void backslash(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        QByteArray raw = subject.file.bytes().mid(entry->valueBegin, entry->end - entry->valueBegin);
        QRegularExpressionMatch first;
        int inserted = 0;
        for (auto escapes = escapesIn(subject, *entry); escapes.hasNext();) {
            const QRegularExpressionMatch match = escapes.next();
            const QString behind = match.captured(1);
            if (behind == "\\" || behind == "\"" || behind.size() > 1 || behind == "\n" || behind == "\r")
                continue;
            raw.insert(match.capturedStart() + inserted++, '\\');
            if (!first.hasMatch())
                first = match;
        }
        if (first.hasMatch())
            findings.replace(*entry, entry->valueBegin + first.capturedStart(),
                             QString("The reader changes or drops \"%1\"; a backslash is written as two")
                                 .arg(first.captured()),
                             subject.line(*entry, textOfRaw(raw.trimmed(), false)));
    }
}

void escapeRunsOn(const Subject &subject, Collector &findings)
{
    constexpr int longest = 5; // "x" and four digits
    for (const IniEntry *entry : subject.textEntries()) {
        QByteArray raw = subject.file.bytes().mid(entry->valueBegin, entry->end - entry->valueBegin);
        int at = -1;
        for (auto escapes = escapesIn(subject, *entry); escapes.hasNext();) {
            const QRegularExpressionMatch match = escapes.next();
            if (match.captured(1).size() <= longest)
                continue;
            if (at < 0)
                at = match.capturedStart();
            QByteArray split = match.captured().left(1 + longest).toLatin1();
            for (const char digit : match.captured().mid(1 + longest).toLatin1())
                split += "\\x" + QByteArray::number(digit, 16);
            raw.replace(match.captured().toLatin1(), split);
        }
        if (at >= 0)
            findings.replace(
                *entry, entry->valueBegin + at,
                "A \\x escape takes in every hexadecimal digit behind it; escape the next letter too",
                subject.line(*entry, textOfRaw(raw.trimmed(), false)));
    }
}

void specialValue(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        QString text = entry->value.text;
        if (!isSpecialValue(text))
            continue;
        while (text.startsWith('@'))
            text.remove(0, 1);
        findings.replace(
            *entry, entry->value.at.value(0, entry->valueBegin),
            "The reader takes a value with this beginning for something else than a text",
            subject.line(*entry, isCommand(*entry) ? subject.nameFor(*entry) + '@' + text : text));
    }
}

/// One pair of quotation marks around the whole value, or none at all, is as it should be.
bool isQuotedWell(const Subject &subject, const IniEntry &entry)
{
    const QVector<int> quotes = bareQuotes(subject.file, entry);
    if (quotes.isEmpty())
        return true;
    const QByteArray before = subject.file.bytes().mid(entry.valueBegin, quotes.first() - entry.valueBegin);
    const QByteArray after = subject.file.bytes().mid(quotes.last() + 1, entry.end - quotes.last() - 1);
    return quotes.size() <= 2 && before.trimmed().isEmpty() && after.trimmed().isEmpty();
}

void quotesEaten(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        if (isQuotedWell(subject, *entry) || entry->value.comma >= 0 || swallowsLines(subject.file, *entry))
            continue;
        QByteArray raw = subject.rawValue(*entry);
        if (raw.startsWith('"') && raw.endsWith('"'))
            raw = raw.mid(1, raw.size() - 2);
        findings.replace(*entry, bareQuotes(subject.file, *entry).first(),
                         "The reader takes away quotation marks; inside a quoted value they are written \\\"",
                         subject.line(*entry, textOfRaw(raw, isCommand(*entry))));
    }
}

void unquotedComma(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        if (entry->value.comma < 0)
            continue;
        const QString text = textOfRaw(subject.rawValue(*entry), isCommand(*entry));
        QStringList items;
        for (const QString &item : text.split(',', QString::SkipEmptyParts))
            items.append(item.trimmed());
        findings.replace(*entry, entry->value.comma,
                         QString("A comma outside quotation marks makes the tool read an empty %1")
                             .arg(isCommand(*entry) ? "command line" : "list"),
                         subject.line(*entry, isCommand(*entry) ? text : items.join(',')));
    }
}

void unquotedSemicolon(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        const bool commentBehindQuotes = !bareQuotes(subject.file, *entry).isEmpty();
        if (entry->semicolon < 0 || commentBehindQuotes)
            continue;
        findings.replace(
            *entry, entry->semicolon,
            "A semicolon outside quotation marks ends the value; the rest of the line is a comment",
            subject.line(*entry, textOfRaw(subject.rawValue(*entry), true)));
    }
}

} // namespace

QVector<Rule> fileRules()
{
    return {
        {"bom", Severity::Warning, byteOrderMark},
        {"line-ends", Severity::Warning, lineEnds},
        {"nul", Severity::Error, nul},
        {"unbalanced-quotes", Severity::Error, unbalancedQuotes},
        {"hash-comment", Severity::Warning, hashComment},
        {"ignored-line", Severity::Warning, ignoredLine},
        {"broken-section", Severity::Warning, brokenSection},
        {"nested-section", Severity::Error, nestedSection},
        {"raw-utf8", Severity::Error, rawUtf8},
        {"backslash", Severity::Error, backslash},
        {"escape-runs-on", Severity::Error, escapeRunsOn},
        {"special-value", Severity::Error, specialValue},
        {"quotes-eaten", Severity::Error, quotesEaten},
        {"unquoted-comma", Severity::Error, unquotedComma},
        {"unquoted-semicolon", Severity::Error, unquotedSemicolon},
    };
}
