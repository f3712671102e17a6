// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A catalogue's bytes through the checker's own reader and through the toolkit's settings reader: the same
// keys with the same values, and what the tool would ask for is the line that the checker names.

#include "common/freshfile.h"
#include "common/target.h"
#include "reading/inifile.h"
#include "reading/initext.h"

#include <QHash>
#include <QMap>
#include <QRegularExpression>
#include <QSettings>
#include <QStringList>

namespace
{

/// What is different, in one line whatever is in it.
QString told(const QString &what, const QString &key, const QString &ours, const QString &theirs)
{
    const auto shown = [](const QString &text) {
        return QString::fromLatin1(text.toUtf8().toPercentEncoding(" @(),;=/"));
    };
    return QString("%1: key [%2], the checker's [%3], the toolkit's [%4]")
        .arg(what, shown(key), shown(ours), shown(theirs));
}

/// The key as the settings reader files it. To the checker a section without a name is "/", as one of that
/// name is: the tool can ask for no key that begins with a slash, so that it makes no difference how many
/// there are.
QString fullKey(const QString &path)
{
    static const QRegularExpression slashes("^/+");
    return QString(path).replace(slashes, "/");
}

QString fullKey(const IniEntry &entry)
{
    return fullKey(entry.section.isEmpty() ? entry.key : entry.section + '/' + entry.key);
}

/// The last line of each key. Where two sections together spell one key ("a\b" in [x], "b" in [x/a]), the
/// settings reader takes the sections in the order of their names, general first, not in the order of the
/// file.
QMap<QString, const IniEntry *> lastLines(const IniFile &file)
{
    QMap<QString, QVector<const IniEntry *>> sections;
    for (const IniEntry &entry : file.entries())
        sections[entry.section.isEmpty() ? QString() : entry.section + '/'].append(&entry);
    QMap<QString, const IniEntry *> last;
    for (const auto &entries : qAsConst(sections)) {
        for (const IniEntry *entry : entries)
            last.insert(fullKey(*entry), entry);
    }
    return last;
}

/// The parts of a list, each read by itself: the checker keeps of a list no more than its last part.
QStringList partsOf(const IniFile &file, const IniEntry &entry)
{
    const QByteArray mark = file.hasByteOrderMark() ? "\xef\xbb\xbf" : "";
    QStringList parts;
    int begin = entry.valueBegin;
    for (;;) {
        const QByteArray head = mark + "[s]\nk=";
        const IniFile rest(head + file.bytes().mid(begin, entry.end - begin));
        MUST(rest.entries().size() == 1, "what stands behind a comma is one value");
        const int comma = rest.entries().first().value.comma;
        if (comma < 0)
            return parts << rest.entries().first().value.text;
        const IniFile part(rest.bytes().left(comma));
        MUST(part.entries().size() == 1, "what stands before a comma is one value");
        parts << part.entries().first().value.text;
        begin += comma + 1 - head.size();
    }
}

/// What begins with "@" may be no text to the settings reader; what the checker takes for a text is one.
void compareText(const QString &key, const QString &text, const QVariant &value)
{
    const bool isText = value.type() == QVariant::String;
    if (isSpecialValue(text))
        MUST(!isText || value.toString() != text,
             told("a special value is a text", key, text, value.toString()));
    else
        MUST(isText && value.toString() == text, told("a text", key, text, value.toString()));
}

void compareList(const QString &key, const QStringList &parts, const QVariant &value)
{
    const QVariantList values = value.toList();
    const bool isList = value.type() == QVariant::StringList || value.type() == QVariant::List;
    MUST(isList && values.size() == parts.size(),
         told("a list", key, parts.join('|'), value.toStringList().join('|')));
    for (int i = 0; i < parts.size(); ++i)
        compareText(key, parts.at(i), values.at(i));
}

void compareEntry(const IniFile &file, const QString &key, const IniEntry &entry, const QVariant &value)
{
    const DecodedValue &decoded = entry.value;
    MUST(decoded.at.size() == decoded.text.size(),
         told("a character without a place", key, decoded.text, {}));
    for (const int at : decoded.at)
        MUST(at >= entry.valueBegin && at < entry.end,
             told("a place outside the value", key, decoded.text, {}));
    if (decoded.comma < 0) {
        compareText(key, decoded.text, value);
        return;
    }
    QStringList parts = partsOf(file, entry);
    parts.last() = decoded.text; // as it was read behind the others
    compareList(key, parts, value);
}

void compareEverything(const IniFile &file)
{
    const QSettings settings(freshFile(file.bytes()), QSettings::IniFormat);
    const QMap<QString, const IniEntry *> last = lastLines(file);
    const QStringList ours = last.keys();
    QStringList theirs;
    for (const QString &key : settings.allKeys())
        theirs.append(fullKey(key));
    theirs.sort();
    theirs.removeDuplicates();
    MUST(ours == theirs, told("the keys", {}, ours.join('|'), theirs.join('|')));
    for (auto line = last.begin(); line != last.end(); ++line) {
        // It cannot be asked for these: it takes away the slashes that are too many.
        const QString &key = line.key();
        if (key.isEmpty() || key.startsWith('/') || key.endsWith('/') || key.contains("//"))
            continue;
        compareEntry(file, key, *line.value(), settings.value(key));
    }
}

/// What the tool asks, in its order, of a file that nobody has looked through: the reader takes in a section
/// only when it is asked for a key of it. A section within [system] or [CMD] keeps it from that, by the order
/// of their names; the checker calls that a mistake, and here it is left out.
void compareQuestions(const IniFile &file)
{
    for (const IniLine &head : file.sections()) {
        if (head.section.startsWith("system/") || head.section.startsWith("CMD/"))
            return;
    }
    QHash<QString, const IniEntry *> last;
    for (const IniEntry &entry : file.entries())
        last.insert(entry.path(), &entry);
    QStringList questions{"system/CMD_List", "system/CMD_Type", "system/ENDGAME"};
    for (int i = 0; i < 2; ++i) {
        const IniEntry *list = last.value(questions.at(i));
        for (const QString &item : list ? list->value.text.split(',') : QStringList())
            questions.append("CMD/" + item);
    }
    const QSettings settings(freshFile(file.bytes()), QSettings::IniFormat);
    for (const QString &path : qAsConst(questions)) {
        if (path.endsWith('/') || path.contains("//"))
            continue; // nor does the tool find these
        const IniEntry *entry = last.value(path);
        MUST(settings.contains('/' + path) == (entry != nullptr), told("whether there is", path, {}, {}));
        if (entry)
            compareEntry(file, path, *entry, settings.value('/' + path));
    }
}

/// What the checker writes, any key with any text, is read back by both.
void compareWritten(const QString &text)
{
    const QByteArray line = iniLine(writtenKey(text), text).toLatin1();
    MUST(!line.contains('\n') && !line.contains('\r'), told("more than one line", text, line, {}));
    const QByteArray bytes = "[CMD]\n" + line;
    const IniFile file(bytes);
    MUST(file.entries().size() == 1 && file.entries().first().key == text
             && file.entries().first().value.text == text,
         told("what it has written", text, line, {}));
    if (!text.isEmpty() && !text.startsWith('/') && !text.endsWith('/') && !text.contains("//"))
        compareText(text, text, QSettings(freshFile(bytes), QSettings::IniFormat).value("CMD/" + text));
}

void comparePlaces(const IniFile &file)
{
    const int size = file.bytes().size();
    int end = 0;
    for (const IniEntry &entry : file.entries()) {
        MUST(entry.begin >= end && entry.begin <= entry.keyEnd && entry.keyEnd < entry.valueBegin
                 && entry.valueBegin <= entry.end && entry.end <= size,
             told("the places of a line", entry.path(), {}, {}));
        MUST(file.bytes().at(entry.valueBegin - 1) == '=',
             told("a value is not behind its =", entry.path(), {}, {}));
        end = entry.end;
    }
    for (const auto &lines : {file.sections(), file.strayLines()}) {
        for (const IniLine &line : lines)
            MUST(line.begin >= 0 && line.begin < line.end && line.end <= size,
                 "a line lies outside the file");
    }
}

} // namespace

void fuzz(const QByteArray &input)
{
    const IniFile file(input);
    MUST(file.bytes() == input, "the bytes are others");
    comparePlaces(file);
    compareEverything(file);
    compareQuestions(file);
    compareWritten(QString::fromUtf8(input));
}
