// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/uses.h"

#include "common/controller.h"
#include "reading/medium.h"
#include "reading/shell.h"
#include "rules/subject.h"

#include "gate/manifest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace
{

constexpr qint64 largestScript = qint64(1024) * 1024; ///< bytes
constexpr int mostScripts = 500;
constexpr int prefixSize = static_cast<int>(sizeof mediumFolder) - 1;
const char kitPath[] = "/mnt/upgrade/step";

bool isPattern(const QString &path)
{
    return path.contains('*') || path.contains('?') || path.contains('[');
}

/// Of a word such as "/a", "if=/a", "--file=/a" or "-f/a", the path; the word itself where there is none.
QString pathIn(const QString &word)
{
    static const QRegularExpression option("^(?:--?[\\w-]+=|\\w+=|-[A-Za-z]+|file://|@)(/.*)$");
    if (word.startsWith('/') || !word.contains('/'))
        return word;
    const QRegularExpressionMatch match = option.match(word);
    return match.hasMatch() ? match.captured(1) : word;
}

/// Programs that read the files that they are given, but for the last one where that is a target.
bool readsItsFiles(const QString &program)
{
    static const QSet<QString> readers = {
        "cat",     "insmod",  "dpkg",     "opkg",      "rpm",       "unzip",        "gunzip",
        "zcat",    "bunzip2", "bzcat",    "unxz",      "xzcat",     "sha256sum",    "sha512sum",
        "sha1sum", "md5sum",  "cksum",    "grep",      "sed",       "awk",          "diff",
        "cmp",     "head",    "tail",     "wc",        "source",    "chmod",        "chown",
        "losetup", "for",     "flashcp",  "nandwrite", "ubiformat", "ubiupdatevol", "fw_setenv",
        "ls",      "mount",   "patch",    "bspatch",   "rauc",      "swupdate",     "loadkeys",
        "aplay",   "fbv",     "openssl",  "gpg",       "gpgv",      "xargs",        "sort",
        "uniq",    "sqlite3", "psql",     "mysql",     "fpgautil",  "dfu-util",     "python3",
        "perl",    "lua",     "apt",      "apt-get",   "pip",       "pip3",         "dtc",
        "cp",      "mv",      "install",  "ln",        "rsync",     "dd",           "tar",
        "gzip",    "xz",      "bmaptool", "fbi",       "file",      "hexdump",      "base64",
        "crontab", "cpio",    "date",     "md5",       "sysctl",    "pv",           "bzip2"};
    return readers.contains(program);
}

bool writesLast(const QString &program)
{
    static const QSet<QString> writers = {"cp", "mv", "install", "ln", "rsync"};
    return writers.contains(program);
}

/// Whether the archive, or what is packed, is made by this.
bool makesArchive(const QString &program, const QStringList &words)
{
    if (program == QLatin1String("tar")) {
        static const QRegularExpression mode("^-?\\w*[cru]\\w*$");
        return mode.match(words.value(1)).hasMatch() || words.contains("--create")
               || std::any_of(words.begin() + 1, words.end(), [](const QString &word) {
                      return word.startsWith('-') && mode.match(word).hasMatch();
                  });
    }
    const bool packs = program == QLatin1String("gzip") || program == QLatin1String("xz")
                       || program == QLatin1String("bzip2");
    return packs && !words.value(1).contains('d');
}

/// An option of any program whose value is a file that it reads.
bool isReadOption(const QString &word)
{
    static const QRegularExpression option(
        "^(--?(file|config|conf|cfg|input|in|from|source|src|image|img|firmware|"
        "script|load|restore|key|cert|package|archive)|if)=|^-[fci]/|^file:///|^@/");
    return option.match(word).hasMatch();
}

/// The same with the value in the next word: options that are long enough to mean nothing else.
bool isReadOptionBefore(const QString &word)
{
    static const QRegularExpression option("^--(file|config|conf|input|source|image|img|firmware|script|"
                                           "upload-file|package|archive)$");
    return option.match(word).hasMatch();
}

/// The words that name files which have to be there already.
QStringList sourcePaths(const Step &step)
{
    QStringList sources;
    for (const QString &input : step.inputs)
        sources.append(step.path(input));
    const bool isReader = readsItsFiles(step.program) && !makesArchive(step.program, step.run);
    const bool isLocal = step.folder.startsWith(QLatin1String("/mnt/upgrade"));
    const QVector<int> files = isLocal ? fileWords(step) : QVector<int>();
    for (int i = 1; i < step.run.size(); ++i) {
        const QString &word = step.run.at(i);
        const bool isFile = word.contains(QLatin1String("/mnt/upgrade")) || files.contains(i);
        const QString &previous = step.run.at(i - 1);
        const bool isFound =
            (step.program == "find" && i == 1) || (step.program == "curl" && previous == "-T");
        if (!isFile || (!isReader && !isFound && !isReadOption(word) && !isReadOptionBefore(previous)))
            continue;
        const bool isTarget =
            word.startsWith("of=") || word.startsWith("--output") || previous == "-o" || previous == "-d"
            || previous == "-t" || previous == "-C" || word.startsWith("-C")
            || (writesLast(step.program) && !step.run.contains("-t") && i == step.run.size() - 1)
            || (step.program == "openssl" && previous != "-in" && previous != "-inkey");
        if (!isTarget)
            sources.append(step.path(pathIn(word)));
    }
    return sources;
}

/// What a step makes on the medium: of a program that nobody knows here, whatever it names.
QStringList targetPaths(const Step &step, const QStringList &sources)
{
    QStringList targets;
    for (const QString &output : step.outputs)
        targets.append(step.path(output));
    static const QSet<QString> makesNothing = {
        "export", "readonly", "local",    "declare", "typeset",  "cd",       "pushd",
        "echo",   "printf",   "test",     "[",       "[[",       "exit",     "set",
        ".",      "source",   "df",       "du",      "sync",     "find",     "for",
        "return", "trap",     "basename", "dirname", "readlink", "realpath", "mountpoint",
        "stat",   "rm",       "chroot",   "umount",  "logger"};
    const int interpreted = scriptWord(step.run);
    if (makesNothing.contains(step.program))
        return targets;
    for (int i = 1; i < step.run.size(); ++i) {
        const QString path = step.path(pathIn(step.run.at(i)));
        if (path.startsWith(QLatin1String("/mnt/upgrade")) && i != interpreted && !sources.contains(path))
            targets.append(path);
    }
    static const QSet<QString> unpack = {"tar", "unzip", "cpio", "unsquashfs"};
    const bool isElsewhere = step.run.contains("-C") || step.run.contains("-d");
    if (unpack.contains(step.program) && !isElsewhere
        && step.folder.startsWith(QLatin1String("/mnt/upgrade")))
        targets.append(step.folder + "/*");
    return targets;
}

/// Follows all that is run from command to script to script.
class Follower
{
public:
    Follower(const Medium &itsMedium, Uses *itsUses)
        : medium(itsMedium)
        , uses(itsUses)
        , files(itsMedium.root)
        , hasKit(isKit(itsMedium))
    {
    }

    void follow(const CommandEntry &command)
    {
        if (command.isSkipped || !command.command.contains(QLatin1String("/mnt/upgrade")))
            return;
        ask(command.shellText.asked);
        for (const Step &step : command.steps)
            look(command, nullptr, step, command.shell.shell.isEmpty());
    }

    void finish()
    {
        for (Use &use : uses->list)
            use.isMissed = use.found.isEmpty() && !isResult(use) && !isMade(use.path);
    }

private:
    void ask(const QStringList &asked)
    {
        for (const QString &path : asked) {
            if (path.startsWith(mediumFolder))
                known.insert(path);
        }
    }

    /// What comes at run time, by this medium or at an earlier run of it; no program does.
    static bool isResult(const Use &use)
    {
        return !use.isProgram
               && (use.path + '/').startsWith(QString(mediumFolder) + gate::resultsFolder + '/');
    }

    /// Whether it, or a folder around it, is made by something, or asked for.
    bool isMade(const QString &path) const
    {
        static const QRegularExpression archive("\\.(tar|tgz|zip|cpio|t?[gx]z|bz2|deb|ipk|rpm)$");
        const bool isPacked = archive.match(path).hasMatch();
        for (QString at = path; at.size() >= prefixSize; at = at.section('/', 0, -2)) {
            if (known.contains(at) || (!isPacked && known.contains(at.section('/', 0, -2) + "/*")))
                return true;
        }
        return false;
    }

    // NOLINTBEGIN(misc-no-recursion): a script calls another one; each is read once, and mostScripts of them
    void look(const CommandEntry &command, const MediumScript *script, const Step &step, bool isBare)
    {
        if (hasKit && step.words.contains(kitPath))
            add(command, script, step, kitPath, true, "sh", isBare);
        lookForProgram(command, script, step, isBare);
        const QStringList sources = sourcePaths(step);
        for (const QString &path : sources) {
            if (!step.isOptional)
                add(command, script, step, path, false, QString(), isBare);
        }
        for (const QString &path : targetPaths(step, sources))
            known.insert(QDir::cleanPath(path));
    }

    void lookForProgram(const CommandEntry &command, const MediumScript *script, const Step &step,
                        bool isBare)
    {
        const QString first = step.run.value(0);
        const bool isSourced = first == QLatin1String(".") || first == QLatin1String("source");
        const int at = isSourced ? 1 : scriptWord(step.run);
        const QString program = at > 0 ? step.run.value(at) : first.contains('/') ? first : QString();
        const QString path = program.isEmpty() ? QString() : step.path(program);
        if (!path.startsWith(mediumFolder))
            return;
        const QString interpreter = isSourced
                                        ? (script ? script->shell : QString("sh"))
                                        : step.run.mid(0, at > 0 ? interpreterWords(step.run) : 0).join(' ');
        const QString found = add(command, script, step, path, true, interpreter, isBare);
        ScriptContext context;
        context.folder = step.folder;
        if (!isSourced) {
            const QStringList arguments = step.run.mid(qMax(at, 0));
            for (int i = 0; i < arguments.size(); ++i) {
                if (!hasShellVariable(arguments.at(i)))
                    context.variables.insert(QString::number(i), {i == 0 ? path : arguments.at(i)});
            }
        }
        if (!found.isEmpty())
            read(command, found, interpreter, context);
    }

    /// Notes the use; what it is called on the medium, empty when it is not there.
    QString add(const CommandEntry &command, const MediumScript *script, const Step &step,
                const QString &named, bool isProgram, const QString &interpreter, bool isBare)
    {
        const QString path = QDir::cleanPath(named);
        if (!path.startsWith(mediumFolder) || hasShellVariable(path) || (isPattern(path) && isBare))
            return QString();
        const QString found = spelled(path.mid(prefixSize));
        uses->list.append({&command, script, step.line, path, isProgram, interpreter, found, false});
        return isPattern(path) ? QString() : found;
    }

    QString spelled(const QString &path)
    {
        if (!isPattern(path))
            return files.spelling(path);
        const QString folder = path.section('/', 0, -2);
        if (isPattern(folder))
            return path; // nobody looks that far
        const QString there = folder.isEmpty() ? QString() : files.spelling(folder);
        if (!folder.isEmpty() && there.isEmpty())
            return QString();
        const auto all = QDir::AllEntries | QDir::NoDotAndDotDot;
        return QDir(medium.root + '/' + there).entryList({path.section('/', -1)}, all).isEmpty() ? QString()
                                                                                                 : path;
    }

    void read(const CommandEntry &command, const QString &found, const QString &interpreter,
              const ScriptContext &context)
    {
        const QString path = QDir::cleanPath(medium.root + '/' + found);
        QFile file(path);
        if (seen.contains(path) || uses->scripts.size() >= mostScripts || !QFileInfo(path).isFile()
            || file.size() > largestScript || !file.open(QIODevice::ReadOnly))
            return;
        seen.insert(path);
        const QByteArray bytes = file.readAll();
        const QString asks = interpreterOf(bytes);
        static const QStringList shells = {"sh", "ash", "dash", "bash", "busybox sh", "busybox ash"};
        const bool isGiven = shellWords(interpreter.split(' ')) > 0;
        if (bytes.contains('\0')
            || !(isGiven ? asks.isEmpty() || shells.contains(asks) : shells.contains(asks)))
            return;
        const auto script = std::make_shared<MediumScript>();
        script->command = &command;
        script->path = path;
        script->bytes = bytes;
        script->shell = interpreter;
        script->asks = asks;
        script->text = readScript(QString::fromUtf8(bytes).remove('\r'), context);
        if (hasKit) {
            for (Step &step : script->text.steps)
                step = withoutKit(step);
        }
        script->isKits = hasKit && found == QLatin1String("step");
        uses->scripts.append(script);
        if (script->isKits)
            return;
        ask(script->text.asked);
        for (const Step &step : script->text.steps)
            look(command, script.get(), step, false);
    }
    // NOLINTEND(misc-no-recursion)

    const Medium &medium;
    Uses *uses;
    SpelledFiles files;
    const bool hasKit;
    QSet<QString> known; ///< made, or asked for
    QSet<QString> seen;  ///< scripts, by their paths here
};

} // namespace

