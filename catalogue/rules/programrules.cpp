// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the programs that a command runs, itself or by a shell: those that no controller has, those
// that never end, and those that pull the ground from under the tool or its operator.

#include "common/controller.h"
#include "rules/rules.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

QString baseName(const QString &program)
{
    return program.mid(program.lastIndexOf('/') + 1);
}

int commandOffset(const CommandEntry &command, const QString &what = QString())
{
    const DecodedValue &value = command.entry->value;
    const int sign = value.text.indexOf('@') + 1;
    const int at = what.isEmpty() ? sign : qMax(sign, value.text.indexOf(what, sign));
    return value.at.value(qMin(at, value.at.size() - 1), command.entry->valueBegin);
}

/// Arguments that are no options.
QStringList operands(const QStringList &words)
{
    QStringList found;
    for (const QString &word : words.mid(1)) {
        if (!word.startsWith('-') || word == "-")
            found.append(word);
    }
    return found;
}

/// Whether one of these options is there, by itself or among other letters.
bool hasOption(const QStringList &words, const QString &letters, const QStringList &names = {})
{
    return std::any_of(words.begin() + qMin(1, words.size()), words.end(), [&](const QString &word) {
        const bool isShort = word.startsWith('-') && !word.startsWith("--");
        const auto isOne = [&letters](QChar letter) { return letters.contains(letter); };
        return (isShort && std::any_of(word.begin() + 1, word.end(), isOne))
               || names.contains(word.section('=', 0, 0));
    });
}

/// Asks `isFound` of every program of these names, and of whatever is redirected, and tells of the first one
/// that a command runs.
template <typename Question, typename Tell>
void forEach(const Subject &subject, const QSet<QString> &programs, Question isFound, Tell tell)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.isSkipped)
            continue;
        for (const Step &step : command.steps) {
            const bool isOne = programs.contains(step.program) || !step.outputs.isEmpty();
            if (isOne && !step.run.isEmpty() && isFound(step.run, step)) {
                tell(command, step.run);
                break;
            }
        }
    }
}

// --- What cannot work -----------------------------------------------------------------------------------

void shellBuiltin(const Subject &subject, Collector &findings)
{
    // What a shell does itself and no program does. "test", "echo", "kill" and their kin are both.
    static const QSet<QString> builtins = {
        ".",       ":",       "alias",     "bg",       "bind",    "break",    "builtin",  "caller",  "case",
        "cd",      "command", "compgen",   "complete", "compopt", "continue", "coproc",   "declare", "dirs",
        "disown",  "do",      "done",      "elif",     "else",    "enable",   "esac",     "eval",    "exec",
        "exit",    "export",  "fc",        "fg",       "fi",      "for",      "function", "getopts", "hash",
        "help",    "history", "if",        "jobs",     "let",     "local",    "logout",   "mapfile", "popd",
        "pushd",   "read",    "readarray", "readonly", "return",  "select",   "set",      "shift",   "shopt",
        "source",  "suspend", "then",      "times",    "trap",    "type",     "typeset",  "ulimit",  "umask",
        "unalias", "unset",   "until",     "wait",     "while",   "{",        "}",        "[[",      "!"};
    for (const CommandEntry &command : subject.commands) {
        const QString program = command.split.words.value(0);
        if (!builtins.contains(program) || command.isSkipped)
            continue;
        findings.replace(
            *command.entry, commandOffset(command),
            QString("Only a shell knows \"%1\", and no shell reads this: it cannot be started").arg(program),
            subject.commandLine(command, throughShell(command.command.trimmed())));
    }
}

void assignmentInFront(const Subject &subject, Collector &findings)
{
    static const QRegularExpression assignment("^[A-Za-z_]\\w*=");
    for (const CommandEntry &command : subject.commands) {
        const QStringList &words = command.split.words;
        const auto isAssignment = [](const QString &word) { return assignment.match(word).hasMatch(); };
        if (words.isEmpty() || !words.first().contains('=') || !isAssignment(words.first())
            || command.isSkipped)
            continue;
        if (std::all_of(words.begin(), words.end(), isAssignment))
            findings.askAuthor(); // what it is set for is missing
        findings.replace(*command.entry, commandOffset(command),
                         "No shell reads this: the assignment in front is taken for the program",
                         subject.commandLine(command, "env " + command.command.trimmed()));
    }
}

