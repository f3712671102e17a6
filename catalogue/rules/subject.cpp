// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/subject.h"

#include "reading/initext.h"
#include "reading/likeness.h"
#include "reading/lookalikes.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <cctype>

namespace
{

const char listKey[] = "system/CMD_List";
const char directKey[] = "system/CMD_Type";
const QStringList systemKeys = {"CMD_List", "CMD_Type", "ENDGAME"};

bool containsControl(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < ' '; });
}

/// As the tool has it.
QString upToZero(const QString &text)
{
    const int zero = text.indexOf(QChar(0));
    return zero < 0 ? text : text.left(zero);
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

/// Where the characters of a text are in the entry that it was made of, as far as they are written there.
QVector<int> placesOf(const QString &text, const QByteArray &bytes, const IniEntry &entry, int end)
{
    constexpr int longestEscape = 6;
    QVector<int> places;
    int next = entry.valueBegin;
    for (const QChar character : text) {
        const QByteArray written = QString(character).toUtf8();
        const int found = bytes.indexOf(written, next);
        const bool isHere = found >= 0 && found < end && found - next <= longestEscape;
        places.append(isHere ? found : next);
        next = isHere ? found + written.size() : next;
    }
    return places;
}

struct MeantCommand {
    QString text;
    bool isSure;
};

/// Places of the quotation marks that are not escaped.
QVector<int> bareMarks(const QByteArray &raw)
{
    QVector<int> marks;
    for (int i = 0; i < raw.size(); ++i) {
        if (raw.at(i) == '\\')
            ++i;
        else if (raw.at(i) == '"')
            marks.append(i);
    }
    return marks;
}

bool isPair(const QByteArray &raw)
{
    const QVector<int> marks = bareMarks(raw);
    return marks.size() == 2 && marks.first() == 0 && marks.last() == raw.size() - 1;
}

/// Between bare marks an escaped one is for the shell, as at a terminal, and so is its backslash.
QByteArray withEscapesForShell(const QByteArray &raw, bool *isSure)
{
    QByteArray meant;
    bool isInside = false;
    for (int i = 0; i < raw.size(); ++i) {
        if (raw.at(i) == '"')
            isInside = !isInside;
        if (raw.at(i) != '\\' || i + 1 == raw.size()) {
            meant += raw.at(i);
            continue;
        }
        if (raw.at(i + 1) == '"') {
            meant += "\\\\";
            *isSure = *isSure && isInside;
        }
        meant += raw.mid(i++, 2);
    }
    return meant;
}

/// Whether a mark that opens is at the end of a word: then one in front of it is missing, or too many.
bool opensBehindWord(const QByteArray &raw)
{
    const QVector<int> marks = bareMarks(raw);
    for (int i = 0; i < marks.size(); i += 2) {
        const int at = marks.at(i);
        const bool isBehind = at > 0 && isalnum(static_cast<uchar>(raw.at(at - 1))) != 0;
        const bool isAtEnd = at + 1 == raw.size() || isBlank(raw.at(at + 1));
        if (isBehind && isAtEnd)
            return true;
    }
    return false;
}

/// The marks of the value taken away, where they are its own and not the command's.
QByteArray withoutOwnMarks(const QByteArray &raw, bool *isSure)
{
    const QVector<int> marks = bareMarks(raw);
    if (marks.isEmpty())
        return raw;
    const bool starts = marks.first() == 0;
    const bool ends = marks.last() == raw.size() - 1 && raw.size() > 1;
    if (marks.size() % 2 == 1) {
        *isSure = starts ? !ends : (ends && marks.size() == 1);
        return starts ? raw.mid(1) : ends ? raw.left(raw.size() - 1) : raw + '"';
    }
    if (marks.size() == 2 && starts && raw.mid(marks.last() + 1, 1) == ";") // the command goes on behind it
        return raw.mid(1, marks.last() - 1) + raw.mid(marks.last() + 1);
    const int sign = raw.indexOf('@');
    const QByteArray name = raw.left(sign);
    QByteArray command = raw.mid(sign + 1);
    if (starts && ends && bareMarks(name).size() % 2 == 1)
        return raw.mid(1, raw.size() - 2);
    if (bareMarks(name).size() % 2 == 1 || sign < 0) {
        *isSure = false;
        return raw;
    }
    if (isPair(command)) {
        // A command is no single argument; a program's path with a blank in it may be one.
        command = command.mid(1, command.size() - 2);
        *isSure = !command.left(qMax(0, command.indexOf(' '))).contains('/');
    }
    return QByteArray(name).replace('"', "") + '@' + command;
}

/// A value without marks of other kinds around it that are meant for its quotation marks.
QByteArray withoutOtherMarks(const QByteArray &raw)
{
    const bool isMarked =
        !raw.isEmpty() && (raw.at(0) == '\'' || raw.at(0) == '`' || static_cast<uchar>(raw.at(0)) >= 0x80);
    if (!isMarked)
        return raw;
    const QString text = textOf(raw);
    return isInOtherQuotes(text) ? text.mid(1, text.size() - 2).toUtf8() : raw;
}

MeantCommand meantCommand(const QByteArray &written)
{
    const QByteArray raw = withoutOtherMarks(written);
    bool isSure = true;
    const bool isWell = isPair(raw);
    QByteArray inside = isWell ? raw.mid(1, raw.size() - 2) : withoutOwnMarks(raw, &isSure);
    if (!bareMarks(inside).isEmpty()) {
        isSure = isSure && !opensBehindWord(inside);
        if (inside.contains("\\\""))
            inside = withEscapesForShell(inside, &isSure);
    }
    const QString text = textOfRaw(withLiteralBackslashes(inside), true);
    const QString command = text.section('@', 1);
    const bool isOpen = splitCommandLine(command).openQuote && !readAsShell(command).isClosed;
    return {text, isSure && (isWell || !isOpen)};
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
    for (const IniEntry &entry : file.entries()) {
        const QString path = entry.path();
        byPath.insert(path, &entry);
        const bool isText = path.startsWith("CMD/") || path == listKey || path == directKey;
        if (isText && !isKeyOfLines(file, entry))
            textLines.append(&entry);
    }
    const IniEntry *const written = byPath.contains(listKey) ? entry(listKey) : entry(directKey);
    if (written && written->value.comma < 0 && !isSpecialValue(written->value.text)) {
        list = written;
        readItems();
    }
    if (written)
        readListed(*written);
    readCommands();
    uses = usesOf(medium, commands);
}

void Subject::readItems()
{
    int begin = 0;
    for (const QString &text : list->value.text.split(',')) {
        const int offset = begin < list->value.at.size() ? list->value.at.at(begin) : list->valueBegin;
        items.append({text, offset, text.isEmpty() ? nullptr : entry("CMD/" + text)});
        if (!items.last().entry)
            missing.insert(text);
        begin += text.size() + 1;
    }
}

/// So that what is wrong with the commands of a list that is misread is told together with the list.
void Subject::readListed(const IniEntry &written)
{
    QSet<const IniEntry *> seen;
    const auto add = [&](const IniEntry *named) {
        if (named && !seen.contains(named))
            listed.append(named);
        seen.insert(named);
    };
    for (const Item &item : qAsConst(items))
        add(item.entry);
    for (const QString &part : meantText(written).split(',')) {
        for (const QString &key : entry("CMD/" + part) ? QStringList(part) : keysIn(part))
            add(entry("CMD/" + key));
    }
}

QStringList Subject::keysIn(const QString &text) const
{
    static const QRegularExpression signs("[;|/:+&\"\\x{ff0c}\\x{ff1b}\\x{3001}\\x{60c}\\x{61b}]+");
    static const QRegularExpression blanks("\\s+");
    QStringList keys;
    for (const QString &part : text.split(signs, QString::SkipEmptyParts)) {
        const QString name = part.trimmed();
        const QStringList names =
            entry("CMD/" + name) ? QStringList(name) : name.split(blanks, QString::SkipEmptyParts);
        if (!std::all_of(names.begin(), names.end(),
                         [this](const QString &one) { return entry("CMD/" + one); }))
            return {};
        keys += names;
    }
    return keys;
}

void Subject::readCommands()
{
    const bool hasKit = isKit(medium);
    for (const IniEntry *const named : qAsConst(listed)) {
        const DecodedValue &value = named->value;
        const bool isText = value.comma < 0 && !isSpecialValue(upToZero(value.text));
        if (!isText || value.text.isEmpty() || swallowsLines(file, *named))
            continue;
        // Where the reader takes quotation marks away, or the rest for a comment, it is about what was meant.
        QString text = upToZero(intendedText(file, value));
        QVector<int> at = value.at;
        int sign = value.text.indexOf('@');
        bool isMisread = false;
        const bool isEscaped =
            file.bytes().mid(named->valueBegin, named->end - named->valueBegin).contains('\\');
        const bool isInOthers = isInOtherQuotes(text) && bareQuotes(file, *named).isEmpty();
        if (named->semicolon >= 0 || isEscaped || isInOthers || !isQuotedWell(file, *named)) {
            const QString meant = meantText(*named);
            const bool isOtherwise = !meant.isEmpty() && meant != text;
            isMisread = isOtherwise;
            if (isOtherwise && (named->semicolon >= 0 || isInOthers || !isQuotedWell(file, *named))) {
                text = meant;
                at = placesOf(meant, file.bytes(), *named, textEnd(*named));
                sign = meant.indexOf('@');
            }
        }
        if (text.isEmpty())
            continue;
        const QString command = text.section('@', 1, 1);
        const CommandLine split = splitCommandLine(command);
        const ShellCall shell = shellCall(command);
        ScriptText script = scriptOf(split, shell, hasKit);
        if (hasKit && !shell.shell.isEmpty())
            std::transform(script.steps.begin(), script.steps.end(), script.steps.begin(), withoutKit);
        const QVector<Step> steps = script.steps;
        script.steps.clear();
        commands.append({named, text.section('@', 0, 0), command, isSkipped(command), text.count('@'), split,
                         shell, steps, script, meaningOf(command), at, sign + 1, isMisread});
    }
}

QString Subject::rawKey(const IniEntry &entry) const
{
    const QByteArray raw = file.bytes().mid(entry.begin, entry.keyEnd - entry.begin);
    const QString text = textOf(raw);
    return text.toUtf8() == raw && !containsControl(text) ? text : writtenKey(entry.key);
}

const MeantText &Subject::meant(const IniEntry &entry) const
{
    auto known = meantTexts.find(entry.begin);
    if (known == meantTexts.end())
        known = meantTexts.insert(entry.begin, readMeant(entry));
    return *known;
}

/// What is behind the semicolon that ends a value. Behind one in quotation marks it is a remark, as its
/// author has shown where the value ends. In a list it is one where it is apart and names nothing.
Behind Subject::behindValue(const IniEntry &entry) const
{
    const QByteArray rest = file.bytes().mid(entry.end + 1, lineEnd(file.bytes(), entry.end) - entry.end - 1);
    const QByteArray front = file.bytes().mid(entry.valueBegin, entry.end - entry.valueBegin);
    const bool isClosed = isQuotedWell(file, entry) && !bareQuotes(file, entry).isEmpty();
    if (isClosed) {
        const bool isMore = !isBlank(front.at(front.size() - 1))
                            && behindSemicolon(textOf(front).remove('"'), textOf(rest)) == Behind::Command;
        return rest.count('"') % 2 == 0 && !isMore ? Behind::Remark : Behind::Unknown;
    }
    if (entry.path().startsWith("CMD/"))
        return behindSemicolon(textOf(front), textOf(rest));
    const bool isApart = !front.isEmpty() && isBlank(front.at(front.size() - 1));
    QString others = QString::fromLatin1(rest);
    for (const QString &item : others.replace(';', ',').split(',')) {
        if (byPath.contains("CMD/" + item.trimmed()))
            return Behind::Unknown;
    }
    return isApart ? Behind::Remark : Behind::Unknown;
}

/// Whether the tool gets what is written in a pair of quotation marks, so that it need not be read again.
bool Subject::isReadAsMeant(const IniEntry &entry, const QByteArray &raw) const
{
    return entry.semicolon < 0 && !entry.openQuote && !file.hasByteOrderMark() && isPair(raw)
           && !raw.contains('\0') && !raw.contains('\n') && !raw.contains('\r')
           && withLiteralBackslashes(raw) == raw;
}

MeantText Subject::readMeant(const IniEntry &entry) const
{
    MeantText meant;
    meant.end = entry.end;
    if (swallowsLines(file, entry)) {
        meant.end = lineEnd(file.bytes(), entry.valueBegin);
        // Its author may have gone on behind the end of the line, as at a terminal.
        meant.isSure = meant.end == entry.valueBegin || file.bytes().at(meant.end - 1) != '\\';
    } else if (entry.semicolon >= 0) {
        const Behind behind = behindValue(entry);
        meant.end = behind == Behind::Remark ? entry.end : lineEnd(file.bytes(), entry.end);
        meant.isSure = behind != Behind::Unknown;
    }
    if (isKeyOfLines(file, entry))
        meant.isSure = false;
    while (meant.end > entry.valueBegin && isBlank(file.bytes().at(meant.end - 1)))
        --meant.end;
    QByteArray raw = file.bytes().mid(entry.valueBegin, meant.end - entry.valueBegin).trimmed();
    if (isReadAsMeant(entry, raw)) {
        meant.text = intendedText(file, entry.value);
        return meant;
    }
    if (&entry == list && listsZeros())
        meant.isSure = false;
    raw.replace('\0', "");
    if (entry.path().startsWith("CMD/")) {
        const MeantCommand command = meantCommand(raw);
        meant.text = command.text;
        meant.isSure = meant.isSure && command.isSure;
        return meant;
    }
    if (!swallowsLines(file, entry) && raw.size() > 1 && raw.startsWith('"') && raw.endsWith('"'))
        raw = raw.mid(1, raw.size() - 2);
    meant.text = textOfRaw(withLiteralBackslashes(withoutOtherMarks(raw)), false);
    return meant;
}

bool Subject::listsZeros() const
{
    return std::any_of(items.begin(), items.end(),
                       [](const Item &item) { return item.entry && item.text.contains(QChar(0)); });
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
        const QStringList parts = item.entry ? QStringList() : partsOf(item);
        for (const QString &text : parts.isEmpty() ? QStringList(item.text) : parts) {
            const QString one = item.entry ? text : text.trimmed();
            const bool again = verdict.mode == Verdict::Selection && seen.contains(one);
            if (!one.isEmpty() && !again)
                meant.append(one);
            seen.insert(one);
        }
    }
    return meant;
}

