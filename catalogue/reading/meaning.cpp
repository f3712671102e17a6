// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/meaning.h"

#include "reading/commandline.h"
#include "reading/script.h"
#include "reading/shell.h"

#include <QRegularExpression>
#include <QSet>
#include <QVector>

#include <algorithm>

namespace
{

bool beginsExpansion(const QString &text, int at)
{
    const QChar next = at + 1 < text.size() ? text.at(at + 1) : QChar(' ');
    return next.isLetterOrNumber() || isOneOf("_{(?@#*!$-", next);
}

/// Takes a text apart as a shell does.
class ShellReader
{
public:
    /// What double quotes keep together may be kept as it is, for the shell that gets it.
    explicit ShellReader(const QString &itsText, bool itsKeepsQuoted = false)
        : text(itsText)
        , keepsQuoted(itsKeepsQuoted)
    {
    }

    ShellReading read()
    {
        while (i < text.size())
            readNext();
        endWord();
        reading.isClosed = reading.isClosed && depth == 0;
        return reading;
    }

private:
    void readNext()
    {
        const QChar character = text.at(i);
        if (character == '\'')
            readSingle();
        else if (character == '"')
            readDouble();
        else if (character == '\\')
            readEscape();
        else if (character == '#' && !inWord)
            readComment();
        else if (isOneOf(";&|<>()\n", character))
            readOperator(character);
        else if (character.isSpace())
            endWord(), ++i;
        else
            readPlain(character);
    }

    void append(QChar character)
    {
        word += character;
        inWord = true;
    }

    void readSingle()
    {
        const int end = text.indexOf('\'', i + 1);
        reading.isClosed = reading.isClosed && end >= 0;
        word += text.mid(i + 1, (end < 0 ? text.size() : end) - i - 1);
        inWord = true;
        i = end < 0 ? text.size() : end + 1;
    }

    void readDouble()
    {
        inWord = true;
        for (++i; i < text.size() && text.at(i) != '"'; ++i) {
            if (text.at(i) == '\\' && i + 1 < text.size() && isOneOf("\\\"$`\n", text.at(i + 1)))
                word += text.at(++i);
            else if (!keepsQuoted && (text.at(i) == '`' || (text.at(i) == '$' && beginsExpansion(text, i))))
                readExpansion(&i), --i;
            else
                word += text.at(i);
        }
        reading.isClosed = reading.isClosed && i < text.size();
        ++i;
    }

    /// From the sign on, past a command or a name in brackets.
    void readExpansion(int *at)
    {
        reading.isPlain = false;
        inWord = true;
        if (text.at(*at) == '`') {
            const int end = text.indexOf('`', *at + 1);
            reading.isClosed = reading.isClosed && end >= 0;
            *at = end < 0 ? text.size() : end + 1;
            return;
        }
        const QChar open = *at + 1 < text.size() ? text.at(*at + 1) : QChar();
        if (open != '(' && open != '{') {
            *at += 2;
            return;
        }
        int nested = 0;
        QChar quote;
        for (++*at; *at < text.size(); ++*at) {
            const QChar one = text.at(*at);
            if (one == '\\' && quote != '\'')
                ++*at;
            else if (!quote.isNull())
                quote = one == quote ? QChar() : quote;
            else if (one == '\'' || one == '"')
                quote = one;
            else if (one == open)
                ++nested;
            else if (one == (open == '(' ? ')' : '}') && --nested == 0)
                break;
        }
        reading.isClosed = reading.isClosed && *at < text.size();
        ++*at;
    }

    void readEscape()
    {
        if (i + 1 < text.size() && text.at(i + 1) != '\n')
            append(text.at(i + 1));
        else if (i + 1 >= text.size())
            append('\\');
        i += 2;
    }

    void readComment()
    {
        reading.isPlain = false;
        if (reading.comment < 0)
            reading.comment = i;
        const int end = text.indexOf('\n', i);
        i = end < 0 ? text.size() : end;
    }

    void readOperator(QChar character)
    {
        reading.isPlain = false;
        endWord();
        depth += character == '(' ? 1 : character == ')' ? -1 : 0;
        ++i;
    }

