// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on the programs that a command runs, itself or by a shell or a script: those that no controller
// has, those that never end, and those that are looked for where they are not.

#include "common/controller.h"
#include "reading/likeness.h"
#include "rules/rules.h"
#include "rules/running.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

// --- What cannot work -----------------------------------------------------------------------------------

bool isBuiltin(const QString &program)
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
    return builtins.contains(program) || program.startsWith('(');
}

void shellBuiltin(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (command.isSkipped || command.isMisread || !command.shell.shell.isEmpty()
            || command.steps.isEmpty())
            continue;
        const QString first = command.split.words.value(0);
        const QString program = isBuiltin(first) ? first : command.steps.first().run.value(0);
        if (!isBuiltin(program))
            continue;
        const QString message =
            QString("Only a shell knows \"%1\", and no shell reads this: it cannot be started").arg(program);
        // What only changes the shell that ends right behind it has no effect; what is to come after it?
        static const QSet<QString> runOthers = {".",     "source", "eval", "exec",   "command", "builtin",
                                                "case",  "for",    "if",   "select", "{",       "until",
                                                "while", "[[",     "type", "times",  "!",       "hash"};
        const bool isMore = command.meaning.right != command.command;
        if ((!isMore && !runOthers.contains(program)) || !command.meaning.isSure)
            findings.askAuthor();
        if (program == first)
            findings.replace(*command.entry, commandOffset(command), message,
                             subject.commandLine(command, throughShell(command.command.trimmed())));
        else
            findings.advise(commandOffset(command, program), message,
                            throughShell(command.steps.first().run.join(' ')) + " in its place");
    }
}

/// The place of an assignment that is taken for the program; -1 without one.
int strayAssignment(const QStringList &words)
{
    const int begin = words.size() - withoutWrappers(words).size();
    const int first =
        static_cast<int>(std::find_if(words.begin(), words.end(), isAssignment) - words.begin());
    const bool isForEnv = std::any_of(words.begin(), words.begin() + qMin(first, words.size()),
                                      [](const QString &word) { return baseName(word) == "env"; });
    return first < begin && !isForEnv ? first : -1;
}

void assignmentInFront(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        const QStringList &words = command.split.words;
        if (command.isSkipped || command.isMisread || !command.command.contains('='))
            continue;
        const int at = strayAssignment(words);
        if (at < 0)
            continue;
        const QString &word = words.at(at);
        const Meaning &meaning = command.meaning;
        const bool isMore = meaning.right != command.command;
        if (!meaning.isSure || (!isMore && std::all_of(words.begin() + at, words.end(), isAssignment))
            || word.section('=', 0, 0).endsWith('+') || word.section('=', 0, 0).endsWith(']'))
            findings.askAuthor(); // what it is set for is missing, or no program can be given that
        QString right = command.command.trimmed();
        const int place = qMax(0, right.indexOf(word.section('=', 0, 0) + '='));
        right.insert(at == 0 ? 0 : place, "env ");
        findings.replace(*command.entry, commandOffset(command, at == 0 ? QString() : word),
                         "No shell reads this: the assignment in front is taken for the program",
                         subject.commandLine(command, isMore ? meaning.right : right));
    }
}

void needlessSudo(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"sudo"};
    const auto isOne = [](const QStringList &words) {
        return programs.contains(baseName(words.value(0))) && words.size() > 1;
    };
    const QString message = "It is root already that runs this, and hardly a controller has \"%1\"";
    for (const CommandEntry &command : subject.commands) {
        const QStringList &words = command.split.words;
        if (command.isSkipped)
            continue;
        const bool isFirst = isOne(words) && !words.at(1).startsWith('-') && words.size() > 2;
        const auto inShell = std::find_if(command.steps.begin(), command.steps.end(),
                                          [&](const Step &step) { return isOne(step.words); });
        if (isFirst)
            findings.replace(
                *command.entry, commandOffset(command), message.arg(words.first()),
                subject.commandLine(command, command.command.trimmed().mid(words.first().size()).trimmed()));
        else if (inShell != command.steps.end())
            findings.advise(commandOffset(command, inShell->words.first()),
                            message.arg(inShell->words.first()),
                            "the same without it; su USER -c COMMAND for another user");
    }
    for (const auto &script : subject.uses.scripts) {
        for (const Step &step : script->text.steps) {
            if (isOne(step.words))
                findings.adviseOther(script->path, step.line, message.arg(step.words.first()),
                                     "the same without it; su USER -c COMMAND for another user");
        }
    }
}

