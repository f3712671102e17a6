// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the other files of the medium, and on the medium itself.

#include "common/controller.h"
#include "reading/shell.h"
#include "rules/rules.h"

#include "gate/manifest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace
{

constexpr qint64 largestScript = qint64(1024) * 1024; ///< bytes
constexpr int prefixSize = static_cast<int>(sizeof mediumFolder) - 1;

/// What a command line names on the medium.
struct Use {
    const CommandEntry *command;
    QString path;     ///< on the controller
    bool isProgram;   ///< run itself, or by an interpreter
    bool interpreted; ///< an interpreter stands in front
    QString
        found; ///< on the medium, relative to its folder, as it is spelled there; empty when it is not there
};

/// The number of words at the beginning of a command line that name an interpreter; 0 without one.
int interpreterWords(const QStringList &words)
{
    static const QRegularExpression others("^(?:\\S*/)?(?:python[0-9.]*|perl|lua)$");
    return others.match(words.value(0)).hasMatch() ? 1 : shellWords(words);
}

/// The words that name files which have to be there already.
QStringList sourceWords(const QStringList &words)
{
    const QString program = words.value(0).section('/', -1);
    QStringList sources;
    for (const QString &word : words.mid(1)) {
        if (!word.startsWith('-'))
            sources.append(word);
    }
    if (QStringList{"cp", "mv", "install"}.contains(program))
        return sources.mid(0, qMax(0, sources.size() - 1));
    return QStringList{"cat", "insmod", "dpkg"}.contains(program) ? sources : QStringList();
}

QVector<Use> usesOf(const CommandEntry &command)
{
    QVector<Use> uses;
    if (!command.command.contains(QLatin1String(mediumFolder)))
        return uses;
    const QStringList &words = command.split.words;
    const int interpreter = interpreterWords(words);
    const bool interpreted = interpreter > 0 && !words.value(interpreter).startsWith('-');
    const QString program = words.value(interpreted ? interpreter : 0);
    if (program.startsWith(mediumFolder))
        uses.append({&command, program, true, interpreted, {}});
    for (const QString &word : sourceWords(words)) {
        if (word.startsWith(mediumFolder))
            uses.append({&command, word, false, false, {}});
    }
    return uses;
}

/// All uses by commands that are run; none where the medium is not known.
QVector<Use> usesOf(const Subject &subject)
{
    QVector<Use> uses;
    if (subject.medium.root.isEmpty())
        return uses;
    SpelledFiles files(subject.medium.root);
    for (const CommandEntry &command : subject.commands) {
        if (command.isSkipped)
            continue;
        for (Use use : usesOf(command)) {
            use.found = files.spelling(use.path.mid(prefixSize));
            uses.append(use);
        }
    }
    return uses;
}

int offsetOfPath(const Use &use)
{
    const DecodedValue &value = use.command->entry->value;
    return value.at.value(qMax(0, value.text.indexOf(use.path)), use.command->entry->valueBegin);
}

void findMissing(const Subject &subject, Collector &findings, bool programs)
{
    for (const Use &use : usesOf(subject)) {
        if (use.isProgram != programs || !use.found.isEmpty())
            continue;
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
    for (const Use &use : usesOf(subject)) {
        if (use.found.isEmpty() || use.found == QDir::cleanPath(use.path.mid(prefixSize)))
            continue;
        QString command = use.command->command;
        command.replace(use.path, mediumFolder + use.found);
        findings.replace(
            *use.command->entry, offsetOfPath(use),
            QString("On the medium it is called %1: this works on a FAT card and fails on others")
                .arg(use.found),
            subject.commandLine(*use.command, command));
    }
}

/// The start of a file, as much as tells what kind of file it is; nothing of what is no file.
QByteArray startOf(const QString &path)
{
    constexpr qint64 enough = qint64(64) * 1024;
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) ? file.read(enough) : QByteArray();
}

/// What a script's first line asks for, "sh" or "busybox sh"; empty for anything but a script.
QString interpreterOf(const QByteArray &start)
{
    static const QRegularExpression firstLine("^#!\\s*(?:/usr/bin/env\\s+)?(\\S+)[ \\t]*(\\S*)");
    const QRegularExpressionMatch match = firstLine.match(QString::fromLatin1(start.left(256)));
    const QString program = match.captured(1).section('/', -1);
    const bool takesTwo = shellWords({program, match.captured(2)}) == 2;
    return takesTwo ? program + ' ' + match.captured(2) : program;
}

/// A command that runs what is on a card without the right to execute.
QString runnable(const Use &use, const QString &interpreter)
{
    if (!interpreter.isEmpty())
        return interpreter + ' ' + use.command->command;
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
    for (const Use &use : usesOf(subject)) {
        if (!use.isProgram || use.interpreted || use.found.isEmpty() || rightOf(subject, use.found) != right)
            continue;
        const QString interpreter = interpreterOf(startOf(subject.medium.root + '/' + use.found));
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
    for (const Use &use : usesOf(subject)) {
        const QString path = subject.medium.root + '/' + use.found;
        if (!use.isProgram || use.found.isEmpty() || seen.contains(path))
            continue;
        seen.insert(path);
        const QByteArray start = startOf(path);
        const bool isScript = use.interpreted || !interpreterOf(start).isEmpty();
        if (isScript && start.contains("\r\n"))
            findings.addOther(
                path, "A script with carriage returns at its line ends does not run on the controller",
                "sed -i 's/\\r$//' " + shellWord(path), withoutReturns(path));
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
QStringList targetWords(const QStringList &words)
{
    const QString program = words.value(0).section('/', -1);
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
    const QStringList paths = isShell ? redirections(command.shell.script) : targetWords(command.split.words);
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
    for (const Use &use : usesOf(subject)) {
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
        {"foreign-files", Severity::Warning, foreignFiles, AsksAuthor, "whether it can be removed"},
        {"outside-results", Severity::Note, outsideResults, AsksAuthor, "what reads it there"},
        {"mount-space", Severity::Note, mountSpace, AsksAuthor, "where the controller mounts it"},
        {"mount-kind", Severity::Note, mountKind, AsksAuthor, "where the controller mounts it"},
    };
}
