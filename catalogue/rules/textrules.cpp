// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on what the eye cannot see: characters that are not the ones that they look like, and lines that
// are not where they seem to be.

#include "reading/initext.h"
#include "reading/lookalikes.h"
#include "rules/rules.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

/// Whether there is nothing in it but what a plain keyboard writes, and shows.
bool isPlain(const QString &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar character) { return character >= ' ' && character < QChar(0x7f); });
}

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < 0x80; });
}

/// Where in the file the character of the entry is written, as it is or as an escape.
int offsetOf(const Subject &subject, const IniEntry &entry, QChar character)
{
    QByteArray line = subject.file.bytes().mid(entry.begin, entry.end - entry.begin);
    const int raw = line.indexOf(QString(character).toUtf8());
    if (raw >= 0)
        return entry.begin + raw;
    line = line.toLower();
    const int escape = line.indexOf("\\x" + QByteArray::number(character.unicode(), 16));
    return escape < 0 ? entry.begin : entry.begin + escape;
}

/// Whether it is there for a reason: it joins the letters of a script that needs it, or orders those that are
/// written from the right.
bool isNeeded(const QString &text, int at)
{
    const auto isOfScript = [&text](int place) {
        return place >= 0 && place < text.size() && text.at(place).unicode() >= 0x300
               && !isInvisible(text.at(place)) && !isOtherBlank(text.at(place));
    };
    const auto fromRight = [](QChar one) {
        return one.direction() == QChar::DirR || one.direction() == QChar::DirAL;
    };
    const ushort code = text.at(at).unicode();
    if (code >= 0xfe00 && code <= 0xfe0f) // chooses how the character in front of it is drawn
        return at > 0 && (text.at(at - 1).unicode() >= 0x2000 || text.at(at - 1).isSurrogate());
    if (code == 0x200c || code == 0x200d)
        return isOfScript(at - 1) && isOfScript(at + 1);
    const bool isMark =
        text.at(at).category() == QChar::Other_Format && code >= 0x200e && code <= 0x2069 && code != 0x2060;
    return isMark && std::any_of(text.begin(), text.end(), fromRight);
}

/// The first character that is not to be seen; in a name, blanks of any kind are what they look like.
int firstUnseen(const QString &text, bool isName)
{
    for (int i = 0; i < text.size(); ++i) {
        if ((isInvisible(text.at(i)) && !isNeeded(text, i)) || (!isName && isOtherBlank(text.at(i)))
            || (isName && text.at(i) == '\t'))
            return i;
    }
    return -1;
}

QString withoutUnseen(const QString &text, bool isName)
{
    QString seen;
    for (int i = 0; i < text.size(); ++i) {
        if ((isOtherBlank(text.at(i)) && !isName) || (text.at(i) == '\t' && isName))
            seen += ' ';
        else if (!isInvisible(text.at(i)) || isNeeded(text, i))
            seen += text.at(i);
    }
    return seen;
}

/// The bytes of one character.
QByteArray characterAt(const QByteArray &bytes, int at, int end)
{
    const int size = (bytes.at(at) & 0xe0) == 0xc0 ? 2 : (bytes.at(at) & 0xf0) == 0xe0 ? 3 : 1;
    return bytes.mid(at, qMin(size, end - at));
}

/// Null where it is none of two bytes in UTF-16.
QChar characterOf(const QByteArray &one)
{
    const QString text = textOf(one);
    return text.size() == 1 && text.at(0) != QChar::ReplacementCharacter ? text.at(0) : QChar();
}

/// Its UTF-8 in these bytes, taken away.
QVector<Edit> withoutUnseenIn(const QByteArray &bytes, int begin, int end)
{
    QVector<Edit> edits;
    for (int at = begin; at < end;) {
        const QByteArray one = characterAt(bytes, at, end);
        const QChar character = characterOf(one);
        if (isInvisible(character) || isOtherBlank(character))
            edits.append({at, at + one.size(), ""});
        at += one.size();
    }
    return edits;
}

