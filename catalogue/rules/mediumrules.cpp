// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the other files of the medium, and on the medium itself.

#include "common/controller.h"
#include "reading/script.h"
#include "reading/shell.h"
#include "reading/shellcheck.h"
#include "reading/shellsyntax.h"
#include "rules/rules.h"
#include "rules/running.h"

#include "gate/manifest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

namespace
{

constexpr qint64 largestScript = qint64(1024) * 1024; ///< bytes
constexpr int prefixSize = static_cast<int>(sizeof mediumFolder) - 1;

int offsetOfPath(const Use &use)
{
    const DecodedValue &value = use.command->entry->value;
    return value.at.value(qMax(0, value.text.indexOf(use.path)), use.command->entry->valueBegin);
}

void findMissing(const Subject &subject, Collector &findings, bool programs)
{
    for (const Use &use : subject.uses.list) {
        if (!use.script && use.isProgram == programs && use.isMissed)
            findings.add(offsetOfPath(use), QString("The medium has no such file: %1").arg(use.path),
                         "cp YOUR-FILE " + shellWord(subject.medium.local(use.path)));
    }
}

void missingProgram(const Subject &subject, Collector &findings)
{
    findMissing(subject, findings, true);
}

void missingFile(const Subject &subject, Collector &findings)
{
    findMissing(subject, findings, false);
}

void pathCapitals(const Subject &subject, Collector &findings)
{
    for (const Use &use : subject.uses.list) {
        if (use.found.isEmpty() || use.found == use.path.mid(prefixSize)
            || use.path == mediumFolder + use.found || use.found == use.path)
            continue;
        const QString message =
            QString("On the medium it is called %1: this works on a FAT card and fails on others")
                .arg(use.found);
        QString command = use.command->command;
        command.replace(use.path, mediumFolder + use.found);
        if (use.script)
            findings.adviseOther(use.script->path, use.line, message, mediumFolder + use.found);
        else if (command == use.command->command)
            findings.advise(offsetOfPath(use), message, mediumFolder + use.found);
        else
            findings.replace(*use.command->entry, offsetOfPath(use), message,
                             subject.commandLine(*use.command, command));
    }
}

/// Where it is named: in the catalogue, or in a script.
void adviseAt(Collector &findings, const Use &use, const QString &message, const QString &advice)
{
    if (use.script)
        findings.adviseOther(use.script->path, use.line, message, advice);
    else
        findings.advise(offsetOfPath(use), message, advice);
}

/// The start of a file, as much as tells what kind of file it is; nothing of what is no file.
QByteArray startOf(const QString &path)
{
    constexpr qint64 enough = qint64(64) * 1024;
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) ? file.read(enough) : QByteArray();
}

/// A command that runs what is on a card without the right to execute.
QString runnable(const Use &use, const QString &interpreter)
{
    if (!interpreter.isEmpty()) {
        // In front of the program, whatever stands in front of that.
        QString command = use.command->command;
        const int at = qMax(0, command.indexOf(use.path));
        const bool isQuoted = use.command->shell.shell.isEmpty() && at > 0 && command.at(at - 1) == '"';
        return command.insert(isQuoted ? at - 1 : at, interpreter + ' ');
    }
    const QString copy = "/tmp/" + use.path.section('/', -1);
    QString moved = use.command->command;
    moved.replace(use.path, copy);
    return throughShell(QString("cp %1 %2 && chmod 755 %2 && %3").arg(use.path, copy, moved));
}

/// What is known of the right to execute a file of the medium.
enum class Right {
    Signed, ///< a controller that takes signed media only gives it, whatever card it is
    Kept,   ///< the file has it, where its file system keeps that
    None
};

Right rightOf(const Subject &subject, const QString &path)
{
    const QString &root = subject.medium.root;
    if (subject.medium.isToBeSigned)
        return isSignedToBeRun(root, path) ? Right::Signed : Right::None;
    const auto mode = subject.signedFiles.modes.constFind(path);
    if (mode != subject.signedFiles.modes.constEnd())
        return (*mode & 0111U) != 0 ? Right::Signed : Right::None;
    return lacksRightToRun(root, path) ? Right::None : Right::Kept;
}

