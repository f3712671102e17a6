// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the command lines: what the controller runs, for how long, and how it is shown.

#include "common/controller.h"
#include "reading/initext.h"
#include "reading/shell.h"
#include "rules/rules.h"

#include <QRegularExpression>

namespace
{

QString baseName(const QString &program)
{
    return program.section('/', -1);
}

/// Where in the catalogue the n-th character of the entry's text stands.
int offsetOf(const CommandEntry &command, int character)
{
    const QVector<int> &at = command.entry->value.at;
    return at.value(qMin(character, at.size() - 1), command.entry->valueBegin);
}

int commandOffset(const CommandEntry &command)
{
    return offsetOf(command, command.entry->value.text.indexOf('@') + 1);
}

/// A script on the medium for what this command cannot say. It is named after the key, as far as that is one
/// word and leaves the command short enough to be shown.
QString scriptFor(const Subject &subject, const CommandEntry &command)
{
    static const QRegularExpression noLetters("[^\\w.-]");
    QString name = QString(command.entry->key).replace(noLetters, "_");
    while (name.size() > 1 && !subject.screen.fitsDetails(QString("sh %1%2.sh").arg(mediumFolder, name)))
        name.chop(1);
    return mediumFolder + name + ".sh";
}

/// Has the author put the command into that script. The line that runs it is right only once it is there.
void putIntoScript(const Subject &subject, Collector &findings, const CommandEntry &command, int offset,
                   const QString &message)
{
    if (!findings.hasRoom()) {
        findings.advise(offset, message, QString());
        return;
    }
    const QString script = scriptFor(subject, command);
    const QString line = subject.commandLine(command, "sh " + script);
    if (subject.hasFile(script))
        findings.replace(*command.entry, offset, message, line);
    else
        findings.advise(offset, message,
                        QString("put it into a script, %1 on the medium, and write %2")
                            .arg(script.mid(static_cast<int>(sizeof mediumFolder) - 1), line));
}

// --- Name and command -----------------------------------------------------------------------------------

void noAt(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        // One of another keyboard is told as that.
        const auto isWritten = [&command] {
            return command.name.normalized(QString::NormalizationForm_KC).contains('@');
        };
        if (command.ats == 0 && !isWritten())
            findings.replace(
                *command.entry, offsetOf(command, 0),
                "Without \"@\" all of this is the name, and nothing is run",
                subject.line(*command.entry, subject.nameFor(*command.entry) + '@' + command.name));
    }
}

void severalAt(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.ats < 2)
            continue;
        const QString &text = command.entry->value.text;
        putIntoScript(subject, findings, command, offsetOf(command, text.indexOf('@', text.indexOf('@') + 1)),
                      "The second \"@\" ends the command; put a command with \"@\" into a script");
    }
}

void emptyName(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.name.trimmed().isEmpty())
            findings.replace(
                *command.entry, offsetOf(command, 0), "Nothing before \"@\": the operator sees an empty row",
                subject.line(*command.entry, subject.nameFor(*command.entry) + '@' + command.command));
    }
}

void emptyCommand(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.ats > 0 && command.command.trimmed().isEmpty())
            findings.replace(*command.entry, commandOffset(command),
                             "Nothing behind \"@\": there is nothing to run",
                             subject.commandLine(command, "COMMAND"));
    }
}

void singleWordSh(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const QString text = command.command.trimmed();
        if (text.isEmpty() || !command.isSkipped)
            continue;
        if (shellWords({text}) > 0)
            findings.askAuthor(); // what it would run, it would ask for
        findings.replace(
            *command.entry, commandOffset(command),
            "A command that contains \"sh\" and has no argument is never run, only marked completed",
            subject.commandLine(command, (text.endsWith(".sh") ? "sh " : "env ") + text));
    }
}

// --- Shell syntax ---------------------------------------------------------------------------------------

/// What only a shell would understand.
struct ShellSyntax {
    const char *pattern; ///< its first group begins where the finding is
    const char *message;
};

constexpr ShellSyntax pipes = {"(?<!\\|)(\\|)(?!\\|)",
                               "No shell reads this: the pipe is passed to the program as an argument"};