Uses usesOf(const Medium &medium, const QVector<CommandEntry> &commands)
{
    Uses uses;
    if (medium.root.isEmpty())
        return uses;
    Follower follower(medium, &uses);
    for (const CommandEntry &command : commands)
        follower.follow(command);
    follower.finish();
    return uses;
}

bool isKit(const Medium &medium)
{
    constexpr qint64 enough = qint64(64) * 1024;
    if (medium.root.isEmpty())
        return false;
    QFile file(medium.local(kitPath));
    return QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly)
           && file.read(enough).contains("/var/lib/zul_step");
}

KitStep kitStep(const QStringList &words)
{
    static const QRegularExpression number("^\\d+$");
    KitStep kit;
    const int script = scriptWord(words);
    kit.isStep = script > 0 && words.at(script) == QLatin1String(kitPath);
    if (!kit.isStep)
        return kit;
    int at = script + 1;
    bool copies = false;
    for (; at < words.size() && words.at(at).startsWith('-') && words.at(at).size() > 1; ++at) {
        const QString &option = words.at(at);
        if (option == QLatin1String("--")) {
            ++at;
            break;
        }
        for (int i = 1; i < option.size(); ++i) {
            copies = copies || option.at(i) == 'c';
            if (!QString("tkoacm").contains(option.at(i)))
                kit.wrong = QString("-%1 is none of its options").arg(option.at(i));
            if (!QString("tkom").contains(option.at(i)))
                continue;
            const QString value = i + 1 < option.size() ? option.mid(i + 1) : words.value(++at);
            if (value.isEmpty())
                kit.wrong = QString("-%1 has no value").arg(option.at(i));
            else if (option.at(i) == 't' && !number.match(value).hasMatch())
                kit.wrong = QString("\"%1\" are no seconds").arg(value);
            break;
        }
    }
    kit.operands = at;
    const QStringList rest = words.mid(at);
    kit.name = rest.value(0);
    if (copies) {
        kit.command = QStringList("cp") + rest;
        if (rest.size() != 2 && kit.wrong.isEmpty())
            kit.wrong = "-c takes a file and its target";
        return kit;
    }
    if (kit.name.isEmpty() && kit.wrong.isEmpty())
        kit.wrong = "it has no name";
    kit.command =
        rest.size() > 1 ? QStringList(rest.mid(1)) : QStringList{"sh", mediumFolder + kit.name + ".sh"};
    return kit;
}