QStringList Subject::partsOf(const Item &item) const
{
    QString text = plain(textOf(item.text.toLatin1()).replace(QChar(0x201a), ',')).trimmed();
    if (isInOtherQuotes(text))
        text = text.mid(1, text.size() - 2);
    if (byPath.contains("CMD/" + text))
        return {text};
    const QStringList parts = keysIn(QString(text).replace(',', ';').replace('.', ';'));
    // To the reader of settings, "a/" is "a".
    const bool isSame = parts.size() == 1 && text.contains('/');
    return isSame ? QStringList() : parts;
}

bool Subject::hasSection(const QString &section) const
{
    const auto isOne = [&section](const IniLine &head) { return head.section == section; };
    return std::any_of(file.sections().begin(), file.sections().end(), isOne);
}

namespace
{

/// A section's name without what stands around it.
QString bareName(const QString &section)
{
    static const QRegularExpression marks("^[\\[({<\"'`\\s]+|[\\])}>\"'`\\s.:;]+$");
    return plain(textOf(section.toLatin1())).remove(marks);
}

bool isNearly(const QString &name, const QString &right, int most)
{
    constexpr int longest = 16;
    return name.size() <= longest && changesBetween(name.toLower(), right.toLower()) <= most;
}

} // namespace

QString Subject::meantSection(const QString &section) const
{
    constexpr int enough = 50;
    static const QStringList names = {"system", "CMD"};
    if (section.isEmpty() || names.contains(section, Qt::CaseInsensitive))
        return QString();
    const QString seen = drawn(textOf(section.toLatin1()));
    const auto same = [&seen](const QString &name) { return drawn(name) == seen; };
    const auto found = std::find_if(names.begin(), names.end(), same);
    if (found != names.end())
        return *found;
    static const QStringList others = {"sys", "cmds", "command", "commands"};
    const QString name = bareName(section);
    if (name.isEmpty() || file.sections().size() > enough)
        return QString();
    if (!hasSection("system") && (isNearly(name, "system", 2) || others.indexOf(name.toLower()) == 0))
        return names.first();
    const bool isCommands = isNearly(name, "CMD", 1) || others.indexOf(name.toLower()) > 0;
    return !hasSection("CMD") && isCommands ? names.last() : QString();
}

