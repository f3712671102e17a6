// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A command line, as zul_catalogue takes it apart and as it is run: the words are those that QProcess starts
// a program with, and what is said to be skipped or to calibrate is what the worker skips, and hides the page
// for.

#include "common/target.h"
#include "reading/commandline.h"
#include "reading/shell.h"
#include "window/isolation.h"
#include "window/verdict.h"
#include "windowmembers.h"

#include <QProcess>
#include <QStringList>

namespace
{

/// What is different, in one line whatever is in it.
QString told(const QString &what, const QString &line, const QStringList &ours = {},
             const QStringList &theirs = {})
{
    const auto shown = [](const QString &text) { return text.toUtf8().toPercentEncoding(" \"'@()[]|,;=/"); };
    return QString("%1: line [%2], the checker's [%3], the tool's [%4]")
        .arg(what, shown(line), shown(ours.join('|')), shown(theirs.join('|')));
}

// --- Words ----------------------------------------------------------------------------------------------

void compareWords(const QString &line, const QStringList &words)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
    const QStringList theirs = QProcess::splitCommand(line);
    MUST(words == theirs, told("the words", line, words, theirs));
#else
    Q_UNUSED(line)
    Q_UNUSED(words)
#endif
}

/// Behind an open quotation mark a blank separates nothing.
void compareQuotes(const QString &line, const CommandLine &split)
{
    const bool separates = splitCommandLine(line + " z").words.last() == "z";
    MUST(split.openQuote == !separates, told("whether a quotation mark is open", line));
    MUST(split.bare.size() == line.size(),
         told("the length of what is outside the quotation marks", line, {split.bare}));
    for (int i = 0; i < line.size(); ++i)
        MUST(split.bare.at(i) == line.at(i) || split.bare.at(i) == 'x',
             told("what is outside the quotation marks", line, {split.bare}));
    MUST(!split.bare.contains('"'), told("a quotation mark outside the quotation marks", line, {split.bare}));
}

/// What a finding proposes reaches the shell whole, whatever is in the script.
void wrapForShell(const QString &script)
{
    if (script.isEmpty())
        return; // two marks with nothing in them are no word
    for (const QString &shell : {QString("sh -c"), QString("busybox sh -ec")}) {
        const QString line = throughShell(script, shell);
        const QStringList words = shell.split(' ') << script;
        MUST(splitCommandLine(line).words == words,
             told("a script for a shell", line, splitCommandLine(line).words, words));
        compareWords(line, words);
        MUST(shellCall(line).shell == shell,
             told("the shell of a script", line, {shellCall(line).shell}, {shell}));
    }
}

void takeShellApart(const QString &line, const QStringList &words)
{
    const ShellCall call = shellCall(line);
    if (call.shell.isEmpty())
        return;
    MUST(!call.script.isEmpty() && line.startsWith(call.shell) && line.endsWith(call.script),
         told("a shell and its script", line, {call.shell, call.script}));
    MUST(shellWords(words) > 0, told("a shell that is none", line, {call.shell}));
}

// --- The worker -----------------------------------------------------------------------------------------

/// What a batch of this one line does: "run LINE", "hide", "show".
QStringList eventsOf(const QString &line, int exitCode, _system_CMD *record)
{
    QStringList events;
    myThread worker;
    QObject::connect(&worker, &myThread::signaltsCalibrate, &worker,
                     [&events](bool shown) { events += shown ? "show" : "hide"; });
    QVector<_system_CMD> list{{"Name", line, false, 0}};
    worker.setSyscmd(&list);
    rehearseCommands([&](const QString &started) {
        events += "run " + started;
        return exitCode;
    });
    runBatchOf(worker);
    rehearseCommands(Rehearsal());
    *record = list.first();
    return events;
}

/// As the manual has it: what contains "sh" is run only with an argument, what is empty never.
bool hasSomethingToRun(const QString &line)
{
    const QString arguments = line.mid(line.indexOf(' '));
    const bool hasArgument = line.contains(' ') && arguments.count(' ') < arguments.size();
    return line.contains("sh") ? hasArgument : !line.isEmpty();
}

void compareWorker(const QString &line, int exitCode)
{
    _system_CMD record;
    const QStringList events = eventsOf(line, exitCode, &record);
    const bool calibrates = line == "ts_calibrate" || line.contains("TSTAPP");
    QStringList expected;
    if (calibrates)
        expected += "hide";
    if (!isSkipped(line))
        expected += "run " + line;
    if (calibrates && !isSkipped(line))
        expected += "show";
    MUST(events == expected, told("what the worker does", line, expected, events));
    MUST(isSkipped(line) != hasSomethingToRun(line), told("whether it is skipped", line));
    MUST(myThread::isCalibration(line) == calibrates, told("whether it calibrates", line));
    MUST(record.name == "Name" && record.cmd == line && record.state == 2, told("the worker's record", line));
    MUST(record.succeed == (!isSkipped(line) && exitCode == 0), told("the outcome", line));
}

} // namespace

void fuzz(const QByteArray &input)
{
    requireIsolation();
    const QString line = QString::fromUtf8(input);
    const CommandLine split = splitCommandLine(line);
    compareWords(line, split.words);
    compareQuotes(line, split);
    wrapForShell(line);
    takeShellApart(line, split.words);
    compareWorker(line, input.size() % 2);
}