/// In a line that the tool takes for none, and that is a section, a remark or nothing without it.
void inStrayLines(const Subject &subject, Collector &findings)
{
    const QByteArray &bytes = subject.file.bytes();
    for (const IniLine &stray : subject.asWritten().strayLines()) {
        const QVector<Edit> edits = withoutUnseenIn(bytes, stray.begin, stray.end);
        if (edits.isEmpty() || subject.file.hasByteOrderMark())
            continue;
        const QString line = plain(textOf(bytes.mid(stray.begin, stray.end - stray.begin))).trimmed();
        if (!line.isEmpty() && !line.startsWith('[') && !line.startsWith(';'))
            continue;
        const Edit &first = edits.first();
        findings.mend(edits, first.begin,
                      QString("Here is %1, which nobody sees: the tool does not know this line with it")
                          .arg(named(characterOf(bytes.mid(first.begin, first.end - first.begin)))));
    }
}

void inKeysAndLists(const Subject &subject, Collector &findings)
{
    const QByteArray &bytes = subject.file.bytes();
    for (const IniEntry &entry : subject.asWritten().entries()) {
        const bool isList = entry.path() == "system/CMD_List" || entry.path() == "system/CMD_Type";
        const QVector<Edit> edits =
            withoutUnseenIn(bytes, entry.begin, isList ? subject.textEnd(entry) : entry.keyEnd);
        if (edits.isEmpty() || subject.file.hasByteOrderMark())
            continue;
        const Edit &first = edits.first();
        findings.mend(edits, first.begin,
                      QString("Here is %1: two keys with and without it look the same and are not")
                          .arg(named(characterOf(bytes.mid(first.begin, first.end - first.begin)))));
    }
}

/// Those of scripts, where no quotation marks are around them; each line once.
void inScripts(const Subject &subject, Collector &findings, bool (*isOne)(QChar), const QString &what)
{
    for (const auto &script : subject.uses.scripts) {
        int line = 0;
        for (const StrayCharacter &stray : script->text.strays) {
            if (stray.line == line || !isOne(stray.character))
                continue;
            line = stray.line;
            findings.adviseOther(script->path, line,
                                 QString("Here is %1, %2").arg(named(stray.character), what),
                                 "the line typed anew, with the characters of a plain keyboard");
        }
    }
}

bool isUnseen(QChar character)
{
    return isInvisible(character) || isOtherBlank(character);
}

void invisibleCharacter(const Subject &subject, Collector &findings)
{
    inStrayLines(subject, findings);
    inKeysAndLists(subject, findings);
    inScripts(subject, findings, isUnseen, "which nobody sees and the shell takes for a letter");
    for (const auto &script : subject.uses.scripts) {
        if (script->bytes.startsWith("\xef\xbb\xbf"))
            findings.addOther(
                script->path,
                "Here is a byte-order mark, which nobody sees and the shell takes for a letter of the first line",
                "sed -i '1s/^...//' " + shellWord(script->path), {{0, 3, ""}});
    }
    for (const CommandEntry &command : subject.commands) {
        if (isPlain(command.name) && isPlain(command.command))
            continue;
        const int inName = firstUnseen(command.name, true);
        const int inCommand = firstUnseen(command.command, false);
        if (inName < 0 && inCommand < 0)
            continue;
        const QString right = withoutUnseen(command.name, true) + '@' + withoutUnseen(command.command, false);
        if (right.startsWith('@'))
            findings.askAuthor(); // no name is left, and the reader may take such a value for something else
        const QChar character = inCommand >= 0 ? command.command.at(inCommand) : command.name.at(inName);
        findings.replace(
            *command.entry, offsetOf(subject, *command.entry, character),
            QString("Here is %1, which nobody sees and the %2")
                .arg(named(character), inCommand >= 0 ? "program gets" : "name is another one with"),
            subject.line(*command.entry, right));
    }
}

// --- Punctuation from another keyboard ------------------------------------------------------------------

int firstForeign(const QString &text, const QString &meant = QString())
{
    for (int i = 0; i < text.size(); ++i) {
        const QChar ascii = asciiFor(text.at(i));
        if (!ascii.isNull() && (meant.isEmpty() || meant.contains(ascii)))
            return i;
    }
    return -1;
}

QString inAscii(QString text)
{
    for (QChar &character : text) {
        const QChar ascii = asciiFor(character);
        character = ascii.isNull() ? character : ascii;
    }
    return text;
}