// A ";" of its own at the end belongs to find's -exec, which needs no shell.
constexpr ShellSyntax chains = {
    "(&&|\\|\\||;(?!\\s*$)|(?<!\\s);|(?<=\\s)&(?=\\s|$))",
    "No shell reads this: one command line runs one program, the rest are its arguments"};

constexpr ShellSyntax redirections = {
    "(\\d?[<>])", "No shell reads this: the redirection is passed to the program as an argument"};

constexpr ShellSyntax variables = {
    "(\\$[A-Za-z0-9_{(?@#*!$]|`)",
    "No shell reads this: the variable is passed to the program as it is written"};

constexpr ShellSyntax patterns = {
    "([*?]|\\[[^\\]\\s]+\\])", "No shell reads this: the pattern is passed to the program as it is written"};

constexpr ShellSyntax tildes = {"(?:^|\\s)(~)(?=[/\\w]|\\s|$)",
                                "No shell reads this: \"~\" is passed to the program as it is written"};

template <const ShellSyntax &Syntax>
void shellSyntax(const Subject &subject, Collector &findings)
{
    const QRegularExpression pattern(Syntax.pattern);
    for (const CommandEntry &command : subject.commands) {
        const QRegularExpressionMatch match = pattern.match(command.bare);
        if (match.hasMatch())
            findings.replace(*command.entry, commandOffset(command) + match.capturedStart(1), Syntax.message,
                             subject.commandLine(command, throughShell(command.command)));
    }
}

/// The alternatives of "a{b,c}d", written out; the word itself where they are none, or are more than that.
QString writtenOut(const QString &word)
{
    static const QRegularExpression braces("^([^{}]*)\\{([^{}]*,[^{}]*)\\}([^{}]*)$");
    const QRegularExpressionMatch match = braces.match(word);
    QStringList all;
    for (const QString &one : match.captured(2).split(','))
        all.append(match.captured(1) + one + match.captured(3));
    return match.hasMatch() ? all.join(' ') : word;
}

void shellBraces(const Subject &subject, Collector &findings)
{
    static const QRegularExpression braces("\\S*\\{[^{}\\s]*(?:,|\\.\\.)[^{}\\s]*\\}\\S*");
    for (const CommandEntry &command : subject.commands) {
        const QRegularExpressionMatch match =
            command.bare.contains('{') ? braces.match(command.bare) : QRegularExpressionMatch();
        if (!match.hasMatch())
            continue;
        const QString message =
            "No shell reads this, and sh would not know them either: the braces are passed to the program";
        const QString word = command.command.mid(match.capturedStart(), match.capturedLength());
        if (writtenOut(word) == word)
            findings.advise(commandOffset(command) + match.capturedStart(), message,
                            "each of them written out");
        else
            findings.replace(
                *command.entry, commandOffset(command) + match.capturedStart(), message,
                subject.commandLine(
                    command,
                    QString(command.command).replace(match.capturedStart(), word.size(), writtenOut(word))));
    }
}

void shellComment(const Subject &subject, Collector &findings)
{
    static const QRegularExpression comment("\\s+#\\s");
    for (const CommandEntry &command : subject.commands) {
        const int at = command.bare.contains('#') ? command.bare.indexOf(comment) : -1;
        if (at > 0)
            findings.replace(
                *command.entry, commandOffset(command) + command.bare.indexOf('#', at),
                "No shell reads this: the comment is passed to the program as arguments; one behind the "
                "closing quotation mark begins with \";\"",
                subject.commandLine(command, command.command.left(at)));
    }
}

void shellEscape(const Subject &subject, Collector &findings)
{
    static const QRegularExpression escape("\\\\(?=[\\s;()&|*?$<>'#{}!]|$)");
    for (const CommandEntry &command : subject.commands) {
        const int at = command.bare.contains('\\') ? command.bare.indexOf(escape) : -1;
        if (at < 0)
            continue;
        const QString message =
            "No shell reads this: the backslash is passed to the program, and keeps nothing together";
        const bool isBlank = at + 1 < command.command.size() && command.command.at(at + 1) == ' ';
        static const QRegularExpression whole("\\S*(?:\\\\ \\S*)+");
        const QRegularExpressionMatch word = whole.match(command.command);
        const bool isOne = isBlank && word.hasMatch() && !word.captured().contains('"') && at > 0
                           && !command.command.at(at - 1).isSpace();
        if (isOne)
            findings.replace(
                *command.entry, commandOffset(command) + at, message,
                subject.commandLine(command, QString(command.command)
                                                 .replace(word.capturedStart(), word.capturedLength(),
                                                          '"' + word.captured().replace("\\ ", " ") + '"')));
        else
            findings.advise(commandOffset(command) + at, message,
                            "double quotation marks around what belongs together, and no backslash");
    }
}