const QSet<QString> &terminalPrograms()
{
    static const QSet<QString> programs = {
        "vi",      "vim",       "view",     "nano",   "pico",         "emacs", "joe",          "mcedit",
        "mc",      "less",      "more",     "most",   "pager",        "man",   "htop",         "atop",
        "iotop",   "btop",      "nethogs",  "iftop",  "screen",       "tmux",  "minicom",      "picocom",
        "cu",      "dialog",    "whiptail", "cfdisk", "passwd",       "login", "vipw",         "visudo",
        "crontab", "alsamixer", "ncdu",     "nmtui",  "raspi-config", "lynx",  "links",        "w3m",
        "mutt",    "telnet",    "ftp",      "sftp",   "bc",           "gdb",   "bluetoothctl", "tasksel",
        "top",     "su",        "fdisk",    "parted", "gdisk"};
    return programs;
}

bool wantsTerminal(const QStringList &words)
{
    const QString program = baseName(words.first());
    if (program == "top")
        return !hasOption(words, "b", {"--batch"});
    if (program == "su")
        return !hasOption(words, "c", {"--command"});
    if (program == "crontab")
        return hasOption(words, "e");
    if (program == "fdisk" || program == "parted" || program == "gdisk")
        return !hasOption(words, "ls", {"--list", "--script"});
    return terminalPrograms().contains(program);
}

void needsTerminal(const Subject &subject, Collector &findings)
{
    forEach(
        subject, terminalPrograms(),
        [](const QStringList &words, const Step &) { return wantsTerminal(words); },
        [&](const CommandEntry &command, const QStringList &words) {
            findings.advise(
                commandOffset(command, words.first()),
                QString("\"%1\" wants a terminal and a keyboard, and the controller has neither here")
                    .arg(words.first()),
                "a program that does the same by itself, such as sed, or a script");
        });
}

bool goesOnForEver(const QStringList &words)
{
    const QString program = baseName(words.first());
    const QStringList values = operands(words);
    if (program == "tail")
        return hasOption(words, "fF", {"--follow"});
    if (program == "ping" || program == "ping6" || program == "arping" || program == "candump")
        return !hasOption(words, "cwn", {"--count"});
    if (program == "journalctl" || program == "logread")
        return hasOption(words, "f", {"--follow"});
    if (program == "dmesg")
        return hasOption(words, "wW", {"--follow", "--follow-new"});
    if (program == "top")
        return hasOption(words, "b", {"--batch"}) && !hasOption(words, "n", {"--iterations"});
    if (program == "sleep")
        return values.contains("infinity") || values.contains("inf");
    if (program == "tcpdump")
        return !hasOption(words, "c");
    if (program == "vmstat" || program == "iostat" || program == "mpstat")
        return values.size() == 1;
    if (program == "nc" || program == "ncat" || program == "netcat")
        return hasOption(words, "l");
    if (program == "inotifywait" || program == "dbus-monitor" || program == "udevadm" || program == "ip")
        return values.contains("monitor") || program == "dbus-monitor"
               || hasOption(words, "m", {"--monitor"});
    static const QSet<QString> others = {"watch",      "yes",   "evtest", "inotifywatch",
                                         "strace-all", "getty", "agetty", "inetd"};
    return others.contains(program);
}

void neverEnds(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {
        "tail",  "ping", "ping6",  "arping",      "candump",      "journalctl", "logread",
        "dmesg", "top",  "sleep",  "tcpdump",     "vmstat",       "iostat",     "mpstat",
        "nc",    "ncat", "netcat", "inotifywait", "dbus-monitor", "udevadm",    "ip",
        "watch", "yes",  "evtest", "getty",       "agetty",       "inetd",      "inotifywatch"};
    forEach(
        subject, programs,
        [](const QStringList &words, const Step &step) {
            const bool isTimed = step.words.size() != words.size() && step.words.contains("timeout");
            return !isTimed && goesOnForEver(words);
        },
        [&](const CommandEntry &command, const QStringList &words) {
            const QString message =
                QString("\"%1\" does not end by itself, and the operations behind it wait")
                    .arg(words.first());
            if (command.shell.shell.isEmpty())
                findings.replace(*command.entry, commandOffset(command, words.first()), message,
                                 subject.commandLine(command, "timeout 60 " + command.command.trimmed()));
            else
                findings.advise(commandOffset(command, words.first()), message,
                                "timeout 60 " + words.join(' '));
        });
}

/// The path on the medium of what is named without one; empty when it is not there.
QString onMedium(const Subject &subject, const QString &path)
{
    for (const QString &folder : {QString(mediumFolder), mediumFolder + installFolder() + '/'}) {
        const QString candidate = folder + (path.startsWith("./") ? path.mid(2) : path);
        if (subject.hasFile(candidate))
            return candidate;
    }
    return QString();
}