QString looksLike(QChar character, QChar meant)
{
    return QString("Here is %1, not %2")
        .arg(named(character), meant == '"' ? "a straight quotation mark" : QString('"') + meant + '"');
}

QString looksLike(QChar character)
{
    return looksLike(character, asciiFor(character));
}

/// What somebody separates items with who has no comma: other commas and semicolons, full stops between them,
/// and a quotation mark that looks like a comma.
bool isForeignComma(QChar character)
{
    const QChar ascii = asciiFor(character);
    return ascii == ',' || ascii == ';' || ascii == '.' || character == QChar(0x201a);
}

void inTheList(const Subject &subject, Collector &findings)
{
    if (!subject.list)
        return;
    QStringList items;
    int first = -1;
    QChar character;
    for (const Item &item : subject.items) {
        const QString text = textOf(item.text.toLatin1());
        const auto found = item.entry ? text.end() : std::find_if(text.begin(), text.end(), isForeignComma);
        if (found == text.end()) {
            items.append(item.text);
            continue;
        }
        if (first < 0) {
            first = item.offset;
            character = *found;
        }
        QString right = text;
        std::replace_if(right.begin(), right.end(), isForeignComma, QChar(','));
        for (const QString &part : right.split(',', QString::SkipEmptyParts))
            items.append(QString::fromLatin1(part.trimmed().toUtf8()));
    }
    if (first >= 0)
        findings.replace(*subject.list, offsetOf(subject, *subject.list, character),
                         looksLike(character, ',') + ": it separates no items", subject.listLine(items));
}

/// Quotation marks of other kinds around a whole value.
void aroundValues(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        const int end = subject.textEnd(*entry);
        const QByteArray raw = subject.file.bytes().mid(entry->valueBegin, end - entry->valueBegin).trimmed();
        if (raw.isEmpty() || raw.startsWith('"'))
            continue;
        const QString text = textOf(raw);
        if (!isInOtherQuotes(text))
            continue;
        const bool isCommand = entry->path().startsWith("CMD/");
        const QString message = isCommand
                                    ? "%1: it is part of the name, and the one at the end of the command"
                                    : "%1: it is part of the first item, and the one at the end of the last";
        QStringList items;
        for (const QString &item : subject.meantText(*entry).split(',', QString::SkipEmptyParts))
            items.append(item.trimmed());
        findings.replace(*entry, offsetOf(subject, *entry, text.at(0)),
                         message.arg(looksLike(text.at(0), '"')),
                         isCommand ? subject.line(*entry, subject.meantText(*entry))
                                   : subject.line(*entry, items.join(',')));
    }
}

/// Lines that are a section, or a key with a value, to the eye only.
void inForeignLines(const Subject &subject, Collector &findings)
{
    const QByteArray &bytes = subject.file.bytes();
    for (const IniLine &stray : subject.asWritten().strayLines()) {
        const QString written = textOf(bytes.mid(stray.begin, stray.end - stray.begin));
        const QString right = subject.meantLine(stray);
        const auto isOfOther = [](QChar character) {
            return QString("[]=:\"'").contains(asciiFor(character));
        };
        const auto found = std::find_if(written.begin(), written.end(), isOfOther);
        if (right.isEmpty() || found == written.end())
            continue;
        const QChar bracket = found == written.begin() ? '[' : ']';
        const QChar meant = right.startsWith('[') ? bracket : QChar('=');
        findings.replace(stray.begin, stray.end,
                         stray.begin
                             + written.left(static_cast<int>(found - written.begin())).toUtf8().size(),
                         looksLike(*found, meant) + ": the tool does not know this line", right);
    }
}

void foreignSeparator(const Subject &subject, Collector &findings)
{
    inTheList(subject, findings);
    for (const CommandEntry &command : subject.commands) {
        const int at = command.ats == 0 ? firstForeign(command.name, "@") : -1;
        if (at < 0)
            continue;
        QString right = command.name;
        right[at] = '@';
        findings.replace(*command.entry, offsetOf(subject, *command.entry, command.name.at(at)),
                         looksLike(command.name.at(at)) + ": all of this is the name, and nothing is run",
                         subject.line(*command.entry, right));
    }
    aroundValues(subject, findings);
    inForeignLines(subject, findings);
}