int singleQuote(const CommandEntry &command)
{
    return command.split.bare.indexOf('\'');
}

/// The command as it was meant: what is in the place of a shell's script as its script, everything else as
/// one.
QString rightScript(const CommandEntry &command, const QString &script)
{
    return command.shell.shell.isEmpty() ? throughShell(command.command)
                                         : throughShell(script, command.shell.shell);
}

void shellQuote(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (singleQuote(command) < 0)
            continue;
        const QString &script = command.shell.script;
        const bool isQuoted = script.size() > 1 && script.startsWith('\'') && script.endsWith('\'');
        findings.replace(
            *command.entry, commandOffset(command) + singleQuote(command),
            "Only double quotation marks keep words together here; this one is part of the argument",
            subject.commandLine(command,
                                rightScript(command, isQuoted ? script.mid(1, script.size() - 2) : script)));
    }
}

void shellScriptSplit(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const QStringList words = splitCommandLine(command.shell.script).words;
        const bool split = words.size() > 1 && !words.first().contains(' ');
        const bool eaten = bareQuotes(subject.file, *command.entry).size() > 2;
        if (!split || eaten || singleQuote(command) >= 0)
            continue;
        findings.replace(
            *command.entry, commandOffset(command),
            QString("The shell gets \"%1\" as its whole script; quote all of it").arg(words.first()),
            subject.commandLine(command, rightScript(command, command.shell.script)));
    }
}

void unbalancedCommandQuotes(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.split.openQuote)
            findings.replace(
                *command.entry, commandOffset(command) + command.command.lastIndexOf('"'),
                "This quotation mark in the command is not closed: everything behind it is one argument",
                subject.commandLine(command, command.command + '"'));
    }
}

// --- End and duration -----------------------------------------------------------------------------------

void ownSyncReboot(const Subject &subject, Collector &findings)
{
    if (subject.verdict.closing.isEmpty())
        return;
    for (const CommandEntry &command : subject.commands) {
        const QStringList &words = command.split.words;
        const QString program = words.isEmpty() ? QString() : baseName(words.first());
        if (program != "sync" && program != "reboot")
            continue;
        QStringList others = subject.meantItems();
        others.removeAll(command.entry->key);
        findings.replace(
            subject.list->begin, subject.list->end, commandOffset(command),
            QString("Every batch ends with \"sync\" and \"reboot\" already, because of ENDGAME%1")
                .arg(program == "reboot" ? "; this one would cut it short" : ""),
            others.isEmpty() ? "ENDGAME=false" : subject.listLine(others));
    }
}