const QSet<QString> &terminalPrograms()
{
    static const QSet<QString> programs = {"vi",           "vim",
                                           "view",         "nano",
                                           "pico",         "emacs",
                                           "joe",          "mcedit",
                                           "mc",           "less",
                                           "more",         "most",
                                           "pager",        "man",
                                           "htop",         "atop",
                                           "iotop",        "btop",
                                           "nethogs",      "iftop",
                                           "screen",       "tmux",
                                           "minicom",      "picocom",
                                           "cu",           "dialog",
                                           "whiptail",     "cfdisk",
                                           "passwd",       "login",
                                           "vipw",         "vigr",
                                           "visudo",       "crontab",
                                           "alsamixer",    "ncdu",
                                           "nmtui",        "raspi-config",
                                           "lynx",         "links",
                                           "w3m",          "mutt",
                                           "telnet",       "ftp",
                                           "sftp",         "bc",
                                           "ed",           "gdb",
                                           "bluetoothctl", "tasksel",
                                           "top",          "su",
                                           "fdisk",        "parted",
                                           "gdisk",        "edquota",
                                           "menuconfig",   "armbian-config",
                                           "microcom",     "chsh",
                                           "chroot",       "dpkg-reconfigure",
                                           "apt",          "apt-get",
                                           "aptitude",     "rm",
                                           "cp",           "mv",
                                           "systemctl",    "adduser",
                                           "ssh-keygen",   "read",
                                           "sqlite3",      "mysql",
                                           "psql",         "python",
                                           "python2",      "python3",
                                           "perl",         "lua",
                                           "node",         "ruby",
                                           "sh",           "ash",
                                           "bash",         "dash",
                                           "cat",          "grep",
                                           "wc",           "sort",
                                           "chpasswd",     "tee",
                                           "ssh",          "nvi",
                                           "neovim",       "nvim",
                                           "hx",           "micro"};
    return programs;
}

/// Programs that are a conversation unless they are given something to do.
bool isConversation(const QStringList &words, const Step &step)
{
    static const QSet<QString> interpreters = {"python", "python2", "python3", "perl", "lua", "node",
                                               "ruby",   "sh",      "ash",     "bash", "dash"};
    const QString &program = step.program;
    const QStringList values = operands(words);
    if (step.isFed)
        return false;
    if (interpreters.contains(program))
        return values.isEmpty()
               && (words.size() == 1 || std::all_of(words.begin() + 1, words.end(), [](const QString &word) {
                       return word == "-i" || word == "-l" || word == "-";
                   }));
    if (program == "sqlite3")
        return values.size() < 2 && !hasOption(words, "", {"-init", "--version", "-version", "-help"});
    if (program == "mysql" || program == "psql")
        return !hasOption(words, "ecflV", {"--execute", "--command", "--file", "--version", "--list"});
    if (program == "cat" || program == "sort" || program == "wc")
        return (values.isEmpty() || values == QStringList("-"))
               && !hasOption(words, "", {"--help", "--version", "--files0-from"});
    if (program == "grep")
        return values.size() < 2 && !values.value(0).contains('/') && !values.value(0).contains('*')
               && !hasOption(words, "rRefV", {"--recursive", "--file", "--regexp", "--version", "--help"});
    return program == "chpasswd" || program == "tee";
}

