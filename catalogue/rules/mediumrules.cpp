// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the other files of the medium, and on the medium itself.

#include "common/controller.h"
#include "reading/script.h"
#include "reading/shell.h"
#include "reading/shellsyntax.h"
#include "rules/rules.h"

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

/// Programs that read the files that they are given, but for the last one where that is a target.
bool readsItsFiles(const QString &program)
{
    static const QSet<QString> readers = {
        "cat",       "insmod",    "dpkg",      "opkg",         "rpm",       "unzip",
        "gunzip",    "zcat",      "bunzip2",   "bzcat",        "unxz",      "xzcat",
        "sha256sum", "sha512sum", "sha1sum",   "md5sum",       "cksum",     "grep",
        "sed",       "awk",       "diff",      "cmp",          "head",      "tail",
        "wc",        "source",    ".",         "chmod",        "chown",     "losetup",
        "flashcp",   "nandwrite", "ubiformat", "ubiupdatevol", "fw_setenv", "ls",
        "mount",     "patch",     "bspatch",   "rauc",         "swupdate",  "loadkeys",
        "aplay",     "fbv",       "openssl",   "gpg",          "gpgv",      "xargs",
        "sort",      "uniq",      "sqlite3",   "psql",         "mysql",     "fpgautil",
        "dfu-util",  "python3",   "perl",      "lua",          "apt",       "apt-get",
        "pip",       "pip3",      "dtc",       "cp",           "mv",        "install",
        "ln",        "rsync",     "dd",        "tar",          "gzip",      "xz"};
    return readers.contains(program);
}

bool writesLast(const QString &program)
{
    return QStringList{"cp", "mv", "install", "ln", "rsync"}.contains(program);
}

/// Whether the archive, or what is packed, is made by this.
bool makesArchive(const QString &program, const QStringList &words)
{
    const QString mode = words.value(1);
    if (program == "tar")
        return mode.contains('c') || mode.contains('r') || words.contains("--create");
    const bool packs = program == "gzip" || program == "xz";
    return packs && !mode.contains('d');
}

/// The words that name files which have to be there already.
QStringList sourceWords(const Step &step)
{
    static const QRegularExpression path("/mnt/upgrade/[^\\s\"'=;:,*?$\\[\\]{}]*");
    QStringList sources;
    if (!readsItsFiles(step.program) || makesArchive(step.program, step.run))
        return sources;
    for (int i = 1; i < step.run.size(); ++i) {
        const QString &word = step.run.at(i);
        const QRegularExpressionMatch match = path.match(word);
        const bool isTarget =
            word.startsWith("of=") || word.startsWith("--output") || step.run.at(i - 1) == "-o"
            || (writesLast(step.program) && i == step.run.size() - 1)
            || (step.program == "openssl" && step.run.at(i - 1) != "-in" && step.run.at(i - 1) != "-inkey");
        if (!isTarget && match.hasMatch() && match.capturedEnd() == word.size())
            sources.append(match.captured());
    }
    return sources;
}

/// What a step makes on the medium: of a program that nobody knows here, whatever it names.
QStringList targetWords(const Step &step)
{
    QStringList targets = step.outputs;
    const QStringList sources = sourceWords(step);
    const int interpreter = interpreterWords(step.run);
    for (int i = 1; i < step.run.size(); ++i) {
        const QString &word = step.run.at(i);
        const int at = word.indexOf(QLatin1String(mediumFolder));
        if (at >= 0 && !sources.contains(word.mid(at)) && (interpreter == 0 || i != interpreter))
            targets.append(word.mid(at));
    }
    return targets;
}

QVector<Use> usesOf(const CommandEntry &command)
{
    QVector<Use> uses;
    if (!command.command.contains(QLatin1String(mediumFolder)))
        return uses;
    for (const Step &step : command.steps) {
        const int interpreter = interpreterWords(step.run);
        const bool interpreted = interpreter > 0 && !step.run.value(interpreter).startsWith('-');
        const QString program = step.run.value(interpreted ? interpreter : 0);
        const bool isPlain = !program.contains('$') && !program.contains('*');
        if (program.startsWith(mediumFolder) && isPlain)
            uses.append({&command, program, true, interpreted, {}});
        for (const QString &word : sourceWords(step)) {
            if (word != program)
                uses.append({&command, word, false, false, {}});
        }
    }
    return uses;
}