/// The least time that a command takes: the tool's pause before it, and what it sleeps by its own words.
double leastSeconds(const QString &command)
{
    static const QRegularExpression pause("\\bsleep\\s+(\\d+(?:\\.\\d+)?)([smhd]?)");
    const QMap<QString, double> units = {{"", 1}, {"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};
    double seconds = settleSeconds;
    for (auto pauses = pause.globalMatch(command); pauses.hasNext();) {
        const QRegularExpressionMatch match = pauses.next();
        seconds += match.captured(1).toDouble() * units.value(match.captured(2));
    }
    return seconds;
}

void outlastsCountdown(const Subject &subject, Collector &findings)
{
    if (subject.verdict.mode != Verdict::Selection || !subject.list)
        return;
    double seconds = 1.0 * settleSeconds * subject.verdict.closing.size();
    for (const CommandEntry &command : subject.commands)
        seconds += leastSeconds(command.command);
    if (seconds < countdownSeconds)
        return;
    findings.replace(
        *subject.list, subject.list->begin,
        QString("All of it together takes at least %1 seconds, but the countdown reboots after %2, "
                "in the middle of a command; direct mode has no countdown")
            .arg(seconds, 0, 'f', 0)
            .arg(countdownSeconds),
        iniLine("CMD_Type", subject.itemTexts().join(',')));
}

// --- How it is shown ------------------------------------------------------------------------------------

bool fitsList(const Subject &subject, const QString &name)
{
    const bool scrolls = subject.verdict.operations.size() > subject.screen.listRows();
    return subject.verdict.mode != Verdict::Selection || subject.screen.fitsList(name, scrolls);
}

/// The longest beginning of the name that fits both the list and the table.
QString shortened(const Subject &subject, const QString &name)
{
    int enough = 0;
    int tooMany = name.size();
    while (tooMany - enough > 1) {
        const int middle = (enough + tooMany) / 2;
        const QString beginning = name.left(middle);
        (fitsList(subject, beginning) && subject.screen.fitsTable(beginning) ? enough : tooMany) = middle;
    }
    return name.left(enough).trimmed();
}

void addLongName(const Subject &subject, Collector &findings, const CommandEntry &command,
                 const QString &where)
{
    QString name = findings.hasRoom() ? shortened(subject, command.name) : QString();
    if (name.isEmpty())
        name = "NAME"; // there was nothing but blanks at the front
    findings.replace(*command.entry, offsetOf(command, 0), "This name is wider than " + where,
                     subject.line(*command.entry, name + '@' + command.command));
}

void nameTooLongList(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (!fitsList(subject, command.name))
            addLongName(subject, findings, command,
                        "the operations list, and than its column of the status table");
    }
}

void nameTooLongTable(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (fitsList(subject, command.name) && !subject.screen.fitsTable(command.name))
            addLongName(subject, findings, command, "its column of the status table");
    }
}

void commandTooLong(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (!subject.screen.fitsDetails(command.command))
            putIntoScript(subject, findings, command, commandOffset(command),
                          "This command is wider than the details column; it runs, but is not shown whole");
    }
}

} // namespace

QVector<Rule> commandRules()
{
    return {
        {"no-at", Severity::Error, noAt, AsksAuthor, "what the name is, and what the command"},
        {"several-at", Severity::Error, severalAt, AsksAuthor, "what the script is to do"},
        {"empty-name", Severity::Warning, emptyName, AsksAuthor, "what the operator is to read"},
        {"empty-command", Severity::Error, emptyCommand, AsksAuthor, "what is to be run"},
        {"shell-pipe", Severity::Error, shellSyntax<pipes>, ChangesCommands, nullptr},
        {"shell-chain", Severity::Error, shellSyntax<chains>, ChangesCommands, nullptr},
        {"shell-redirect", Severity::Error, shellSyntax<redirections>, ChangesCommands, nullptr},
        {"shell-variable", Severity::Warning, shellSyntax<variables>, ChangesCommands, nullptr},
        {"shell-glob", Severity::Warning, shellSyntax<patterns>, ChangesCommands, nullptr},
        {"shell-tilde", Severity::Warning, shellSyntax<tildes>, ChangesCommands, nullptr},
        {"shell-braces", Severity::Warning, shellBraces, AsksAuthor, "whether these are alternatives"},
        {"shell-comment", Severity::Error, shellComment, AsksAuthor, "whether it is a comment"},
        {"shell-escape", Severity::Error, shellEscape, AsksAuthor, "what belongs together"},
        {"shell-quote", Severity::Error, shellQuote, ChangesCommands, nullptr},
        {"shell-script-split", Severity::Error, shellScriptSplit, ChangesCommands, nullptr},
        {"single-word-sh", Severity::Error, singleWordSh, ChangesCommands, "what the shell is to run"},
        {"unbalanced-command-quotes", Severity::Error, unbalancedCommandQuotes, AsksAuthor,
         "where the argument ends"},
        {"own-sync-reboot", Severity::Warning, ownSyncReboot, AsksAuthor, "whether it is to be offered"},
        {"outlasts-countdown", Severity::Warning, outlastsCountdown, AsksAuthor, "how long it may take"},
        {"name-too-long-list", Severity::Warning, nameTooLongList, AsksAuthor,
         "what the operator is to read"},
        {"name-too-long-table", Severity::Warning, nameTooLongTable, AsksAuthor,
         "what the operator is to read"},
        {"command-too-long", Severity::Note, commandTooLong, AsksAuthor, "what the script is to do"},
    };
}
