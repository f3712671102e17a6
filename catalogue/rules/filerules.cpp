// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on how the catalogue is written: what the reader of the file makes of its bytes.

#include "reading/initext.h"
#include "reading/lookalikes.h"
#include "reading/shell.h"
#include "rules/rules.h"

#include <QMap>
#include <QSet>

#include <algorithm>

namespace
{

const QStringList systemLists = {"system/CMD_List", "system/CMD_Type"};

bool isCommand(const IniEntry &entry)
{
    return entry.path().startsWith("CMD/");
}

void byteOrderMark(const Subject &subject, Collector &findings)
{
    if (subject.file.hasByteOrderMark()) {
        findings.mend({{0, 3, ""}}, 0,
                      "The file starts with a byte-order mark, which changes how its letters are read; "
                      "save it without one");
    }
}

void lineEnds(const Subject &subject, Collector &findings)
{
    const QByteArray &bytes = subject.file.bytes();
    const int first = bytes.indexOf('\r');
    if (first < 0)
        return;
    QVector<Edit> edits;
    for (int at = first; at >= 0; at = bytes.indexOf('\r', at + 1)) {
        const bool isPart = bytes.mid(at + 1, 1) == "\n" || (at > 0 && bytes.at(at - 1) == '\n');
        edits.append({at, at + 1, isPart ? "" : "\n"});
    }
    findings.mend(
        edits, first,
        "Line ends with a carriage return; the tool reads it, but a shell on the controller does not",
        "sed -i 's/\\r$//; s/\\r/\\n/g' " + shellWord(subject.medium.catalogue));
}

/// The line without its zero bytes.
QVector<Edit> withoutZeros(const QByteArray &bytes, int begin, int end)
{
    QVector<Edit> edits;
    for (int at = bytes.indexOf('\0', begin); at >= 0 && at < end; at = bytes.indexOf('\0', at)) {
        const int from = at;
        // Blanks that come to the front with it are no part of a key any more, as they were behind it.
        while (at < end && (bytes.at(at) == '\0' || (from == begin && isBlank(bytes.at(at)))))
            ++at;
        edits.append({from, at, ""});
    }
    if (edits.first().begin == begin && edits.first().end == end)
        edits.first().text = ";"; // nothing else is on the line
    return edits;
}

void nul(const Subject &subject, Collector &findings)
{
    const QByteArray &bytes = subject.file.bytes();
    if (!bytes.contains('\0'))
        return;
    QHash<int, const IniEntry *> values; // by line, where the zero byte is in a value and not in its key
    for (const IniEntry &entry : subject.asWritten().entries()) {
        const bool isText = isCommand(entry) || systemLists.contains(entry.path());
        if (isText && !bytes.mid(entry.begin, entry.valueBegin - entry.begin).contains('\0'))
            values.insert(subject.file.lineStart(entry.begin), &entry);
    }
    const bool isNamed = subject.listsZeros();
    for (int at = bytes.indexOf('\0'); at >= 0; at = bytes.indexOf('\0', lineEnd(bytes, at))) {
        if (isNamed)
            findings.askAuthor();
        const QString message = "A zero byte: the tool drops the rest of this value";
        const int begin = subject.file.lineStart(at);
        const IniEntry *entry = values.value(begin);
        if (entry && at < subject.textEnd(*entry))
            findings.replace(*entry, at, message, subject.line(*entry, subject.meantText(*entry)));
        else
            findings.mend(withoutZeros(bytes, begin, lineEnd(bytes, at)), at, message);
    }
}

/// Where the line that the tool makes of several begins, by the places in those.
QMap<int, int> linesThatRunOn(const IniFile &file)
{
    QMap<int, int> begins;
    for (const IniEntry &entry : file.entries())
        begins.insert(entry.end, entry.begin);
    for (const IniLine &stray : file.strayLines())
        begins.insert(stray.end, stray.begin);
    for (const IniLine &head : file.sections())
        begins.insert(head.end, head.begin);
    return begins; // by their ends
}

/// Two marks that are not closed close each other over the lines in between, so they are put right together.
void unbalancedQuotes(const Subject &subject, Collector &findings)
{
    QMap<int, QVector<Edit>> together;
    QMap<int, QVector<const IniEntry *>> open;
    QSet<int> doubtful;
    if (!subject.file.runsOn())
        return;
    const QMap<int, int> begins = linesThatRunOn(subject.file);
    for (const IniEntry &entry : subject.asWritten().entries()) {
        if (!swallowsLines(subject.file, entry))
            continue;
        const int line = begins.lowerBound(entry.begin + 1) == begins.end()
                             ? subject.file.bytes().size()
                             : begins.lowerBound(entry.begin + 1).value();
        const QString right = subject.line(entry, subject.meantText(entry));
        together[line].append({entry.begin, subject.textEnd(entry), right.toUtf8()});
        open[line].append(&entry);
        if (!subject.meant(entry).isSure)
            doubtful.insert(line);
    }
    for (auto entries = open.begin(); entries != open.end(); ++entries) {
        for (const IniEntry *entry : qAsConst(*entries)) {
            if (doubtful.contains(entries.key()))
                findings.askAuthor();
            findings.mend(
                together.value(entries.key()), bareQuotes(subject.file, *entry).value(0, entry->begin),
                "This quotation mark is not closed on its line; the lines after it become part of the value",
                subject.line(*entry, subject.meantText(*entry)));
        }
    }
}

void hashComment(const Subject &subject, Collector &findings)
{
    QSet<int> listed; // a key may be called so
    for (const Item &item : subject.items)
        listed.insert(item.entry ? item.entry->begin : -1);
    const auto look = [&](int begin) {
        if (subject.file.bytes().at(begin) == '#')
            findings.mend({{begin, begin + 1, ";"}}, begin, "\"#\" does not start a comment; \";\" does");
    };
    for (const IniLine &stray : subject.asWritten().strayLines())
        look(stray.begin);
    for (const IniEntry &entry : subject.asWritten().entries()) {
        if (!listed.contains(entry.begin))
            look(entry.begin);
    }
}

void ignoredLine(const Subject &subject, Collector &findings)
{
    for (const IniLine &stray : subject.asWritten().strayLines()) {
        const QByteArray line = subject.file.bytes().mid(stray.begin, stray.end - stray.begin);
        const QString text = plain(textOf(line)).trimmed();
        const bool hasUnseen = text.isEmpty() || text.startsWith('[') || text.startsWith(';');
        if (line.startsWith('#') || line.startsWith(';') || (hasUnseen && !subject.file.hasByteOrderMark()))
            continue; // told as that
        const QString right = subject.meantLine(stray);
        if (right.isEmpty())
            findings.mend({{stray.begin, stray.begin, "; "}}, stray.begin,
                          "This line has no \"=\", so it is ignored; a comment starts with \";\"");
        else if (plain(textOf(line)) == textOf(line)) // else it is told as that
            findings.replace(stray.begin, stray.end, stray.begin,
                             right.startsWith('[')
                                 ? "A section's name stands between \"[\" and \"]\"; this line is ignored"
                                 : "Behind a key there is a \"=\"; this line has none and is ignored",
                             right);
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
        if (head.closed)
            continue;
        const QString written = textOf(head.section.toLatin1()).trimmed();
        const bool isForeign = !written.isEmpty() && asciiFor(written.at(written.size() - 1)) == ']';
        const QString section = isForeign ? plain(written).remove(']') : head.section.trimmed();
        findings.replace(head.begin, head.end, head.begin,
                         QString("This section's name is not closed with \"]\"")
                             + (isForeign ? ": here is " + named(written.at(written.size() - 1)) : QString()),
                         '[' + writtenSection(section) + ']');
    }
}

void nestedSection(const Subject &subject, Collector &findings)
{
    for (const IniLine &head : subject.file.sections()) {
        const QString outer = head.section.section('/', 0, 0);
        const QString inner = head.section.section('/', 1) + '/';
        const auto isInside = [&inner](const Item &item) { return item.text.startsWith(inner); };
        if (!head.section.contains('/') || (outer != "system" && outer != "CMD"))
            continue;
        if (std::any_of(subject.items.begin(), subject.items.end(), isInside))
            findings.askAuthor();
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
                         subject.line(*entry, subject.meantText(*entry)));
    }
}