/// The program itself where it is a path, or the script that it interprets.
QString relativeProgram(const QStringList &words)
{
    const int shell = shellWords(words);
    const QString script = words.value(shell);
    if (shell > 0 && !script.isEmpty() && !script.startsWith('-'))
        return script;
    return words.value(0).contains('/') ? words.value(0) : QString();
}

void relativePath(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const QString path = relativeProgram(command.split.words);
        if (path.isEmpty() || path.startsWith('/') || path.startsWith('~') || path.contains('$')
            || command.isSkipped)
            continue;
        const QString found = onMedium(subject, path);
        if (found.isEmpty())
            findings.askAuthor();
        QString right = command.command;
        right.replace(right.indexOf(path), path.size(), found.isEmpty() ? "/FOLDER/" + path : found);
        findings.replace(
            *command.entry, commandOffset(command, path),
            QString("\"%1\" is looked for in the folder from which the tool was started, not on the medium")
                .arg(path),
            subject.commandLine(command, right));
    }
}

void calibrationName(const Subject &subject, Collector &findings)
{
    const QString calibration = "ts_calibrate";
    for (const CommandEntry &command : subject.commands) {
        const QString text = command.command.trimmed();
        if (text.contains(QLatin1String("TSTAPP")) || command.command == calibration || command.isSkipped)
            continue;
        if (!text.contains(QLatin1String("calibrate"), Qt::CaseInsensitive)
            && !text.contains(QLatin1String("TSTAPP"), Qt::CaseInsensitive))
            continue;
        const auto calibrates = [&](const Step &step) {
            const QString program = baseName(step.run.value(0));
            return program.compare(calibration, Qt::CaseInsensitive) == 0
                   || program.compare("TSTAPP", Qt::CaseInsensitive) == 0;
        };
        if (!std::any_of(command.steps.begin(), command.steps.end(), calibrates))
            continue;
        const bool isAlone = command.split.words.size() == 1 && baseName(text) == calibration;
        if (!isAlone)
            findings.askAuthor();
        findings.replace(
            *command.entry, commandOffset(command),
            "The tool gives up the screen for exactly \"ts_calibrate\" and for \"TSTAPP\"; behind its "
            "window, nobody can calibrate",
            subject.commandLine(command, calibration));
    }
}

// --- The ground -----------------------------------------------------------------------------------------

bool isLink(const QString &path)
{
    return QString(path).remove(QRegularExpression("/+$")) == "/mnt/upgrade";
}

void losesMedium(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"umount", "eject", "ln", "mount", "rm", "unlink", "mv", "rmdir"};
    const auto takesAway = [](const QStringList &words, const Step &) {
        const QString program = baseName(words.first());
        const QStringList values = operands(words);
        const bool namesLink = std::any_of(values.begin(), values.end(), isLink);
        if (program == "umount")
            return namesLink || hasOption(words, "a", {"--all"});
        if (program == "eject")
            return true;
        const bool isLast = !values.isEmpty() && isLink(values.last());
        if (program == "ln" || program == "mount")
            return isLast && values.size() > 1;
        return QStringList{"rm", "unlink", "mv", "rmdir"}.contains(program) && namesLink
               && (program != "mv" || isLink(values.first()));
    };
    forEach(subject, programs, takesAway, [&](const CommandEntry &command, const QStringList &words) {
        findings.advise(
            commandOffset(command, words.first()),
            "This takes the medium away while the tool uses it: what comes after it finds no file there",
            "the tool takes the medium away itself, when the operator pulls it");
    });
}

void stopsTool(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"systemctl", "service",           "killall", "pkill",
                                           "killall5",  "start-stop-daemon", "fuser"};
    static const QRegularExpression tool("^(/usr/s?bin/)?zul_upgrade(\\.service)?$");
    const auto stops = [](const QStringList &words, const Step &) {
        const QString program = baseName(words.first());
        const QStringList values = operands(words);
        const bool namesTool = std::any_of(values.begin(), values.end(),
                                           [](const QString &word) { return tool.match(word).hasMatch(); });
        if (program == "systemctl")
            return (namesTool
                    && QStringList{"stop", "restart", "kill", "mask", "try-restart", "reload-or-restart"}
                           .contains(values.first()))
                   || QStringList{"isolate", "rescue", "emergency"}.contains(values.value(0));
        if (program == "service")
            return namesTool && (values.contains("stop") || values.contains("restart"));
        return QStringList{"killall", "pkill", "killall5", "start-stop-daemon", "fuser"}.contains(program)
               && (namesTool || program == "killall5" || words.contains("zul_upgrade"));
    };
    forEach(subject, programs, stops, [&](const CommandEntry &command, const QStringList &words) {
        findings.advise(
            commandOffset(command, words.first()),
            "This ends the tool in the middle of its batch; nothing behind it is run, and the operator sees nothing",
            "a new version of the tool takes effect with the reboot");
    });
}