/// A filter that is given no file, and so waits for what nobody types.
bool waitsForInput(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    static const QSet<QString> others = {"gzip",      "gunzip", "zcat", "md5sum", "sha1sum", "sha256sum",
                                         "sha512sum", "cksum",  "od",   "xxd",    "hexdump", "base64",
                                         "rev",       "tac",    "nl",   "uniq",   "strings", "fold"};
    static const QSet<QString> asked = {"tr", "sed", "awk", "gawk", "mawk", "head", "tail", "dd"};
    if (!asked.contains(program) && !others.contains(program))
        return false;
    const auto has = [&words](const QString &option) { return words.contains(option); };
    const int values = operands(words).size();
    if (step.isFed || hasOption(words, "", {"--help", "--version", "--files0-from"}))
        return false;
    if (program == "tr")
        return true;
    if (program == "sed") {
        const bool hasScript =
            hasOption(words, "", {"--expression", "--file"})
            || std::any_of(words.begin() + 1, words.end(), [](const QString &word) {
                   return word.size() > 2 && (word.startsWith("-e") || word.startsWith("-f"));
               });
        return values < (hasScript ? 1 : 2);
    }
    if (program == "awk" || program == "gawk" || program == "mawk")
        return values < 2 && !words.join(' ').contains("BEGIN") && !hasOption(words, "fEW", {"--file"});
    if (program == "head" || program == "tail")
        return values < (has("-n") || has("-c") ? 2 : 1) && !hasOption(words, "fF", {"--follow"});
    if (program == "dd")
        return words.filter(QRegularExpression("^if=|^<")).isEmpty();
    return others.contains(program) && values == 0;
}

bool asksQuestions(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    const QString verb = operands(words).value(0);
    if (program == "apt" || program == "apt-get" || program == "aptitude") {
        static const QSet<QString> verbs = {"install", "upgrade", "dist-upgrade", "full-upgrade",
                                            "remove",  "purge",   "autoremove"};
        return verbs.contains(verb)
               && !hasOption(words, "yqs", {"--yes", "--assume-yes", "--dry-run", "--simulate"});
    }
    if (program == "rm" || program == "cp" || program == "mv")
        return hasOption(words, "i", {"--interactive"});
    if (program == "dpkg-reconfigure")
        return !hasOption(words, "fp", {"--frontend", "--priority"})
               && !step.words.join(' ').contains("noninteractive");
    if (program == "systemctl")
        return verb == "edit";
    if (program == "adduser")
        return !hasOption(words, "DSH", {"--disabled-password", "--disabled-login", "--system"})
               && operands(words).size() < 2;
    if (program == "ssh-keygen")
        return !hasOption(words, "NAlyRFLBpqYi");
    return false;
}

bool wantsTerminal(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    static const QSet<QString> askers = {"apt", "apt-get",          "aptitude",  "rm",      "cp",
                                         "mv",  "dpkg-reconfigure", "systemctl", "adduser", "ssh-keygen"};
    static const QSet<QString> talkers = {"sqlite3", "mysql", "psql", "python", "python2",  "python3", "perl",
                                          "lua",     "node",  "ruby", "sh",     "ash",      "bash",    "dash",
                                          "cat",     "grep",  "wc",   "sort",   "chpasswd", "tee"};
    static const QSet<QString> fedAll = {"passwd", "su",   "fdisk",  "parted", "gdisk", "bc", "ed",
                                         "ftp",    "sftp", "telnet", "gdb",    "read",  "cu"};
    if (askers.contains(program))
        return !step.isFed && asksQuestions(words, step);
    if (talkers.contains(program))
        return isConversation(words, step);
    if (step.isFed && fedAll.contains(program))
        return false;
    if (program == "more" || program == "less" || program == "most" || program == "pager" || program == "man")
        return !step.isPiped && step.outputs.isEmpty() && !hasOption(words, "V", {"--version", "--help"});
    if (program == "chroot")
        return operands(words).size() == 1 && !step.isFed;
    if (program == "top")
        return !hasOption(words, "b", {"--batch"});
    if (program == "su")
        return !hasOption(words, "c", {"--command"});
    if (program == "ssh")
        return operands(words).size() == 1 && !hasOption(words, "NfV");
    if (program == "passwd")
        return !hasOption(words, "SludeDi", {"--status", "--lock", "--unlock", "--delete", "--expire"});
    if (program == "crontab")
        return hasOption(words, "e");
    if (program == "fdisk" || program == "parted" || program == "gdisk")
        return !hasOption(words, "ls", {"--list", "--script"});
    if (program == "vi" || program == "vim" || program == "nvim" || program == "ed" || program == "emacs")
        return !hasOption(words, "sc", {"--batch"}) && !step.isFed;
    if (program == "screen" || program == "tmux")
        return !hasOption(words, "dV", {}) && !words.contains("-dmS");
    if (program == "gdb")
        return !hasOption(words, "", {"-batch", "--batch"});
    return true;
}