bool isForeign(QChar character)
{
    return !asciiFor(character).isNull() && !isUnseen(character);
}

void foreignPunctuation(const Subject &subject, Collector &findings)
{
    inScripts(subject, findings, isForeign, "which is a letter like any other to the shell");
    for (const CommandEntry &command : subject.commands) {
        const int at = firstForeign(command.command);
        if (at < 0)
            continue;
        findings.replace(*command.entry, offsetOf(subject, *command.entry, command.command.at(at)),
                         looksLike(command.command.at(at)) + ": to the program it is a letter like any other",
                         subject.commandLine(command, inAscii(command.command)));
    }
}

// --- Names ----------------------------------------------------------------------------------------------

void lookalikeName(const Subject &subject, Collector &findings)
{
    if (subject.verdict.mode != Verdict::Selection)
        return;
    QHash<QString, const CommandEntry *> names;
    for (const CommandEntry &command : subject.commands) {
        const QString seen = drawn(command.name);
        const CommandEntry *first = names.value(seen);
        if (first && first->name != command.name && !seen.isEmpty())
            findings.replace(
                *command.entry, command.entry->value.at.value(0, command.entry->valueBegin),
                QString(
                    "To the operator this name is that of line %1; they differ in blanks, or in characters "
                    "that look the same")
                    .arg(subject.file.position(first->entry->begin).line),
                subject.line(*command.entry, QString("%1 (%2)@%3")
                                                 .arg(command.name.simplified(),
                                                      subject.nameFor(*command.entry), command.command)));
        else if (!first)
            names.insert(seen, &command);
    }
}

/// A letter of a script that has letters like those of another, in a word with letters of that; -1 without
/// one.
int strangerIn(const QString &text, int least)
{
    const auto isAlike = [](QChar::Script script) {
        return script == QChar::Script_Cyrillic || script == QChar::Script_Greek
               || script == QChar::Script_Armenian || script == QChar::Script_Cherokee;
    };
    const auto isStrange = [&](QChar character) { return isAlike(character.script()); };
    if (std::none_of(text.begin(), text.end(), isStrange))
        return -1;
    static const QRegularExpression word("\\w{2,}", QRegularExpression::UseUnicodePropertiesOption);
    for (auto words = word.globalMatch(text); words.hasNext();) {
        const QRegularExpressionMatch match = words.next();
        int strangers = 0;
        int latin = 0;
        int place = -1;
        const QString letters = match.captured();
        if (letters.size() < least)
            continue;
        for (int i = 0; i < letters.size(); ++i) {
            const bool isStranger = isAlike(letters.at(i).script());
            strangers += isStranger;
            latin += letters.at(i).script() == QChar::Script_Latin;
            if (isStranger && place < 0)
                place = match.capturedStart() + i;
        }
        if (strangers > 0 && latin > 0)
            return place;
    }
    return -1;
}

/// Letters of another alphabet only, all of which are drawn like Latin ones.
bool isAsIfLatin(const QString &program)
{
    return !program.isEmpty() && program.at(0).unicode() >= 0x80 && program.at(0).isLetter()
           && asciiFor(program.at(0)).isNull() && isAscii(drawn(program));
}

void mixedScripts(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const QString text = command.name + '@' + command.command;
        if (isAscii(text))
            continue;
        // A name may have a unit in it; a program, a path or an option has letters of one alphabet.
        constexpr int leastOfName = 4;
        const int inName = strangerIn(command.name, leastOfName);
        int at = inName >= 0 ? inName : strangerIn(command.command, 2);
        if (inName < 0 && at < 0)
            at = isAsIfLatin(command.split.words.value(0)) ? 0 : -1;
        if (at < 0)
            continue;
        at += inName >= 0 ? 0 : command.name.size() + 1;
        const QString script = text.at(at).script() == QChar::Script_Greek      ? "Greek"
                               : text.at(at).script() == QChar::Script_Cyrillic ? "Cyrillic"
                                                                                : "another";
        findings.advise(offsetOf(subject, *command.entry, text.at(at)),
                        QString("Here is %1, a letter of the %2 alphabet among Latin ones")
                            .arg(named(text.at(at)), script),
                        "the word typed anew, in one alphabet");
    }
}