/// The files of the medium that commands run themselves, and have this right.
void findRun(const Subject &subject, Collector &findings, Right right, const QString &message)
{
    for (const Use &use : subject.uses.list) {
        if (!use.isProgram || !use.interpreter.isEmpty() || use.found.isEmpty()
            || rightOf(subject, use.found) != right)
            continue;
        const QString interpreter = interpreterOf(startOf(subject.medium.root + '/' + use.found));
        if (use.script || !use.command->command.contains(use.path)) {
            adviseAt(findings, use, message, (interpreter.isEmpty() ? "sh" : interpreter) + ' ' + use.path);
            continue;
        }
        findings.replace(*use.command->entry, offsetOfPath(use), message,
                         subject.commandLine(*use.command, runnable(use, interpreter)));
    }
}

void notExecutable(const Subject &subject, Collector &findings)
{
    findRun(subject, findings, Right::None,
            "This file has no right to execute: put an interpreter in front, or give it the right");
}

void fatNotExecutable(const Subject &subject, Collector &findings)
{
    findRun(subject, findings, Right::Kept,
            "A FAT card keeps no right to execute: put an interpreter in front, or copy the program first");
}

/// The kind of program that a file is, when it is none for the interpreter in front of it; empty otherwise.
QString otherKind(const QString &interpreter, const QByteArray &start)
{
    const QString asked = interpreterOf(start);
    const bool isShell = shellWords(interpreter.split(' ')) > 0;
    if (start.startsWith("\x7f"
                         "ELF"))
        return "a program of its own, which no interpreter reads";
    if (isShell && !asked.isEmpty() && shellWords(asked.split(' ')) == 0)
        return "a script for " + asked;
    if (isShell && (start.startsWith("@echo off") || start.startsWith("@ECHO OFF")))
        return "a script of another system";
    if (!isShell && !asked.isEmpty() && shellWords(asked.split(' ')) > 0)
        return "a script for a shell";
    return QString();
}

void wrongInterpreter(const Subject &subject, Collector &findings)
{
    for (const Use &use : subject.uses.list) {
        if (!use.isProgram || use.interpreter.isEmpty() || use.found.isEmpty())
            continue;
        const QByteArray start = startOf(subject.medium.root + '/' + use.found);
        const QString kind = otherKind(use.interpreter, start);
        const QString asked = interpreterOf(start);
        if (!kind.isEmpty())
            adviseAt(
                findings, use, QString("%1 is to read this file, but it is %2").arg(use.interpreter, kind),
                asked.isEmpty() ? QString("the file without %1 in front, from a place where it can be run")
                                      .arg(use.interpreter)
                                : asked + ' ' + use.path);
    }
}

void emptyFile(const Subject &subject, Collector &findings)
{
    QSet<QString> seen;
    for (const Use &use : subject.uses.list) {
        const QFileInfo info(subject.medium.root + '/' + use.found);
        if (!use.isProgram || use.found.isEmpty() || !info.isFile() || info.size() > 0
            || seen.contains(use.found))
            continue;
        seen.insert(use.found);
        adviseAt(findings, use,
                 QString("This file is empty, as after a copy that was cut off: %1").arg(use.path),
                 "the whole file");
    }
}

void kitStepRule(const Subject &subject, Collector &findings)
{
    if (!isKit(subject.medium))
        return;
    for (const CommandEntry &command : subject.commands) {
        if (command.isSkipped || !command.command.contains(QLatin1String("/mnt/upgrade/step")))
            continue;
        for (const Step &step : command.steps) {
            const KitStep kit = kitStep(step.run);
            if (!kit.isStep || kit.wrong.isEmpty())
                continue;
            const DecodedValue &value = command.entry->value;
            findings.advise(
                value.at.value(value.text.indexOf("/mnt/upgrade/step"), command.entry->valueBegin),
                QString("This step is not run, and ends with 125: %1").arg(kit.wrong),
                "sh /mnt/upgrade/step [-a] [-t SECONDS] [-k KIND] [-o VERSION] NAME [COMMAND...]");
        }
    }
}

/// Without the carriage returns at its line ends; nothing where it is too big to be a script.
QVector<Edit> withoutReturns(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > largestScript)
        return {};
    const QByteArray bytes = file.readAll();
    QVector<Edit> edits;
    for (int at = bytes.indexOf("\r\n"); at >= 0; at = bytes.indexOf("\r\n", at + 1))
        edits.append({at, at + 1, ""});
    return edits;
}