void takesScreen(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"dd",     "tee",   "cp",   "chvt",   "con2fbmap", "fbset",
                                           "startx", "xinit", "Xorg", "weston", "openvt"};
    static const QRegularExpression screen("^/dev/(fb\\d*|tty\\d+|dri/\\S+|input/\\S+)$");
    const auto takes = [](const QStringList &words, const Step &step) {
        const QString program = baseName(words.first());
        const auto isScreen = [](const QString &path) { return screen.match(path).hasMatch(); };
        const bool isCopy = program == QLatin1String("tee") || program == QLatin1String("cp");
        const bool isRaw = program == QLatin1String("dd");
        const bool writes = std::any_of(step.outputs.begin(), step.outputs.end(), isScreen);
        const bool copies = std::any_of(words.begin() + 1, words.end(), [&](const QString &word) {
            return word.contains(QLatin1String("/dev/"))
                   && ((isRaw && word.startsWith(QLatin1String("of=")) && isScreen(word.mid(3)))
                       || (isCopy && isScreen(word) && word == words.last()));
        });
        return writes || copies || (programs.contains(step.program) && !isRaw && !isCopy);
    };
    forEach(subject, programs, takes, [&](const CommandEntry &command, const QStringList &words) {
        findings.advise(
            commandOffset(command, words.first()),
            "This draws over the tool's window, or takes the screen from it: the operator cannot see what happens",
            "text for the operator belongs in the operation's name");
    });
}

void overwritesDevice(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"mkfs",  "mke2fs",     "mkdosfs", "mkswap", "wipefs",
                                           "fdisk", "sfdisk",     "parted",  "sgdisk", "gdisk",
                                           "shred", "blkdiscard", "dd"};
    static const QRegularExpression device("^/dev/(sd[a-z]+\\d*|mmcblk\\d+|disk/\\S+)$");
    static const QRegularExpression makers(
        "^(mkfs(\\..*)?|mke2fs|mkdosfs|mkswap|wipefs|fdisk|sfdisk|parted|sgdisk|gdisk|shred|blkdiscard)$");
    const auto overwrites = [](const QStringList &words, const Step &step) {
        const QString program = baseName(words.first());
        const auto isDevice = [](const QString &path) { return device.match(path).hasMatch(); };
        if (std::any_of(step.outputs.begin(), step.outputs.end(), isDevice))
            return true;
        return std::any_of(words.begin() + 1, words.end(), [&](const QString &word) {
            return (makers.match(program).hasMatch() && isDevice(word) && !hasOption(words, "l", {"--list"}))
                   || (program == "dd" && word.startsWith("of=") && isDevice(word.mid(3)));
        });
    };
    forEach(subject, programs, overwrites, [&](const CommandEntry &command, const QStringList &words) {
        findings.advise(
            commandOffset(command, words.first()),
            "This device may be the medium itself, or the controller's own disk: which name a disk has is not "
            "the same everywhere",
            "name a partition of the controller by what it is, such as /dev/mmcblk0p3 or /dev/disk/by-partlabel/NAME, "
            "after looking that it is the one");
    });
}

void deletesTooMuch(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"rm", "chmod", "chown", "chgrp", "find", "mv"};
    static const QRegularExpression top(
        "^/(\\*|\\.|(bin|boot|dev|etc|home|lib\\w*|media|mnt|opt|proc|root|run|sbin|srv|sys|usr|var)(/\\*?)?)?/*$");
    static const QRegularExpression ownMedium("^/mnt/upgrade/(\\*|zul_install/?\\*?)$");
    const auto deletes = [](const QStringList &words, const Step &) {
        const QString program = baseName(words.first());
        const bool recursive = hasOption(words, "rR", {"--recursive"});
        const QStringList values = operands(words);
        const auto isTooMuch = [](const QString &path) {
            return top.match(path).hasMatch() || ownMedium.match(path).hasMatch();
        };
        const bool names = std::any_of(values.begin(), values.end(), isTooMuch);
        if (program == "find")
            return names && (words.contains("-delete") || (words.contains("-exec") && words.contains("rm")))
                   && !words.contains("-name") && !words.contains("-path") && !words.contains("-mtime");
        if (program == "mv")
            return values.size() > 1 && isTooMuch(values.first());
        return names && recursive && QStringList{"rm", "chmod", "chown", "chgrp"}.contains(program);
    };
    forEach(subject, programs, deletes, [&](const CommandEntry &command, const QStringList &words) {
        findings.advise(
            commandOffset(command, words.first()),
            "This is about a whole folder of the system, or of the medium; hardly anybody means that",
            "name the folder that is meant, such as /opt/app; a blank in a path makes two of it");
    });
}