void needsTerminal(const Subject &subject, Collector &findings)
{
    const auto tell = [&](const Run &run) {
        adviseAt(
            findings, run,
            QString("\"%1\" wants a terminal and a keyboard, and the controller has neither here")
                .arg(run.step.run.first()),
            "a program that does the same by itself, such as sed, an option that has it ask nothing, or a script");
    };
    forEach(
        subject, terminalPrograms(),
        [](const QStringList &words, const Step &step) {
            return terminalPrograms().contains(step.program) && wantsTerminal(words, step);
        },
        tell);
    // In a script a function may be given its input from elsewhere; a command of its own is given none.
    for (const CommandEntry &command : subject.commands) {
        const bool isByItself = !command.isSkipped && !command.isMisread && command.shell.shell.isEmpty()
                                && command.steps.size() == 1 && command.meaning.right == command.command;
        if (isByItself && waitsForInput(command.steps.first().run, command.steps.first()))
            tell(Run{command, nullptr, command.steps.first()});
    }
}

bool isEndless(const QString &path)
{
    static const QRegularExpression device(
        "^/dev/(u?random|zero|full|tty\\w+|console|input/\\S+|hidraw\\d+|kmsg|i?rtc\\S*|watchdog\\d*)$");
    return path.startsWith("/dev/") && device.match(path).hasMatch();
}

bool readsForEver(const QString &program, const QStringList &words, const Step &step)
{
    static const QSet<QString> readers = {"cat", "hexdump", "od", "xxd", "tee", "strings", "cp"};
    if (program == "dd") {
        const auto value = [&words](const QString &name) {
            const QStringList found = words.filter(QRegularExpression('^' + name + '='));
            return found.isEmpty() ? QString() : found.last().section('=', 1);
        };
        const bool isFull = value("of").startsWith("/dev/") && value("of") != "/dev/null"; // it ends then
        return isEndless(value("if")) && value("count").isEmpty() && !isFull && !step.isPiped;
    }
    if (!readers.contains(program) || step.isPiped || hasOption(words, "nNl", {"--length", "--read-bytes"}))
        return false;
    const QStringList files = operands(words) + step.inputs;
    return std::any_of(files.begin(), files.end(), isEndless) && (program != "cp" || isEndless(files.first()))
           && program != "tee";
}

/// Services that are kept in front.
bool staysInFront(const QString &program, const QStringList &words)
{
    static const QHash<QString, QString> options = {
        {"httpd", "f"},   {"syslogd", "n"}, {"klogd", "n"},         {"crond", "f"},    {"dropbear", "F"},
        {"sshd", "D"},    {"udhcpc", "f"},  {"ntpd", "n"},          {"dnsmasq", "kd"}, {"udhcpd", "f"},
        {"telnetd", "F"}, {"inetd", "f"},   {"mosquitto_sub", "t"}, {"strace", "p"},   {"iperf", "s"},
        {"iperf3", "s"},  {"gpsd", "N"},    {"chronyd", "dn"}};
    const auto option = options.constFind(program);
    if (option == options.constEnd() || !hasOption(words, *option))
        return false;
    return !((program == "udhcpc" && hasOption(words, "nq")) || (program == "ntpd" && hasOption(words, "q"))
             || (program == "mosquitto_sub" && hasOption(words, "CWE")));
}

