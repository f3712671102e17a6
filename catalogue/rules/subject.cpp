// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/subject.h"

#include "reading/initext.h"

#include <QSet>

#include <algorithm>

namespace
{

const char listKey[] = "system/CMD_List";
const char directKey[] = "system/CMD_Type";

bool containsControl(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < ' '; });
}

} // namespace

Subject::Subject(const Medium &itsMedium, const IniFile &itsFile, const Verdict &itsVerdict,
                 const Screen &itsScreen)
    : medium(itsMedium)
    , file(itsFile)
    , verdict(itsVerdict)
    , screen(itsScreen)
    , signedFiles(medium.root.isEmpty() || medium.isToBeSigned ? SignedFiles() : readSignedFiles(medium.root))
{
    for (const IniEntry &entry : file.entries())
        byPath.insert(entry.path(), &entry);
    list = byPath.contains(listKey) ? entry(listKey) : entry(directKey);
    if (list && (list->value.comma >= 0 || isSpecialValue(list->value.text)))
        list = nullptr;
    if (list)
        readItems();
    readCommands();
}

void Subject::readItems()
{
    int begin = 0;
    for (const QString &text : list->value.text.split(',')) {
        const int offset = begin < list->value.at.size() ? list->value.at.at(begin) : list->valueBegin;
        items.append({text, offset, text.isEmpty() ? nullptr : entry("CMD/" + text)});
        begin += text.size() + 1;
    }
}

void Subject::readCommands()
{
    QSet<const IniEntry *> seen;
    for (const Item &item : qAsConst(items)) {
        if (!item.entry || seen.contains(item.entry))
            continue;
        seen.insert(item.entry);
        const QString text = intendedText(file, item.entry->value).section(QChar(0), 0, 0);
        const bool isText = item.entry->value.comma < 0 && !isSpecialValue(text);
        if (text.isEmpty() || !isText || swallowsLines(file, *item.entry))
            continue;
        const QString command = text.section('@', 1, 1);
        const CommandLine split = splitCommandLine(command);
        const ShellCall shell = shellCall(command);
        commands.append({item.entry, text.section('@', 0, 0), command, text.count('@'), split, shell,
                         shell.shell.isEmpty() ? split.bare : QString()});
    }
}

QVector<const IniEntry *> Subject::textEntries() const
{
    QVector<const IniEntry *> found;
    for (const IniEntry &entry : file.entries()) {
        const QString path = entry.path();
        if (path.startsWith("CMD/") || path == listKey || path == directKey)
            found.append(&entry);
    }
    return found;
}

QString Subject::rawKey(const IniEntry &entry) const
{
    const QByteArray raw = file.bytes().mid(entry.begin, entry.keyEnd - entry.begin);
    const QString text = textOf(raw);
    return text.toUtf8() == raw && !containsControl(text) ? text : writtenKey(entry.key);
}

QByteArray Subject::rawValue(const IniEntry &entry) const
{
    const int end = lineEnd(file.bytes(), entry.end);
    return file.bytes().mid(entry.valueBegin, end - entry.valueBegin).trimmed();
}

QString Subject::line(const IniEntry &entry, const QString &text) const
{
    return iniLine(rawKey(entry), text);
}

QString Subject::commandLine(const CommandEntry &command, const QString &text) const
{
    return line(*command.entry, command.name + '@' + text);
}

QString Subject::nameFor(const IniEntry &entry) const
{
    const QString name = QString(entry.key).replace('@', ' ').trimmed();
    return name.isEmpty() ? "NAME" : name;
}

QString Subject::commented(const IniEntry &entry) const
{
    QString text = textOf(file.bytes().mid(entry.begin, entry.end - entry.begin));
    std::replace_if(
        text.begin(), text.end(), [](QChar character) { return containsControl(character); }, ' ');
    return "; " + text; // all of it, however many lines it has
}

QString Subject::listLine(const QStringList &texts) const
{
    QStringList right;
    for (const QString &text : texts) {
        if (!text.trimmed().isEmpty())
            right.append(text.trimmed());
    }
    return iniLine(list ? rawKey(*list) : "CMD_List", right.join(','));
}

QStringList Subject::itemTexts() const
{
    QStringList texts;
    for (const Item &item : items)
        texts.append(item.text);
    return texts;
}