void scriptLineEnds(const Subject &subject, Collector &findings)
{
    QSet<QString> seen;
    for (const Use &use : subject.uses.list) {
        const QString path = QDir::cleanPath(subject.medium.root + '/' + use.found);
        if (!use.isProgram || use.found.isEmpty() || seen.contains(path))
            continue;
        seen.insert(path);
        const QByteArray start = startOf(path);
        const bool isScript = !use.interpreter.isEmpty() || !interpreterOf(start).isEmpty();
        if (isScript && start.contains("\r\n"))
            findings.addOther(
                path, "A script with carriage returns at its line ends does not run on the controller",
                "sed -i 's/\\r$//' " + shellWord(path), withoutReturns(path));
    }
}

/// The one that reads it on the controller: what it is handed to, or what its first line asks for.
QString shellFor(const MediumScript &script)
{
    const QString named = script.shell.isEmpty() ? script.asks : baseName(script.shell.section(' ', 0, 0));
    return named == "bash" ? "bash" : "sh";
}

/// A script that stands in a command.
struct ScriptInPlace {
    const CommandEntry *command;
    QString text;
};

QVector<ScriptInPlace> scriptsInPlace(const Subject &subject)
{
    QVector<ScriptInPlace> scripts;
    for (const CommandEntry &command : subject.commands) {
        const QString shell = baseName(command.shell.shell.section(' ', 0, 0));
        if (!QStringList{"sh", "ash", "dash", "busybox"}.contains(shell) || command.split.openQuote)
            continue;
        const CommandLine script = splitCommandLine(command.shell.script);
        if (script.words.size() != 1 || script.bare.contains('\''))
            continue; // what it gets is not the script that was meant, which is told as that
        scripts.append({&command, script.words.first()});
    }
    return scripts;
}

void scriptSyntax(const Subject &subject, Collector &findings)
{
    const QVector<ScriptInPlace> scripts = scriptsInPlace(subject);
    QVector<QByteArray> texts;
    for (const ScriptInPlace &script : scripts)
        texts.append(script.text.toUtf8());
    for (const SyntaxError &error : syntaxErrors("sh", texts, keptOfAKind)) {
        const CommandEntry &command = *scripts.at(error.script).command;
        const DecodedValue &value = command.entry->value;
        findings.advise(value.at.value(value.text.indexOf('@') + 1, command.entry->valueBegin),
                        QString("The shell cannot read this script: %1").arg(error.message),
                        "a script that sh -n takes");
    }
    for (const auto &script : subject.uses.scripts) {
        if (script->bytes.contains('\r'))
            continue; // told as that
        const QString shell = shellFor(*script);
        for (const SyntaxError &error : syntaxErrors(shell.toLatin1(), {script->bytes}, 1)) {
            const bool isForBash = shell == "sh" && script->asks == "bash" && !script->shell.isEmpty()
                                   && syntaxErrors("bash", {script->bytes}, 1).isEmpty();
            findings.adviseOther(
                script->path, error.line,
                isForBash ? QString("It is written for bash, and sh is to read it: %1").arg(error.message)
                          : QString("The shell cannot read this script: %1").arg(error.message),
                isForBash ? "bash in the place of sh, where the controller has it, or what sh knows"
                          : "a script that sh -n takes");
        }
    }
}

/// What a script of one line can have in it of what shellcheck is asked about; most have nothing of it.
bool canBeMistaken(const QString &script)
{
    static const QRegularExpression marks(R"(\[|\(\(|<<<|=\(|\s==?\s|\$\w+=|\{[^{}\s]*,)");
    return marks.match(script).hasMatch();
}

/// A place in a script within a value; the command's where it does not stand there as it is.
int offsetIn(const ScriptInPlace &script, int column)
{
    const DecodedValue &value = script.command->entry->value;
    const int at = value.text.indexOf(script.text);
    const int offset = at < 0 ? value.text.indexOf('@') + 1 : at + column - 1;
    return value.at.value(offset, script.command->entry->valueBegin);
}