QString Subject::meantSystemKey(const QString &key) const
{
    const QStringList &keys = systemKeys;
    if (keys.contains(key, Qt::CaseInsensitive))
        return QString();
    const QString seen = drawn(textOf(key.toLatin1()));
    const auto same = [&seen](const QString &name) { return drawn(name) == seen; };
    const auto found = std::find_if(keys.begin(), keys.end(), same);
    if (found != keys.end())
        return *found;
    static const QRegularExpression between("[-_ .]");
    const QString name = plain(textOf(key.toLatin1())).remove(between);
    const bool hasList = byPath.contains(listKey) || byPath.contains(directKey);
    for (const QString &right : keys) {
        const bool isMissing = right == keys.last() ? !byPath.contains("system/ENDGAME") : !hasList;
        if (isMissing && isNearly(name, QString(right).remove('_'), 2))
            return right;
    }
    return QString();
}

bool Subject::isOfSystem(const IniEntry &entry) const
{
    return entry.section == "CMD" && systemKeys.contains(entry.key) && !entry.value.text.contains('@')
           && !byPath.contains("system/" + entry.key);
}

bool Subject::isOfCommands(const IniEntry &entry) const
{
    return entry.section == "system" && entry.value.text.contains('@') && !systemKeys.contains(entry.key)
           && !byPath.contains("CMD/" + entry.key);
}

