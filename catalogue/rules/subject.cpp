// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/subject.h"

#include "reading/initext.h"

#include <QFileInfo>
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

ScriptText scriptOf(const CommandLine &split, const ShellCall &shell, bool hasKit)
{
    if (!shell.shell.isEmpty())
        return readScript(splitCommandLine(shell.script).words.value(0));
    ScriptText text;
    text.steps.append(hasKit ? withoutKit(stepOf(split.words)) : stepOf(split.words));
    const Step outer = text.steps.first();
    const QString inner = innerScript(outer.run);
    if (inner.isEmpty())
        return text;
    text = readScript(inner);
    for (Step &step : text.steps)
        step.isTimed |= outer.isTimed;
    return text;
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
    read();
}

Subject::Subject(const Subject &other, const IniFile &itsFile)
    : medium(other.medium)
    , file(itsFile)
    , verdict(other.verdict)
    , screen(other.screen)
    , signedFiles(other.signedFiles)
{
    read();
}

void Subject::read()
{
    if (file.runsOn())
        lineByLine.reset(new IniFile(file.bytes(), IniFile::EndWithLine));
    for (const IniEntry &entry : file.entries())
        byPath.insert(entry.path(), &entry);
    list = byPath.contains(listKey) ? entry(listKey) : entry(directKey);
    if (list && (list->value.comma >= 0 || isSpecialValue(list->value.text)))
        list = nullptr;
    if (list)
        readItems();
    readCommands();
    uses = usesOf(medium, commands);
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
    const bool hasKit = isKit(medium);
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
        ScriptText script = scriptOf(split, shell, hasKit);
        if (hasKit && !shell.shell.isEmpty())
            std::transform(script.steps.begin(), script.steps.end(), script.steps.begin(), withoutKit);
        const QVector<Step> steps = script.steps;
        script.steps.clear();
        commands.append({item.entry, text.section('@', 0, 0), command, isSkipped(command), text.count('@'),
                         split, shell, steps, script, shell.shell.isEmpty() ? split.bare : QString()});
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

int Subject::textEnd(const IniEntry &entry) const
{
    const bool commentBehindQuotes = entry.semicolon >= 0 && isQuotedWell(file, entry);
    int end = commentBehindQuotes          ? entry.end
              : swallowsLines(file, entry) ? lineEnd(file.bytes(), entry.valueBegin)
              : entry.semicolon < 0        ? entry.end
                                           : lineEnd(file.bytes(), entry.end);
    while (end > entry.valueBegin && isBlank(file.bytes().at(end - 1)))
        --end;
    return end;
}

QByteArray Subject::rawValue(const IniEntry &entry) const
{
    return file.bytes().mid(entry.valueBegin, textEnd(entry) - entry.valueBegin).trimmed();
}

QString Subject::meantText(const IniEntry &entry) const
{
    const bool isCommand = entry.path().startsWith("CMD/");
    const bool swallows = swallowsLines(file, entry);
    QByteArray raw = withLiteralBackslashes(rawValue(entry).replace('\0', ""));
    if (!swallows && raw.size() > 1 && raw.startsWith('"') && raw.endsWith('"'))
        raw = raw.mid(1, raw.size() - 2);
    return textOfRaw(raw, isCommand && !swallows);
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

QVector<Edit> Subject::commentedOut(const IniEntry &entry) const
{
    QVector<Edit> edits{{entry.begin, entry.begin, "; "}};
    for (int i = entry.begin; i < entry.end; ++i) {
        const uchar byte = static_cast<uchar>(file.bytes().at(i));
        if (byte < ' ' && byte != '\t')
            edits.append({i, i + 1, " "});
    }
    return edits;
}

QString Subject::listLine(const QStringList &texts) const
{
    return iniLine(list ? rawKey(*list) : "CMD_List", texts.join(','));
}

QStringList Subject::meantItems() const
{
    QStringList meant;
    QSet<QString> seen;
    for (const Item &item : items) {
        const QString text = item.entry ? item.text : item.text.trimmed();
        const bool again = verdict.mode == Verdict::Selection && seen.contains(text);
        if (!text.isEmpty() && !again)
            meant.append(text);
        seen.insert(text);
    }
    return meant;
}

bool Subject::hasFile(const QString &pathOnController) const
{
    const QString path = medium.local(pathOnController);
    return !path.isEmpty() && QFileInfo::exists(path);
}

QStringList Subject::itemTexts() const
{
    QStringList texts;
    for (const Item &item : items)
        texts.append(item.text);
    return texts;
}