/// Whether ping is told when to end: "-c 3", "-w5", but not "-w 0", which is no limit to it.
bool isLimited(const QStringList &words)
{
    static const QRegularExpression limit("^-[A-Za-z]*[cw](\\S*)$");
    for (int i = 1; i < words.size(); ++i) {
        const QRegularExpressionMatch match = limit.match(words.at(i));
        const bool isLong = words.at(i).startsWith("--count");
        if (!match.hasMatch() && !isLong)
            continue;
        const QString inside = isLong ? words.at(i).section('=', 1) : match.captured(1);
        const QString value = inside.isEmpty() ? words.value(i + 1) : inside;
        bool isNumber = false;
        if (value.toDouble(&isNumber) > 0 || !isNumber)
            return true;
    }
    return false;
}

bool goesOnForEver(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    const QStringList values = operands(words);
    if (step.repeats || readsForEver(program, words, step) || staysInFront(program, words))
        return true;
    if (program == "tail")
        return hasOption(words, "fF", {"--follow"}) && !hasOption(words, "", {"--pid"});
    if (program == "ping" || program == "ping6" || program == "arping")
        return !isLimited(words) && !hasOption(words, "V", {"--version", "--help"});
    if (program == "candump")
        return !hasOption(words, "n");
    if (program == "yes")
        return !step.isPiped;
    if (program == "journalctl" || program == "logread")
        return hasOption(words, "f", {"--follow"});
    if (program == "dmesg")
        return hasOption(words, "wW", {"--follow", "--follow-new"});
    if (program == "top")
        return hasOption(words, "b", {"--batch"}) && !hasOption(words, "n", {"--iterations"});
    if (program == "sleep")
        return values.contains("infinity") || values.contains("inf");
    if (program == "tcpdump")
        return !hasOption(words, "cDhG");
    if (program == "vmstat" || program == "iostat" || program == "mpstat" || program == "sar")
        return values.size() == 1;
    if (program == "nc" || program == "ncat" || program == "netcat")
        return hasOption(words, "l");
    if (program == "inotifywait" || program == "dbus-monitor" || program == "udevadm" || program == "ip"
        || program == "nmcli")
        return values.contains("monitor") || program == "dbus-monitor"
               || hasOption(words, "m", {"--monitor"});
    if (program.startsWith("python"))
        return words.contains("http.server") || words.contains("SimpleHTTPServer");
    if (program == "socat")
        return words.join(' ').contains("LISTEN");
    static const QSet<QString> others = {"watch",      "evtest",     "inotifywatch", "getty",    "agetty",
                                         "inetd",      "ts_print",   "ts_print_raw", "zul_main", "zul_gui_en",
                                         "zul_gui_cn", "zul_gui_jk", "zul_gui_lan"};
    return others.contains(program) && !(program == "inetd" && words.size() == 1);
}

void neverEnds(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {
        "tail",         "ping",          "ping6",        "arping",       "candump",
        "journalctl",   "logread",       "dmesg",        "top",          "sleep",
        "tcpdump",      "vmstat",        "iostat",       "mpstat",       "nc",
        "ncat",         "netcat",        "inotifywait",  "dbus-monitor", "udevadm",
        "ip",           "watch",         "yes",          "evtest",       "getty",
        "agetty",       "inetd",         "inotifywatch", "cat",          "hexdump",
        "od",           "xxd",           "strings",      "cp",           "dd",
        "while",        "until",         "python",       "python3",      "socat",
        "httpd",        "syslogd",       "klogd",        "crond",        "dropbear",
        "sshd",         "udhcpc",        "ntpd",         "dnsmasq",      "udhcpd",
        "telnetd",      "mosquitto_sub", "strace",       "iperf",        "iperf3",
        "sar",          "nmcli",         "gpsd",         "chronyd",      "ts_print",
        "ts_print_raw", "zul_main",      "zul_gui_en",   "zul_gui_cn",   "zul_gui_jk",
        "zul_gui_lan"};
    forEach(
        subject, programs,
        [](const QStringList &words, const Step &step) {
            return programs.contains(step.program) && !step.isTimed && !step.isBackground
                   && goesOnForEver(words, step);
        },
        [&](const Run &run) {
            const QString program = run.step.run.first();
            const QString message =
                QString("\"%1\" does not end by itself, and the operations behind it wait").arg(program);
            if (!run.script && run.command.shell.shell.isEmpty() && !run.step.repeats)
                findings.replace(
                    *run.command.entry, commandOffset(run.command, program), message,
                    subject.commandLine(run.command, "timeout 60 " + run.command.command.trimmed()));
            else
                adviseAt(
                    findings, run, message,
                    run.step.repeats
                        ? "a loop that ends after so many times, or \"timeout 60\" in front of the script"
                        : "timeout 60 " + run.step.run.join(' '));
        });
}