/// What the commands make on the medium themselves, and need not be there before.
QSet<QString> madeByCommands(const Subject &subject)
{
    QSet<QString> made;
    for (const CommandEntry &command : subject.commands) {
        if (!command.command.contains(QLatin1String(mediumFolder)))
            continue;
        for (const Step &step : command.steps) {
            for (const QString &path : targetWords(step))
                made.insert(path);
        }
    }
    return made;
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
    const QSet<QString> made = madeByCommands(subject);
    for (const Use &use : usesOf(subject)) {
        if (use.isProgram != programs || !use.found.isEmpty() || made.contains(use.path))
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

/// Scripts for a shell on the medium, each once, by their paths here.
QMap<QString, QByteArray> shellScripts(const Subject &subject)
{
    QMap<QString, QByteArray> scripts;
    for (const Use &use : usesOf(subject)) {
        const QString path = subject.medium.root + '/' + use.found;
        if (!use.isProgram || use.found.isEmpty() || scripts.contains(path))
            continue;
        QFile file(path);
        if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > largestScript)
            continue;
        const QByteArray text = file.readAll();
        const QString interpreter = interpreterOf(text);
        const bool isForShell =
            interpreter.isEmpty()
                ? use.interpreted && shellWords(use.command->split.words) > 0
                : QStringList{"sh", "ash", "dash", "bash", "busybox sh"}.contains(interpreter);
        if (isForShell && !text.contains('\0') && !text.contains('\r'))
            scripts.insert(path, text);
    }
    return scripts;
}

/// The one that can read it: what is written for a bash, a bash.
QByteArray shellFor(const QByteArray &script)
{
    return interpreterOf(script) == "bash" ? "bash" : "sh";
}

void scriptSyntax(const Subject &subject, Collector &findings)
{
    QVector<QByteArray> texts;
    QVector<const CommandEntry *> commands;
    for (const CommandEntry &command : subject.commands) {
        const QString shell = command.shell.shell.section(' ', 0, 0).section('/', -1);
        if (!QStringList{"sh", "ash", "dash", "busybox"}.contains(shell) || command.split.openQuote)
            continue;
        const CommandLine script = splitCommandLine(command.shell.script);
        if (script.words.size() != 1 || script.bare.contains('\''))
            continue; // what it gets is not the script that was meant, which is told as that
        texts.append(script.words.first().toUtf8());
        commands.append(&command);
    }
    for (const SyntaxError &error : syntaxErrors("sh", texts, keptOfAKind)) {
        const CommandEntry &command = *commands.at(error.script);
        const DecodedValue &value = command.entry->value;
        findings.advise(value.at.value(value.text.indexOf('@') + 1, command.entry->valueBegin),
                        QString("The shell cannot read this script: %1").arg(error.message),
                        "a script that sh -n takes");
    }
    const QMap<QString, QByteArray> scripts = shellScripts(subject);
    for (auto script = scripts.begin(); script != scripts.end(); ++script) {
        for (const SyntaxError &error : syntaxErrors(shellFor(*script), {*script}, 1))
            findings.adviseOther(script.key(), error.line,
                                 QString("The shell cannot read this script: %1").arg(error.message),
                                 "a script that sh -n takes");
    }
}

void missingInScript(const Subject &subject, Collector &findings)
{
    const QMap<QString, QByteArray> scripts = shellScripts(subject);
    SpelledFiles files(subject.medium.root);
    for (auto script = scripts.begin(); script != scripts.end(); ++script) {
        const QVector<Step> steps = stepsOf(QString::fromUtf8(*script));
        QSet<QString> made;
        for (const Step &step : steps) {
            for (const QString &path : targetWords(step))
                made.insert(path);
        }
        for (const Step &step : steps) {
            QStringList words = sourceWords(step);
            const int interpreter = interpreterWords(step.run);
            if (step.run.value(interpreter).startsWith(mediumFolder))
                words.prepend(step.run.value(interpreter));
            for (const QString &path : qAsConst(words)) {
                const bool isPlain = !path.contains('$') && !path.contains('*');
                if (isPlain && !made.contains(path) && files.spelling(path.mid(prefixSize)).isEmpty())
                    findings.adviseOther(script.key(), step.line,
                                         QString("The medium has no such file: %1").arg(path),
                                         "cp YOUR-FILE " + shellWord(subject.medium.local(path)));
            }
        }
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
        {"script-syntax", Severity::Error, scriptSyntax, AsksAuthor, "what the script is to do"},
        {"missing-in-script", Severity::Warning, missingInScript, AsksAuthor, "where the file is"},
        {"foreign-files", Severity::Warning, foreignFiles, AsksAuthor, "whether it can be removed"},
        {"outside-results", Severity::Note, outsideResults, AsksAuthor, "what reads it there"},
        {"mount-space", Severity::Note, mountSpace, AsksAuthor, "where the controller mounts it"},
        {"mount-kind", Severity::Note, mountKind, AsksAuthor, "where the controller mounts it"},
    };
}