void scriptShellcheck(const Subject &subject, Collector &findings)
{
    constexpr int mostInPlace = 50; // so that a long list is not the slower for it
    if (!subject.medium.isForShellcheck)
        return;
    QVector<ShellText> texts;
    QVector<const MediumScript *> scripts;
    QSet<QString> assigned; // by any of them: one can be called by another, or be a part of it
    for (const auto &script : subject.uses.scripts) {
        assigned += script->text.assigned;
        if (script->isKits || script->bytes.contains('\r'))
            continue;
        texts.append({script->bytes, shellFor(*script) == "bash"});
        scripts.append(script.get());
    }
    QVector<ScriptInPlace> inPlace;
    for (const ScriptInPlace &script : scriptsInPlace(subject)) {
        if (inPlace.size() < mostInPlace && canBeMistaken(script.text)) {
            texts.append({script.text.toUtf8(), false});
            inPlace.append(script);
        }
    }
    for (const Remark &remark : remarksOn(texts)) {
        if (remark.code == 2154 && assigned.contains(remark.message.section(' ', 0, 0)))
            continue;
        const QString message = QString("%1 (SC%2)").arg(remark.message).arg(remark.code);
        const QString advice =
            QString("the script otherwise; where it is meant, # shellcheck disable=SC%1 in a line of "
                    "its own above it")
                .arg(remark.code);
        if (remark.text < scripts.size())
            findings.adviseOther(scripts.at(remark.text)->path, remark.line, remark.column, remark.endColumn,
                                 message, advice);
        else
            findings.advise(offsetIn(inPlace.at(remark.text - scripts.size()), remark.column), message,
                            "the script otherwise, or in a file of its own beside zul_install");
    }
}

void missingInScript(const Subject &subject, Collector &findings)
{
    for (const Use &use : subject.uses.list) {
        if (use.script && use.isMissed)
            findings.adviseOther(use.script->path, use.line,
                                 QString("The medium has no such file: %1").arg(use.path),
                                 "cp YOUR-FILE " + shellWord(subject.medium.local(use.path)));
    }
}

/// A path of the medium to which something is written, and its place among the results; where only signed
/// media are taken, that is the one folder that can be written to.
struct Written {
    QString path;
    QString right;
};

QVector<Written> outsideOf(const QString &results, const QStringList &paths)
{
    QVector<Written> found;
    for (const QString &path : paths) {
        const QString below = path.mid(prefixSize);
        if ((path + '/').startsWith(mediumFolder) && !(path + '/').startsWith(results + '/'))
            found.append({path, below.isEmpty() ? results : results + '/' + below});
    }
    return found;
}

/// What a script for a shell says to write to.
QStringList redirections(const QString &script)
{
    static const QRegularExpression redirection(">\\s*[\"']*(/[^\\s\"'`;|&<>()$*?]+)");
    QStringList paths;
    for (auto matches = redirection.globalMatch(script); matches.hasNext();)
        paths.append(matches.next().captured(1));
    paths.removeDuplicates();
    return paths;
}

/// What a command line without a shell writes to.
QStringList writtenWords(const QStringList &words)
{
    const QString program = baseName(words.value(0));
    const QStringList rest = words.mid(1);
    if (QStringList{"cp", "mv", "install"}.contains(program))
        return rest.mid(qMax(1, rest.size() - 1));
    if (program == "dd")
        return QStringList(rest.filter(QRegularExpression("^of="))).replaceInStrings("of=", "");
    return QStringList{"tee", "touch", "mkdir"}.contains(program) ? rest : QStringList();
}

void commandOutsideResults(const Subject &subject, const CommandEntry &command, const QString &results,
                           const QString &message, Collector &findings)
{
    const bool isShell = !command.shell.shell.isEmpty();
    const DecodedValue &value = command.entry->value;
    const QStringList paths =
        isShell ? redirections(command.shell.script) : writtenWords(command.split.words);
    for (const Written &written : outsideOf(results, paths)) {
        // Not the beginning of a longer path.
        const QRegularExpression path(QRegularExpression::escape(written.path) + "(?![^\\s\"'`;|&<>()])");
        const int offset = value.text.lastIndexOf(path);
        findings.replace(*command.entry, value.at.value(qMax(0, offset), command.entry->valueBegin), message,
                         subject.commandLine(command, QString(command.command).replace(path, written.right)));
    }
}

void scriptOutsideResults(const QString &script, const QString &results, const QString &message,
                          Collector &findings)
{
    for (const Written &written : outsideOf(results, redirections(QString::fromUtf8(startOf(script))))) {
        const QString path = QString(written.path).replace('.', "\\.");
        findings.addOther(script, message + ": " + written.path,
                          "sed -i " + shellWord("s|" + path + '|' + written.right + "|g") + ' '
                              + shellWord(script));
    }
}