/// The path on the medium of what is named without one; empty when it is not there.
QString onMedium(const Subject &subject, const QString &path)
{
    for (const QString &folder : {QString(mediumFolder), mediumFolder + installFolder() + '/'}) {
        QString candidate = folder + (path.startsWith("./") ? path.mid(2) : path);
        if (subject.hasFile(candidate))
            return candidate;
    }
    return QString();
}

/// A path that a shell would not have to look at before it is one.
bool isRelative(const QString &word)
{
    static const QRegularExpression plain("^(?!-)[\\w.+@,%=-][\\w./+@,%= -]*$",
                                          QRegularExpression::UseUnicodePropertiesOption);
    return plain.match(word).hasMatch();
}

/// The first word that names a file from the folder in which the tool was started; empty without one.
QString relativeWord(const Step &step)
{
    if (step.folder != folderOfTool)
        return QString();
    const QStringList &words = step.run;
    for (const QString &word : words.mid(1)) {
        if (word.startsWith(QLatin1String("mnt/upgrade/")))
            return word;
    }
    static const QSet<QString> installers = {"rpm", "opkg", "ipkg", "apt", "apt-get"};
    static const QRegularExpression package("\\.(rpm|ipk|deb)$");
    for (const QString &word : installers.contains(step.program) ? operands(words) : QStringList()) {
        if (isRelative(word) && package.match(word).hasMatch())
            return word;
    }
    if (step.program == "find" && words.size() > 1 && isRelative(words.at(1)))
        return words.at(1);
    const int folder = step.program == "tar" ? words.indexOf("-C") : -1;
    if (folder > 0 && isRelative(words.value(folder + 1)))
        return words.value(folder + 1);
    const int script = scriptWord(words);
    if (script > 0)
        return isRelative(words.at(script)) ? words.at(script) : QString();
    if (words.value(0).contains('/') && isRelative(words.first()))
        return words.first();
    const QStringList raw =
        step.program == "dd" ? words.filter(QRegularExpression("^[io]f=")) : QStringList();
    for (const QString &word : raw) {
        if (isRelative(word.mid(3)))
            return word.mid(3);
    }
    for (const int at : fileWords(step)) {
        if (isRelative(words.at(at)))
            return words.at(at);
    }
    if (step.program == "ln" && words.size() > 2 && isRelative(words.last()))
        return words.last();
    for (const QString &path : step.outputs + step.inputs) {
        if (isRelative(path))
            return path;
    }
    return QString();
}

/// The command with another word in the place of one; empty where that would be another command.
QString withWord(const CommandEntry &command, const QString &word, const QString &right)
{
    const QRegularExpression whole("(?<![^\\s\"=<>(;&|])" + QRegularExpression::escape(word)
                                   + "(?![^\\s\");&|])");
    const QString &text = command.command;
    const int first =
        command.shell.shell.isEmpty() && text.trimmed().startsWith(word) ? 0 : text.indexOf(' ');
    const QRegularExpressionMatch match = whole.match(text, qMax(0, first));
    if (!match.hasMatch())
        return QString();
    return QString(text).replace(match.capturedStart(), word.size(), right);
}