    void readPlain(QChar character)
    {
        static const QRegularExpression alternatives("^\\[[^\\]\\s]+\\]");
        const bool isExpansion = character == '`' || (character == '$' && beginsExpansion(text, i));
        const bool isHome = character == '~' && !inWord
                            && (i + 1 == text.size() || text.at(i + 1) == '/' || text.at(i + 1).isSpace()
                                || text.at(i + 1).isLetterOrNumber());
        const bool isPattern =
            isOneOf("*?", character) || (character == '[' && alternatives.match(text.mid(i)).hasMatch());
        if (isExpansion) {
            readExpansion(&i);
            return;
        }
        if (isHome || isPattern)
            reading.isPlain = false;
        append(character);
        ++i;
    }

    void endWord()
    {
        if (inWord)
            reading.words.append(word);
        word.clear();
        inWord = false;
    }

    const QString &text;
    const bool keepsQuoted;
    ShellReading reading;
    QString word;
    bool inWord = false;
    int i = 0;
    int depth = 0;
};

struct Span {
    int begin;
    int end;
};

/// The words of a command line where they are in it, with those that are lost because nothing is in them.
QVector<Span> spansOf(const QString &bare)
{
    QVector<Span> spans;
    for (int i = 0; i < bare.size();) {
        const int begin = i;
        while (i < bare.size() && !bare.at(i).isSpace())
            ++i;
        if (i > begin)
            spans.append({begin, i});
        else
            ++i;
    }
    return spans;
}

/// The number of the word that is a shell's script; -1 where no script is handed to a shell.
int scriptPlace(const QStringList &words)
{
    const QStringList run = withoutWrappers(words);
    const int shell = shellWords(run);
    if (shell == 0)
        return -1;
    const int front = words.size() - run.size();
    for (int i = front + shell; i < words.size() && words.at(i).startsWith('-'); ++i) {
        if (!words.at(i).startsWith("--") && words.at(i).endsWith('c'))
            return i + 1 < words.size() ? i + 1 : -1;
    }
    return -1;
}

/// The line that gives a program these words; empty where no line says so without doubt.
QString commandLineOf(const QStringList &words)
{
    static const QRegularExpression apart("[^\\w./:=+,@%{}-]");
    static const QRegularExpression doubtful("\\\\[\\\\\"$`]|\\\\$|[$`]");
    QStringList written;
    const int script = scriptPlace(words);
    for (int i = 0; i < words.size(); ++i) {
        QString word = words.at(i);
        if (word.isEmpty() || (i != script && doubtful.match(word).hasMatch()))
            return QString();
        written.append(word.contains(apart) ? '"' + word.replace("\"", "\"\"\"") + '"' : word);
    }
    return written.join(' ');
}

QString quotedForShell(const QString &text)
{
    QString inside = text;
    return '\'' + inside.replace("'", "'\\''") + '\'';
}

/// Whether a script sets one of the variables that it uses, so that it matters which shell puts them in.
bool usesItsOwn(const QString &script)
{
    static const QRegularExpression use("\\$\\{?(\\w+|[?@#*!$-])");
    for (auto uses = use.globalMatch(script); uses.hasNext();) {
        const QString name = uses.next().captured(1);
        const QRegularExpression set("(^|[\\s;&|(])(" + QRegularExpression::escape(name)
                                     + "=|(for|read|getopts)\\b[^;&|]*\\b" + QRegularExpression::escape(name)
                                     + "\\b)");
        if (!name.at(0).isLetter() && name.at(0) != '_')
            return true; // its own arguments, the outcome of what was run before
        if (set.match(script).hasMatch())
            return true;
    }
    return false;
}

/// In single quotes, which mean nothing to a shell around the one that gets the script.
bool hasVariableInQuotes(const QString &script)
{
    return script.contains('\'') && script.contains('$');
}

/// Something that one shell reads as it is.
bool isPlainScript(const QString &script)
{
    static const QRegularExpression plain("^[\\w./,:=+@% -]+$");
    return plain.match(script).hasMatch() && !QStringList{"exit", "exec"}.contains(script.section(' ', 0, 0));
}

bool hasSigns(const QString &bare)
{
    static const QRegularExpression sign("[;&|<>()`*?\\\\'\\n]|\\$[\\w{(?@#*!$-]");
    return sign.match(bare).hasMatch();
}

/// Where in the text, outside of single quotation marks, a backslash is; -1 without one.
int firstBackslash(const QString &text)
{
    QChar quote;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == '\\' && quote != '\'')
            return i;
        if (quote.isNull() && isOneOf("'\"", text.at(i)))
            quote = text.at(i);
        else if (text.at(i) == quote)
            quote = QChar();
    }
    return -1;
}

