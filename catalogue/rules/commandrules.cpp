// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the command lines: what the controller runs, for how long, and how it is shown.

#include "common/controller.h"
#include "reading/initext.h"
#include "reading/shell.h"
#include "rules/rules.h"
#include "rules/running.h"

#include <QRegularExpression>

namespace
{

/// Where in the catalogue the n-th character of the entry's text stands.
int offsetOf(const CommandEntry &command, int character)
{
    return command.offset(character - command.commandAt);
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
        putIntoScript(subject, findings, command, command.offset(command.command.size()),
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
            subject.commandLine(command, command.meaning.right != command.command
                                             ? command.meaning.right
                                             : (text.endsWith(".sh") ? "sh " : "env ") + text));
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

constexpr ShellSyntax chains = {
    "(&&|\\|\\||;|(?<![<>])&(?!>))",
    "No shell reads this: one command line runs one program, the rest are its arguments"};

constexpr ShellSyntax redirections = {
    "(\\d?[<>])", "No shell reads this: the redirection is passed to the program as an argument"};

constexpr ShellSyntax variables = {
    "(\\$[A-Za-z0-9_{(?@#*!$]|`)",
    "No shell reads this: the variable is passed to the program as it is written"};

constexpr ShellSyntax patterns = {
    "-i?(?:name|path|wholename)\\s+\\S+(*SKIP)(*FAIL)|" // those of find are its own
    "([*?]|\\[[^\\]\\s]+\\])",
    "No shell reads this: the pattern is passed to the program as it is written"};

constexpr ShellSyntax tildes = {"(?:^|\\s)(~)(?=[/\\w]|\\s|$)",
                                "No shell reads this: \"~\" is passed to the program as it is written"};

/// Has the command do what is meant, whatever else keeps it from that; once it is read as it is written.
void replaceByMeaning(const Subject &subject, Collector &findings, const CommandEntry &command, int at,
                      const QString &message)
{
    if (command.isMisread)
        return;
    const bool isKept = command.meaning.right == command.command;
    if (!command.meaning.isSure || isKept || command.ats > 1) // a second "@" ends it, whatever that is for
        findings.askAuthor();
    findings.replace(*command.entry, command.offset(at), message,
                     subject.commandLine(command, isKept ? throughShell(command.command.trimmed())
                                                         : command.meaning.right));
}

template <const ShellSyntax &Syntax>
void shellSyntax(const Subject &subject, Collector &findings)
{
    const QRegularExpression pattern(Syntax.pattern);
    for (const CommandEntry &command : subject.commands) {
        const QRegularExpressionMatch match = pattern.match(command.meaning.bare);
        if (match.hasMatch())
            replaceByMeaning(subject, findings, command, match.capturedStart(1), Syntax.message);
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
        const QRegularExpressionMatch match = command.meaning.bare.contains('{')
                                                  ? braces.match(command.meaning.bare)
                                                  : QRegularExpressionMatch();
        if (!match.hasMatch() || command.isMisread)
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

template <>
void shellSyntax<variables>(const Subject &subject, Collector &findings)
{
    const QRegularExpression pattern(variables.pattern);
    for (const CommandEntry &command : subject.commands) {
        const QRegularExpressionMatch match = pattern.match(command.meaning.bare);
        if (match.hasMatch() || command.meaning.reason == Meaning::Variable)
            replaceByMeaning(subject, findings, command,
                             match.hasMatch() ? match.capturedStart(1) : command.meaning.at,
                             variables.message);
    }
}

/// Where outside of double quotation marks, and of a script, a single one is.
int singleQuote(const CommandEntry &command)
{
    return command.meaning.bare.indexOf('\'');
}

/// Whether the first thing that only a shell reads is a backslash.
bool isEscape(const CommandEntry &command)
{
    return command.meaning.reason == Meaning::Escape
           || (command.meaning.reason == Meaning::Quoting
               && command.command.mid(command.meaning.at, 1) == QLatin1String("\\"));
}

void shellQuote(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const int single = singleQuote(command);
        if (single >= 0)
            replaceByMeaning(
                subject, findings, command, single,
                "Only double quotation marks keep words together here; this one is part of the argument");
        else if (command.meaning.reason == Meaning::Quoting && !isEscape(command))
            replaceByMeaning(subject, findings, command, command.meaning.at,
                             "Nothing within quotation marks is no argument here");
    }
}

void shellEscape(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (isEscape(command) && singleQuote(command) < 0)
            replaceByMeaning(
                subject, findings, command, command.meaning.at,
                "No shell reads this: the backslash is passed to the program, and keeps nothing together");
    }
}

void shellComment(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.meaning.reason == Meaning::Comment)
            replaceByMeaning(
                subject, findings, command, command.meaning.at,
                "No shell reads this: the comment is passed to the program as arguments; one behind the "
                "closing quotation mark begins with \";\"");
    }
}

void shellScriptSplit(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const QString &script = command.shell.script;
        const QStringList words = splitCommandLine(script).words;
        const bool isQuoted = script.startsWith('"') || script.startsWith('\'');
        if (words.size() < 2 || isQuoted || command.isMisread)
            continue;
        findings.replace(
            *command.entry, commandOffset(command),
            QString("The shell gets \"%1\" as its whole script; quote all of it").arg(words.first()),
            subject.commandLine(command, throughShell(script, command.shell.shell)));
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
        if (others.removeAll(command.entry->key) == 0)
            continue; // the tool does not have it yet
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
    const char *const whatShellReads = "what of it a shell is to read";
    return {
        {"no-at", Severity::Error, noAt, AsksAuthor, "what the name is, and what the command"},
        {"several-at", Severity::Error, severalAt, AsksAuthor, "what the script is to do"},
        {"empty-name", Severity::Warning, emptyName, AsksAuthor, "what the operator is to read"},
        {"empty-command", Severity::Error, emptyCommand, AsksAuthor, "what is to be run"},
        {"shell-pipe", Severity::Error, shellSyntax<pipes>, ChangesCommands, whatShellReads},
        {"shell-chain", Severity::Error, shellSyntax<chains>, ChangesCommands, whatShellReads},
        {"shell-redirect", Severity::Error, shellSyntax<redirections>, ChangesCommands, whatShellReads},
        {"shell-variable", Severity::Warning, shellSyntax<variables>, ChangesCommands, whatShellReads},
        {"shell-glob", Severity::Warning, shellSyntax<patterns>, ChangesCommands, whatShellReads},
        {"shell-tilde", Severity::Warning, shellSyntax<tildes>, ChangesCommands, whatShellReads},
        {"shell-braces", Severity::Warning, shellBraces, AsksAuthor, "whether these are alternatives"},
        {"shell-quote", Severity::Error, shellQuote, ChangesCommands, "what the script is"},
        {"shell-escape", Severity::Error, shellEscape, ChangesCommands, "who is to get the backslash"},
        {"shell-comment", Severity::Error, shellComment, ChangesCommands, whatShellReads},
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