void mountDirectory(const Subject &subject, Collector &findings)
{
    static const QRegularExpression mount(
        "(?<![\\w/.-])(/(?:run/)?media/[\\w.-]+|/mnt/(?:sd[a-z]\\d*|mmcblk\\d+(?:p\\d+)?|usb\\w*|sdcard|card))(?=/|\\s|$)(?:/([\\w./-]+))?");
    for (const CommandEntry &command : subject.commands) {
        if (!command.command.contains(QLatin1String("media/"))
            && !command.command.contains(QLatin1String("/mnt/")))
            continue;
        const QRegularExpressionMatch match = mount.match(command.command);
        if (!match.hasMatch())
            continue;
        // Whether it is the medium's, tells a file of that name on it, perhaps a folder deeper.
        const QString path = match.captured(0);
        QString right = command.command;
        const QString below = match.captured(2);
        const bool isThere = !below.isEmpty() && subject.hasFile(mediumFolder + below);
        if (!isThere)
            findings.askAuthor();
        right.replace(path, mediumFolder + below);
        findings.replace(
            *command.entry, commandOffset(command, path),
            QString("%1 is where one controller mounts its media; /mnt/upgrade is the medium on each")
                .arg(match.captured(1)),
            subject.commandLine(command, right));
    }
}

bool restarts(const QStringList &words)
{
    const QString program = baseName(words.first());
    const QStringList values = operands(words);
    return QStringList{"reboot", "poweroff", "halt", "shutdown"}.contains(program)
           || (program == "systemctl"
               && QStringList{"reboot", "poweroff", "halt", "kexec"}.contains(values.value(0)))
           || ((program == "init" || program == "telinit")
               && QStringList{"0", "6"}.contains(values.value(0)));
}

void rebootsAgain(const Subject &subject, Collector &findings)
{
    if (subject.verdict.mode != Verdict::Direct)
        return;
    static const QSet<QString> programs = {"reboot",    "poweroff", "halt",   "shutdown",
                                           "systemctl", "init",     "telinit"};
    forEach(
        subject, programs, [](const QStringList &words, const Step &) { return restarts(words); },
        [&](const CommandEntry &command, const QStringList &words) {
            findings.advise(
                commandOffset(command, words.first()),
                "In direct mode everything runs again after each start, this too, for as long as the medium is in",
                "leave it out and have the operator restart, or use CMD_List");
        });
}

} // namespace

QVector<Rule> programRules()
{
    return {
        {"shell-builtin", Severity::Error, shellBuiltin, AsksAuthor,
         "what is to be done with it, in the same shell"},
        {"assignment-in-front", Severity::Error, assignmentInFront, ChangesCommands, "what it is set for"},
        {"needs-terminal", Severity::Warning, needsTerminal, AsksAuthor, "what does it without a terminal"},
        {"never-ends", Severity::Warning, neverEnds, AsksAuthor, "when it is to end"},
        {"relative-path", Severity::Warning, relativePath, ChangesCommands, "where the file is"},
        {"calibration-name", Severity::Warning, calibrationName, ChangesCommands,
         "whether the arguments are needed"},
        {"loses-medium", Severity::Warning, losesMedium, AsksAuthor, "whether it is needed at all"},
        {"stops-tool", Severity::Warning, stopsTool, AsksAuthor, "whether it is needed at all"},
        {"takes-screen", Severity::Warning, takesScreen, AsksAuthor, "whether it is needed at all"},
        {"overwrites-device", Severity::Warning, overwritesDevice, AsksAuthor,
         "which device it is on each controller"},
        {"deletes-too-much", Severity::Warning, deletesTooMuch, AsksAuthor, "what is to be deleted"},
        {"mount-directory", Severity::Warning, mountDirectory, ChangesCommands,
         "whether the medium is meant"},
        {"reboots-again", Severity::Warning, rebootsAgain, AsksAuthor, "who takes the medium out in time"},
    };
}