Step withoutKit(Step step)
{
    const KitStep kit = kitStep(step.run);
    if (!kit.isStep || !kit.wrong.isEmpty())
        return step;
    step.run = withoutWrappers(kit.command);
    step.program = programOf(step.run);
    step.isTimed = true; // it has a limit of its own
    return step;
}

QVector<int> fileWords(const Step &step)
{
    // With the options that have a value of their own; the first operands that are none, and how many there
    // are.
    struct Form {
        QString valueOptions;
        int first;
        int count;
    };
    constexpr int all = 1000;
    static const QHash<QString, Form> forms = {{"cp", {"tS", 0, all}},
                                               {"mv", {"tS", 0, all}},
                                               {"rm", {"", 0, all}},
                                               {"rmdir", {"", 0, all}},
                                               {"mkdir", {"m", 0, all}},
                                               {"touch", {"dtr", 0, all}},
                                               {"cat", {"", 0, all}},
                                               {"insmod", {"", 0, 1}},
                                               {"unzip", {"d", 0, 1}},
                                               {"gunzip", {"", 0, all}},
                                               {"zcat", {"", 0, all}},
                                               {"unxz", {"", 0, all}},
                                               {"xzcat", {"", 0, all}},
                                               {"sha256sum", {"", 0, all}},
                                               {"sha512sum", {"", 0, all}},
                                               {"sha1sum", {"", 0, all}},
                                               {"md5sum", {"", 0, all}},
                                               {"tee", {"", 0, all}},
                                               {"chmod", {"", 1, all}},
                                               {"chown", {"", 1, all}},
                                               {"install", {"mogtS", 0, all}},
                                               {"flashcp", {"", 0, all}},
                                               {"head", {"nc", 0, all}},
                                               {"tail", {"nc", 0, all}},
                                               {"wc", {"", 0, all}},
                                               {"diff", {"", 0, all}},
                                               {"cmp", {"", 0, all}},
                                               {"truncate", {"sr", 0, all}},
                                               {"gzip", {"S", 0, all}},
                                               {"xz", {"", 0, all}},
                                               {".", {"", 0, 1}},
                                               {"source", {"", 0, 1}},
                                               {"patch", {"pd", 0, 1}},
                                               {"nandwrite", {"sb", 1, 1}},
                                               {"ubiformat", {"seOx", 1, 1}},
                                               {"unlink", {"", 0, 1}}};
    QVector<int> found;
    const QStringList &words = step.run;
    if (step.program == QLatin1String("tar")) {
        static const QRegularExpression file("^(?:-\\w*|\\w+)f$");
        for (int i = 1; i + 1 < words.size(); ++i) {
            if ((i == 1 || words.at(i).startsWith('-')) && file.match(words.at(i)).hasMatch())
                return {i + 1};
        }
        return {};
    }
    const bool installs =
        step.program == QLatin1String("dpkg") && (words.contains("-i") || words.contains("--install"));
    const auto form = installs ? forms.constFind("cat") : forms.constFind(step.program);
    if (form == forms.constEnd())
        return found;
    int operands = 0;
    for (int i = 1; i < words.size(); ++i) {
        const QString &word = words.at(i);
        if (word.startsWith('-') && word.size() > 1) {
            if (!word.startsWith("--") && form->valueOptions.contains(word.at(word.size() - 1)))
                ++i;
        } else if (++operands > form->first && operands <= form->first + form->count) {
            found.append(i);
        }
    }
    return found;
}

QString interpreterOf(const QByteArray &start)
{
    static const QRegularExpression firstLine("^#!\\s*(?:/usr/bin/env\\s+)?(\\S+)[ \\t]*(\\S*)");
    const QRegularExpressionMatch match = firstLine.match(QString::fromLatin1(start.left(256)));
    const QString program = match.captured(1).section('/', -1);
    const bool takesTwo = shellWords({program, match.captured(2)}) == 2;
    return takesTwo ? program + ' ' + match.captured(2) : program;
}