// --- Lines ----------------------------------------------------------------------------------------------

/// Those that are in no section, and would mean something in one.
void keyBeforeSection(const Subject &subject, Collector &findings)
{
    const QVector<IniLine> &strays = subject.asWritten().strayLines();
    const auto isHead = [&subject](const IniLine &stray) {
        const QByteArray line = subject.file.bytes().mid(stray.begin, stray.end - stray.begin);
        return subject.meantLine(stray).startsWith('[') || plain(textOf(line)).trimmed().startsWith('[');
    };
    if (std::any_of(strays.begin(), strays.end(), isHead))
        return; // told as that
    static const QStringList systemKeys = {"CMD_List", "CMD_Type", "ENDGAME"};
    const int firstHead = subject.file.sections().isEmpty() ? subject.file.bytes().size()
                                                            : subject.file.sections().first().begin;
    QVector<const IniEntry *> lost;
    bool allSystem = true;
    bool isTaken = false;
    for (const IniEntry &entry : subject.file.entries()) {
        if (entry.begin > firstHead || !entry.section.isEmpty())
            continue;
        const bool isSystem = systemKeys.contains(entry.key);
        if (!isSystem && !entry.value.text.contains('@'))
            continue;
        allSystem = allSystem && isSystem;
        isTaken = isTaken || subject.entry("system/" + entry.key);
        lost.append(&entry);
    }
    for (const IniEntry &entry : subject.file.entries()) {
        const bool isOfSystem = subject.isOfSystem(entry);
        if (isOfSystem || subject.isOfCommands(entry))
            findings.advise(
                entry.begin,
                "This key stands in another section than the one in which the tool looks for it, so "
                "it is never read",
                QString("the same line below %1").arg(isOfSystem ? "[system]" : "[CMD]"));
    }
    for (const IniEntry *entry : qAsConst(lost)) {
        const QString section = systemKeys.contains(entry->key) ? "[system]" : "[CMD]";
        const int at = subject.file.lineStart(lost.first()->begin);
        if (!allSystem || isTaken)
            findings.askAuthor();
        findings.mend(
            {{at, at, section.toUtf8() + '\n'}}, entry->begin,
            QString("This key stands before its section, so the tool never reads it; %1 belongs above it")
                .arg(section),
            section);
    }
}

void joinedLines(const Subject &subject, Collector &findings)
{
    for (const IniEntry *entry : subject.textEntries()) {
        const int end = lineEnd(subject.file.bytes(), entry->begin);
        if (end >= entry->end || swallowsLines(subject.file, *entry) || end == 0
            || subject.file.bytes().at(end - 1) != '\\')
            continue;
        const QByteArray raw =
            subject.file.bytes().mid(entry->valueBegin, end - entry->valueBegin).trimmed() + '\\';
        findings.askAuthor().replace(entry->begin, end, end - 1,
                                     "A backslash at the end of a line: the next one is part of this value",
                                     subject.line(*entry, textOfRaw(raw, true)));
    }
}

} // namespace

QVector<Rule> textRules()
{
    constexpr unsigned isRewritten = ChangesNames | ChangesCommands;
    return {
        {"invisible-character", Severity::Warning, invisibleCharacter, isRewritten | AddsOperations, nullptr},
        {"foreign-separator", Severity::Error, foreignSeparator,
         isRewritten | AddsOperations | DropsRepetitions | ChangesEnding, nullptr},
        {"foreign-punctuation", Severity::Warning, foreignPunctuation, ChangesCommands, nullptr},
        {"lookalike-name", Severity::Warning, lookalikeName, AsksAuthor, "what the other one is called"},
        {"mixed-scripts", Severity::Warning, mixedScripts, AsksAuthor, "which alphabet was meant"},
        {"key-before-section", Severity::Error, keyBeforeSection, AddsOperations | ChangesEnding,
         "which section it belongs to"},
        {"joined-lines", Severity::Warning, joinedLines, AsksAuthor, "whether the lines belong together"},
    };
}