QString Subject::meantLine(const IniLine &stray) const
{
    static const QStringList names = {"system", "CMD"};
    static const QRegularExpression keyAndValue("^([\\w.-]+)\\s*([=:])\\s*(.*)$");
    const QString written = textOf(file.bytes().mid(stray.begin, stray.end - stray.begin)).trimmed();
    const QString name = bareName(QString::fromLatin1(written.toUtf8()));
    for (const QString &section : names) {
        if (name.compare(section, Qt::CaseInsensitive) == 0 && !hasSection(section))
            return '[' + section + ']';
    }
    const QRegularExpressionMatch match = keyAndValue.match(plain(written));
    const QString key = match.captured(1);
    const bool isItem =
        missing.contains(key) || (match.captured(3).contains('@') && !written.contains(match.captured(2)));
    const bool isSystem = systemKeys.contains(key) && !byPath.contains("system/" + key);
    if (!match.hasMatch() || (!isItem && !isSystem))
        return QString();
    // The value as it is written, without what stands around it.
    static const QRegularExpression front("^[^=:\\x{ff1d}\\x{ff1a}\\x{fe66}\\x{207c}\\x{fe55}]*.\\s*");
    QString value = QString(written).remove(front).trimmed();
    const bool isQuoted = value.size() > 1 && value.startsWith('"') && value.endsWith('"');
    if (isQuoted || isInOtherQuotes(value))
        value = value.mid(1, value.size() - 2);
    return isSystem ? iniLine(key, plain(value)) : iniLine(key, textOfRaw(value.toUtf8(), true));
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