/// A program that reads such signs itself, so that they may well be for it.
bool readsSigns(const QStringList &words)
{
    static const QSet<QString> programs = {"awk",   "gawk", "mawk", "perl",   "python", "python3", "ruby",
                                           "lua",   "php",  "su",   "expect", "ssh",    "xargs",   "find",
                                           "tclsh", "sh",   "ash",  "bash",   "dash"};
    return programs.contains(programOf(withoutWrappers(words)));
}

/// Where a variable of the surroundings or a command stands in double quotes; -1 without one.
int quotedVariable(const QString &text, const QString &bare)
{
    static const QRegularExpression variable(
        "(?<!\\\\)(\\$(\\{[A-Za-z_]\\w*[}:%#/]|[A-Z_][A-Z0-9_]*\\b|\\()|`)");
    for (auto found = variable.globalMatch(text); found.hasNext();) {
        const int at = found.next().capturedStart();
        if (bare.at(at) == 'x')
            return at;
    }
    return -1;
}

/// Whether what a shell would take away is certainly not for the program: single quotation marks, and
/// backslashes in front of what means something to a shell.
bool isCertainlyQuoting(const QString &text, const ShellReading &reading)
{
    QChar quote;
    for (int i = 0; i < text.size(); ++i) {
        const QChar one = text.at(i);
        if (one == '\\' && quote != '\'') {
            const QChar next = i + 1 < text.size() ? text.at(i + 1) : QChar();
            if (next == '"' || (quote.isNull() && (next.isSpace() || isOneOf(";&|<>()'*?[$`~#!", next))))
                return true;
            ++i;
        } else if (quote.isNull() && one == '\'') {
            return true;
        } else if (quote.isNull() && one == '"') {
            quote = one;
        } else if (one == quote) {
            quote = QChar();
        }
    }
    return reading.words.contains(QString());
}

/// Where the quoting is that only a shell reads.
int firstQuoting(const QString &text)
{
    const int single = text.indexOf('\'');
    const int backslash = firstBackslash(text);
    const int empty = text.indexOf(QLatin1String("\"\""));
    int first = -1;
    for (const int at : {single, backslash, empty}) {
        if (at >= 0 && (first < 0 || at < first))
            first = at;
    }
    return qMax(first, 0);
}

/// The bare command, with "x" for the signs of an address, which hardly anybody quotes.
QString withoutAddresses(QString bare)
{
    if (!bare.contains(QLatin1String("://")))
        return bare;
    for (const Span &span : spansOf(bare)) {
        if (!bare.mid(span.begin, span.end - span.begin).contains(QLatin1String("://")))
            continue;
        for (int i = span.begin; i < span.end; ++i)
            bare[i] = isOneOf("?&*~;=[]", bare.at(i)) ? QChar('x') : bare.at(i);
    }
    return bare;
}

/// Of a command without a sign for a shell, which are in quotation marks that only one reads.
QString withoutSigns(QString bare)
{
    for (QChar &one : bare)
        one = isOneOf(";&|<>()`*?[$~#", one) ? QChar('x') : one;
    return bare;
}

/// Where the semicolon is that ends find's -exec and is written as it is to be without a shell; -1 without
/// one.
int endOfExec(const QString &bare)
{
    static const QRegularExpression exec("\\s-(exec|execdir|ok)\\s.*\\s(;)(?=\\s*$|\\s)");
    return bare.contains(QLatin1String(" -")) ? exec.match(bare).capturedStart(2) : -1;
}