QByteArray writtenValue(const Subject &subject, const IniEntry &entry)
{
    return subject.file.bytes().mid(entry.valueBegin, entry.end - entry.valueBegin);
}

void backslash(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        for (const Escape &escape : escapesIn(writtenValue(subject, *entry))) {
            if (escape.isMeant)
                continue;
            findings.replace(*entry, entry->valueBegin + escape.at,
                             QString("The reader changes or drops \"%1\"; a backslash is written as two")
                                 .arg(QString::fromLatin1(escape.text)),
                             subject.line(*entry, subject.meantText(*entry)));
            break;
        }
    }
}

void escapeRunsOn(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        for (const Escape &escape : escapesIn(writtenValue(subject, *entry))) {
            if (!escape.runsOn)
                continue;
            findings.replace(
                *entry, entry->valueBegin + escape.at,
                "A \\x escape takes in every hexadecimal digit behind it; escape the next letter too",
                subject.line(*entry, subject.meantText(*entry)));
            break;
        }
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

void quotesEaten(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        if (isQuotedWell(subject.file, *entry) || entry->value.comma >= 0
            || swallowsLines(subject.file, *entry))
            continue;
        // Around the name, or the command, they are what they are around a value.
        const MeantText &meant = subject.meant(*entry);
        if (meant.isSure && meant.text == intendedText(subject.file, entry->value))
            continue;
        findings.replace(*entry, bareQuotes(subject.file, *entry).first(),
                         "The reader takes away quotation marks; inside a quoted value they are written \\\"",
                         subject.line(*entry, subject.meantText(*entry)));
    }
}