void outsideResults(const Subject &subject, Collector &findings)
{
    const QString results = QString(mediumFolder) + gate::resultsFolder;
    const QString message = "A controller that takes signed media only lets commands write to " + results
                            + ", and nowhere else on the medium";
    if (!subject.signedFiles.isMeant)
        return;
    for (const CommandEntry &command : subject.commands)
        commandOutsideResults(subject, command, results, message, findings);
    QStringList scripts;
    for (const Use &use : subject.uses.list) {
        if (use.isProgram && !use.found.isEmpty())
            scripts.append(subject.medium.root + '/' + use.found);
    }
    scripts.removeDuplicates();
    for (const QString &script : qAsConst(scripts))
        scriptOutsideResults(script, results, message, findings);
}

void foreignFiles(const Subject &subject, Collector &findings)
{
    static const QRegularExpression names(
        "^(\\._.*|\\.DS_Store|\\.Spotlight-V100|\\.fseventsd|\\.Trashes|\\.Trash-\\d+|__MACOSX|Thumbs\\.db|"
        "desktop\\.ini|System Volume Information|\\$RECYCLE\\.BIN|FOUND\\.\\d{3})$",
        QRegularExpression::CaseInsensitiveOption);
    if (subject.medium.root.isEmpty())
        return;
    for (const QString &folder : {subject.medium.root, subject.medium.root + '/' + installFolder()}) {
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        for (const QFileInfo &info : QDir(folder).entryInfoList(all, QDir::Name)) {
            if (names.match(info.fileName()).hasMatch())
                findings.addOther(
                    info.filePath(), "Left on the medium by another system; the tool has no use for it",
                    QString("rm %1 %2").arg(info.isDir() ? "-r" : "-f", shellWord(info.filePath())));
        }
    }
}

void mountSpace(const Subject &subject, Collector &findings)
{
    const QString folder = subject.medium.mountDirectory;
    if (folder.contains(' '))
        findings.addOther(
            folder, "Mounted on a folder with a blank in its name, the medium is not found and not taken",
            QString(folder).replace(' ', '_'));
}

void mountKind(const Subject &subject, Collector &findings)
{
    const QString folder = subject.medium.mountDirectory;
    if (!folder.isEmpty() && !folder.contains(cardMark) && !folder.contains(driveMark))
        findings.addOther(
            folder,
            "Neither \"mmc\" nor \"sd\" in the folder's name: the operator is asked to unplug a \"storage device\", or "
            "the kind of the medium before",
            folder + "-sd");
}

} // namespace

QVector<Rule> mediumRules()
{
    return {
        {"missing-program", Severity::Error, missingProgram, AsksAuthor, "where the file is"},
        {"missing-file", Severity::Warning, missingFile, AsksAuthor, "where the file is"},
        {"path-capitals", Severity::Warning, pathCapitals, ChangesCommands, nullptr},
        {"not-executable", Severity::Error, notExecutable, ChangesCommands, nullptr},
        {"fat-not-executable", Severity::Warning, fatNotExecutable, ChangesCommands, nullptr},
        {"script-line-ends", Severity::Error, scriptLineEnds, ChangesNothing, "whether it is a script"},
        {"wrong-interpreter", Severity::Error, wrongInterpreter, AsksAuthor, "what the file is"},
        {"empty-file", Severity::Warning, emptyFile, AsksAuthor, "where the whole file is"},
        {"kit-step", Severity::Error, kitStepRule, AsksAuthor, "how the step is meant"},
        {"script-syntax", Severity::Error, scriptSyntax, AsksAuthor, "what the script is to do"},
        {"script-shellcheck", Severity::Warning, scriptShellcheck, AsksAuthor, "what the script is to do"},
        {"missing-in-script", Severity::Warning, missingInScript, AsksAuthor, "where the file is"},
        {"foreign-files", Severity::Warning, foreignFiles, AsksAuthor, "whether it can be removed"},
        {"outside-results", Severity::Note, outsideResults, AsksAuthor, "what reads it there"},
        {"mount-space", Severity::Note, mountSpace, AsksAuthor, "where the controller mounts it"},
        {"mount-kind", Severity::Note, mountKind, AsksAuthor, "where the controller mounts it"},
    };
}