/// The meaning of a command that is written for a terminal as a whole.
// NOLINTNEXTLINE(misc-no-recursion): what stands in front of a comment has none
Meaning meaningAtTerminal(const QString &command, const CommandLine &split)
{
    Meaning meaning;
    meaning.right = command;
    meaning.bare = withoutAddresses(split.bare);
    const QString text = command.trimmed();
    const ShellReading reading = readAsShell(text);
    if (!reading.isClosed) {
        meaning.right = throughShell(text);
        meaning.isSure = false;
        return meaning;
    }
    if (reading.isPlain) {
        if (reading.words == split.words)
            return meaning;
        const bool isCertain = isCertainlyQuoting(text, reading);
        static const QRegularExpression doubtful("\\\\[\\\\$`]");
        if (!isCertain && !doubtful.match(text).hasMatch())
            return meaning; // a backslash in front of a letter, which hardly anybody writes for a shell
        const QString line = commandLineOf(reading.words);
        meaning.right = line.isEmpty() ? throughShell(text) : line;
        meaning.bare = withoutSigns(meaning.bare);
        meaning.isSure = isCertain;
        meaning.reason = isCertain ? Meaning::Quoting : Meaning::Escape;
        meaning.at = firstQuoting(command);
        return meaning;
    }
    if (reading.comment >= 0 && !text.contains('\n')) {
        const Meaning front = meaningOf(text.left(reading.comment).trimmed());
        meaning.right = front.right;
        meaning.isSure = front.isSure;
        meaning.reason = Meaning::Comment;
        meaning.at = command.indexOf(text) + reading.comment;
        return meaning;
    }
    // The one shell that there is puts the variables in, whether it is the one that gets the script or not.
    const ShellReading kept = ShellReader(text, true).read();
    if (kept.isPlain && kept.isClosed && scriptPlace(kept.words) >= 0
        && !commandLineOf(kept.words).isEmpty()) {
        if (kept.words == split.words)
            return meaning;
        meaning.right = commandLineOf(kept.words);
        meaning.bare = withoutSigns(meaning.bare);
        meaning.isSure = !usesItsOwn(kept.words.at(scriptPlace(kept.words)));
        meaning.reason = Meaning::Quoting;
        meaning.at = firstQuoting(command);
        return meaning;
    }
    static const QRegularExpression home("(^|\\s)~");
    if (hasSigns(meaning.bare) || home.match(meaning.bare).hasMatch()
        || meaning.bare.contains(QRegularExpression("\\[[^\\]\\s]+\\]"))) {
        meaning.right = throughShell(text);
        meaning.isSure = meaning.bare == split.bare; // a shell reads the signs of an address
        QString signs = meaning.bare;
        signs.remove('\\').remove('\'');
        if (!hasSigns(signs) && !home.match(signs).hasMatch()) {
            meaning.reason = Meaning::Quoting;
            meaning.at = firstQuoting(command);
        }
        return meaning;
    }
    if (!kept.isPlain && meaning.bare == split.bare && command.contains('\\')) {
        meaning.right =
            throughShell(text); // its marks end elsewhere for a shell, and the signs are outside of them
        meaning.reason = Meaning::Quoting;
        meaning.at = firstQuoting(command);
        return meaning;
    }
    const int variable = readsSigns(split.words) ? -1 : quotedVariable(command, split.bare);
    if (variable >= 0) {
        meaning.right = throughShell(text);
        meaning.isSure = false; // in double quotes they may be meant for the program
        meaning.reason = Meaning::Variable;
        meaning.at = variable;
    }
    return meaning;
}

/// The meaning of a command that hands a script in double quotes to a shell.
Meaning meaningOfCall(const QString &command, const QString &bare, const Span &script, const QString &text)
{
    Meaning meaning;
    meaning.right = command;
    meaning.bare = QString(script.end, 'x') + withoutAddresses(bare.mid(script.end));
    const bool isForTool = command.contains(QLatin1String("\"\"\""));
    const QString written = command.mid(script.begin, script.end - script.begin);
    const QString front = command.left(script.begin);
    const QString tail = command.mid(script.end);
    const int backslash = isForTool ? -1 : firstBackslash(written);
    const bool isRead = backslash >= 0 && isOneOf("\\$`", written.at(backslash + 1));
    if (hasSigns(meaning.bare.mid(script.end))) {
        if (isRead)
            meaning.right = throughShell(command.trimmed());
        else if (isPlainScript(text) && front.simplified() == "sh -c")
            meaning.right = throughShell(text + tail);
        else
            meaning.right = throughShell(front + quotedForShell(text) + tail);
        // The shell around it would know nothing of its variables; but it is the only one at a terminal.
        meaning.isSure = readAsShell(front + "x" + tail).isClosed
                         && (isForTool || isRead || !(usesItsOwn(front + text) || hasVariableInQuotes(text)));
    } else if (isRead) {
        QString meant = text;
        meant.replace("\\\\", "\\").replace("\\$", "$").replace("\\`", "`");
        meaning.right = front + '"' + QString(meant).replace("\"", "\"\"\"") + '"' + tail;
        meaning.isSure = usesItsOwn(meant);
        meaning.reason = Meaning::Escape;
        meaning.at = script.begin + backslash;
    }
    return meaning;
}