void unquotedComma(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        if (entry->value.comma < 0)
            continue;
        const QString text = subject.meantText(*entry);
        if (isInOtherQuotes(textOf(writtenValue(subject, *entry).trimmed())))
            continue; // told as that
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
        const QVector<int> quotes = bareQuotes(subject.file, *entry);
        if (entry->semicolon < 0 || (!quotes.isEmpty() && subject.textEnd(*entry) <= entry->end))
            continue;
        QString text = subject.meantText(*entry);
        if (!isCommand(*entry) && !subject.meant(*entry).isSure) {
            const QStringList keys = subject.keysIn(text);
            text = keys.isEmpty() ? text.replace(';', ',').remove(' ') : keys.join(',');
        }
        findings.replace(*entry, entry->semicolon,
                         !quotes.isEmpty() && isQuotedWell(subject.file, *entry)
                             ? "This semicolon ends the value; the rest of the line is a comment"
                             : "A semicolon outside quotation marks ends the value; the rest of the line is "
                               "a comment",
                         subject.line(*entry, text));
    }
}

} // namespace

QVector<Rule> fileRules()
{
    const char *const whereItEnds = "where the value ends, and which quotation marks are its own";
    constexpr unsigned isRewritten = ChangesNames | ChangesCommands;
    constexpr unsigned isRestored = AddsOperations | ChangesEnding; // lines that were swallowed, or not seen
    return {
        {"bom", Severity::Warning, byteOrderMark, ChangesReading | isRestored, nullptr},
        {"line-ends", Severity::Warning, lineEnds, ChangesReading, nullptr},
        {"nul", Severity::Error, nul, isRewritten | isRestored, whereItEnds},
        {"unbalanced-quotes", Severity::Error, unbalancedQuotes, isRewritten | isRestored, whereItEnds},
        {"hash-comment", Severity::Warning, hashComment, isRestored, nullptr},
        {"ignored-line", Severity::Warning, ignoredLine, isRestored, nullptr},
        {"broken-section", Severity::Warning, brokenSection, ChangesNothing, nullptr},
        {"nested-section", Severity::Error, nestedSection, isRestored,
         "what the items that are in it become"},
        {"raw-utf8", Severity::Error, rawUtf8, isRewritten, whereItEnds},
        {"backslash", Severity::Error, backslash, isRewritten, whereItEnds},
        {"escape-runs-on", Severity::Error, escapeRunsOn, isRewritten, whereItEnds},
        {"special-value", Severity::Error, specialValue, AsksAuthor, "what the operator is to read"},
        {"quotes-eaten", Severity::Error, quotesEaten, isRewritten, whereItEnds},
        {"unquoted-comma", Severity::Error, unquotedComma, isRewritten | isRestored, whereItEnds},
        {"unquoted-semicolon", Severity::Error, unquotedSemicolon, isRewritten | isRestored, whereItEnds},
    };
}