void relativePath(const Subject &subject, Collector &findings)
{
    const QString message =
        "\"%1\" is looked for in the folder from which the tool was started, not on the medium";
    for (const CommandEntry &command : subject.commands) {
        // What stands behind a comment, a backslash or what only a shell reads is told as that.
        static const QString others = "#\\|&;<>";
        const auto isOther = [](QChar character) { return others.contains(character); };
        const QString &bare = command.meaning.bare;
        if (command.isSkipped || command.isMisread || std::any_of(bare.begin(), bare.end(), isOther))
            continue;
        const auto step = std::find_if(command.steps.begin(), command.steps.end(),
                                       [](const Step &one) { return !relativeWord(one).isEmpty(); });
        if (step == command.steps.end())
            continue;
        const QString path = relativeWord(*step);
        const QString found = onMedium(subject, path);
        const QString right = withWord(command, path, found.isEmpty() ? "/FOLDER/" + path : found);
        if (right.isEmpty()) {
            findings.advise(commandOffset(command, path), message.arg(path),
                            found.isEmpty() ? "the whole path, from / on" : found);
            continue;
        }
        if (found.isEmpty())
            findings.askAuthor();
        findings.replace(*command.entry, commandOffset(command, path), message.arg(path),
                         subject.commandLine(command, right));
    }
    for (const auto &script : subject.uses.scripts) {
        if (script->isKits)
            continue;
        for (const Step &step : script->text.steps) {
            const QString path = relativeWord(step);
            if (!path.isEmpty())
                findings.adviseOther(script->path, step.line, message.arg(path),
                                     onMedium(subject, path).isEmpty() ? "the whole path, from / on"
                                                                       : onMedium(subject, path));
        }
    }
}

/// Whether a program is the calibration, or was meant to be.
bool isCalibration(const QString &program)
{
    const QString calibration = "ts_calibrate";
    const QString name = baseName(program).toLower();
    if (name.size() < 6 || name.size() > 18)
        return false;
    return name == calibration || name == "tstapp" || name == "ts_calibration"
           || (!name.startsWith(calibration) && name.startsWith("ts")
               && changesBetween(name, calibration) <= 2);
}

void calibrationName(const Subject &subject, Collector &findings)
{
    const QString calibration = "ts_calibrate";
    const QString message =
        "The tool gives up the screen for exactly \"ts_calibrate\" and for \"TSTAPP\"; behind "
        "its window, nobody can calibrate";
    for (const CommandEntry &command : subject.commands) {
        const QString text = command.command.trimmed();
        if (text.contains(QLatin1String("TSTAPP")) || command.command == calibration || command.isSkipped)
            continue;
        const bool calibrates = std::any_of(command.steps.begin(), command.steps.end(), [](const Step &step) {
            return isCalibration(step.run.value(0).remove(';'));
        });
        if (!calibrates)
            continue;
        const bool isAlone =
            command.split.words.size() == 1 && baseName(command.split.words.first()) == calibration;
        if (!isAlone)
            findings.askAuthor();
        findings.replace(*command.entry, commandOffset(command), message,
                         subject.commandLine(command, calibration));
    }
    for (const auto &script : subject.uses.scripts) {
        if (script->command->command.contains(QLatin1String("TSTAPP")))
            continue;
        for (const Step &step : script->text.steps) {
            if (isCalibration(step.run.value(0)))
                findings.adviseOther(script->path, step.line, message,
                                     "an operation of its own that runs ts_calibrate, without a script");
        }
    }
}

} // namespace

QVector<Rule> programRules()
{
    return {
        {"shell-builtin", Severity::Error, shellBuiltin, ChangesCommands,
         "what is to be done with it, in the same shell"},
        {"assignment-in-front", Severity::Error, assignmentInFront, ChangesCommands, "what it is set for"},
        {"needless-sudo", Severity::Warning, needlessSudo, ChangesCommands, "which user is meant"},
        {"needs-terminal", Severity::Warning, needsTerminal, AsksAuthor, "what does it without a terminal"},
        {"never-ends", Severity::Warning, neverEnds, AsksAuthor, "when it is to end"},
        {"relative-path", Severity::Warning, relativePath, ChangesCommands, "where the file is"},
        {"calibration-name", Severity::Warning, calibrationName, ChangesCommands,
         "whether the arguments are needed"},
    };
}