/// Whether a loop or a decision is begun that is not ended.
bool goesOn(const QString &script)
{
    const QString begin = "(^|[;&|({!\\n]|\\b(do|then|else|elif)\\s)\\s*";
    static const QVector<QPair<QRegularExpression, QRegularExpression>> pairs = {
        {QRegularExpression(begin + "(for|while|until|select)\\s"), QRegularExpression(begin + "done\\b")},
        {QRegularExpression(begin + "if\\s"), QRegularExpression(begin + "fi\\b")},
        {QRegularExpression(begin + "case\\s"), QRegularExpression(begin + "esac\\b")},
        {QRegularExpression(begin + "\\{\\s"), QRegularExpression(begin + "\\}")}};
    return std::any_of(pairs.begin(), pairs.end(), [&script](const auto &pair) {
        return script.count(pair.first) > script.count(pair.second);
    });
}

} // namespace

ShellReading readAsShell(const QString &text)
{
    return ShellReader(text).read();
}

// NOLINTNEXTLINE(misc-no-recursion): see meaningAtTerminal()
Meaning meaningOf(const QString &command)
{
    Meaning meaning;
    meaning.right = command;
    meaning.bare = command;
    const auto isSpecial = [](QChar one) { return isOneOf("\"'\\$`;&|<>()*?[#~\n", one); };
    if (std::none_of(command.begin(), command.end(), isSpecial))
        return meaning;
    const CommandLine split = splitCommandLine(command);
    const int number = scriptPlace(split.words);
    const QVector<Span> spans = spansOf(split.bare);
    if (number >= 0 && spans.size() == split.words.size()) {
        Span script = spans.at(number);
        // Signs may stand right behind its marks.
        int end = script.begin;
        while (command.at(script.begin) == '"' && end < script.end && split.bare.at(end) == 'x')
            ++end;
        if (end > script.begin + 1 && command.at(end - 1) == '"')
            script.end = end;
        const QString written = command.mid(script.begin, script.end - script.begin);
        const bool isForTool = written.contains(QLatin1String("\"\"\""));
        const bool isQuoted = written.size() > 1 && written.startsWith('"') && written.endsWith('"');
        if (isQuoted && (isForTool || !written.contains(QLatin1String("\\\""))))
            return meaningOfCall(command, split.bare, script, splitCommandLine(written).words.value(0));
        if (!written.startsWith('"') && !written.startsWith('\'') && script.begin > 0) {
            // The script is what stands behind, as shell-script-split has it.
            meaning.right =
                spans.size() == number + 1 && !hasSigns(split.bare)
                    ? command
                    : throughShell(command.mid(script.begin), command.left(script.begin).trimmed());
            meaning.bare = QString(command.size(), 'x');
            return meaning;
        }
    }
    if (command.contains(QLatin1String("\"\"\""))) { // which nobody writes for a terminal
        meaning.bare = split.bare;
        meaning.isSure = false;
        meaning.right = hasSigns(split.bare) ? throughShell(command.trimmed()) : command;
        return meaning;
    }
    const int end = endOfExec(split.bare);
    if (end < 0)
        return meaningAtTerminal(command, split);
    // It is at a terminal as well what ends -exec there, behind a backslash.
    const QString atTerminal = command.left(end) + '\\' + command.mid(end);
    const ShellReading reading = readAsShell(atTerminal);
    if (!reading.isPlain)
        meaning = meaningAtTerminal(atTerminal, splitCommandLine(atTerminal));
    else if (reading.words != split.words)
        meaning.right = commandLineOf(reading.words);
    meaning.bare = split.bare;
    meaning.bare[end] = 'x';
    if (meaning.right.isEmpty())
        meaning.right = throughShell(atTerminal);
    return meaning;
}

// NOLINTNEXTLINE(misc-no-recursion): nothing stands apart behind the last one
Behind behindSemicolon(const QString &front, const QString &rest)
{
    // A remark may come behind several commands.
    static const QRegularExpression apart("\\s;+\\s");
    const int last = rest.lastIndexOf(apart);
    const QString behindLast = rest.mid(rest.indexOf(';', last) + 1);
    if (last >= 0 && behindSemicolon(front + ';' + rest.left(last + 1), behindLast) != Behind::Command)
        return Behind::Unknown;
    const QString command = front.contains('@') ? front.section('@', 1) : front;
    if (!readAsShell(command).isClosed || goesOn(command) || (!front.contains('@') && rest.contains('@')))
        return Behind::Command;
    QString text = rest.trimmed();
    static const QRegularExpression letter("\\w", QRegularExpression::UseUnicodePropertiesOption);
    if (!letter.match(text).hasMatch())
        return text.isEmpty() && !front.endsWith(' ') ? Behind::Command : Behind::Remark;
    // A sign that no sentence has: an option, a path, a variable, another command, an assignment.
    static const QRegularExpression sign(
        "(^|\\s)-{1,2}[A-Za-z]|(^|[\\s\"'=<>])[~.]?/|\\$|&&|\\||[<>]\\s*\\S*[/.\\w]|^[A-Za-z_]\\w*=|\\*|^\\.\\s|`|;|"
        "^[({]\\s*\\w+\\s.*[;)}]");
    static const QRegularExpression programs(
        "^(sync|reboot|poweroff|halt|shutdown|cp|mv|rm|ln|mkdir|rmdir|chmod|chown|chgrp|tar|gzip|gunzip|unzip|cat|"
        "echo|printf|dd|mount|umount|sed|awk|grep|find|sort|head|tail|tee|touch|sleep|kill|killall|pkill|date|"
        "hwclock|cd|export|source|set|unset|exec|eval|exit|wait|read|test|true|false|do|done|then|else|fi|esac|sh|"
        "bash|ash|env|nohup|timeout|systemctl|service|ip|ifconfig|ping|wget|curl|dpkg|opkg|rpm|insmod|rmmod|"
        "modprobe|flash_erase|flashcp|nandwrite|ubiformat|ubiattach|fw_setenv|fw_printenv|md5sum|sha256sum|cmp|"
        "diff|df|du|ls|ps|top|dmesg|logger|passwd|adduser|deluser|ts_calibrate|busybox|install|rsync|scp|ssh|more|"
        "less|xargs|cut|tr|wc|uname|hostname|id|whoami|free|uptime|which|mknod|losetup|fsck|mkfs|update|start|"
        "stop|make|time|command|if|for|while|case)(?=$|[\\s;])");
    const QRegularExpressionMatch program = programs.match(text);
    const int words = text.count(QRegularExpression("\\s+")) + 1;
    const bool isApart = front.endsWith(' ') || front.endsWith('\t');
    if (text.startsWith(';') || text.startsWith('-') || text.startsWith('#'))
        return isApart ? Behind::Remark : Behind::Unknown;
    const bool hasSign = sign.match(text).hasMatch();
    // These are words of no language, so that no sentence begins with one.
    static const QRegularExpression noWord(
        "^(cp|mv|rm|ln|mkdir|rmdir|chmod|chown|chgrp|umount|killall|pkill|systemctl|dd|insmod|rmmod|modprobe|"
        "hwclock|gunzip|gzip|grep|sed|awk|esac|fi|flash_erase|flashcp|fw_setenv|dpkg|opkg|ifconfig|sh)\\b");
    if (program.hasMatch()) {
        const bool isCommand = hasSign || words == 1 || noWord.match(text).hasMatch()
                               || text.contains(QRegularExpression("\\s[\\w-]*[\\d.][\\w.-]*(\\s|$)"));
        return isCommand ? Behind::Command : Behind::Unknown;
    }
    if (hasSign) {
        const bool beginsWithPath =
            text.contains(QRegularExpression("^[({]?\\s*([~.]{0,2}/|[A-Za-z_]\\w*=)"));
        return beginsWithPath ? Behind::Command : Behind::Unknown;
    }
    // A sentence: some words, apart from the value.
    return isApart && (words > 1 || text.at(0).unicode() >= 0x80 || text.at(0).isUpper()) ? Behind::Remark
                                                                                          : Behind::Unknown;
}
