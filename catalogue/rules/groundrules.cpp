// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on programs that pull the ground from under the tool, its operator or the controller: the medium,
// the tool's process, its window's screen, devices, and folders that nobody means to delete.

#include "common/controller.h"
#include "reading/likeness.h"
#include "rules/rules.h"
#include "rules/running.h"

#include <QDir>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

const char nameOfTool[] = "zul_upgrade";

bool anyOf(const QStringList &words, bool (*isFound)(const QString &))
{
    return std::any_of(words.begin(), words.end(), isFound);
}

/// An operand as the path that it is in the end: without "..", a slash at its end, or a "/*" that stays.
QString cleaned(const Step &step, const QString &word)
{
    const QString path = step.path(word);
    return path.isEmpty() ? word : QDir::cleanPath(path);
}

QStringList cleanedOperands(const Step &step)
{
    QStringList paths;
    for (const QString &word : operands(step.run))
        paths.append(cleaned(step, word));
    return paths;
}

// --- The medium -----------------------------------------------------------------------------------------

bool isLink(const QString &path)
{
    return path == QLatin1String("/mnt/upgrade") || path == QLatin1String("/mnt/upgrade/.");
}

bool isMediumDevice(const QString &path)
{
    static const QRegularExpression device(
        "^(/dev/(sd[a-z]+\\d*|mmcblk\\d+(p\\d+)?|disk/by-\\S+)|/(run/)?media/\\S+|"
        "/mnt/(upgrade|sd\\w+|mmc\\w*|usb\\w*))$");
    return device.match(path).hasMatch();
}

bool isMountPoint(const QString &path)
{
    return isLink(path) || path == QLatin1String("/mnt");
}

bool takesMedium(const QStringList &words, const Step &step)
{
    static const QRegularExpression unplugs(
        "^/sys/(block/(sd|mmcblk)\\S+/device/delete|bus/(usb|mmc)/\\S*unbind)$");
    static const QRegularExpression modules(
        "^(usb[_-]storage|sd_mod|mmc_block|vfat|fat|exfat|uas|ehci\\S*|xhci\\S*|"
        "sdhci\\S*|usbcore)$");
    const auto isUnplugged = [](const QString &path) { return unplugs.match(path).hasMatch(); };
    if (anyOf(step.outputs, isUnplugged) || (step.program == "tee" && anyOf(words, isUnplugged)))
        return true;
    const QString &program = step.program;
    const QStringList values = cleanedOperands(step);
    if (program == "umount")
        return anyOf(values, isMediumDevice) || hasOption(words, "a", {"--all"});
    if (program == "eject" || program == "pivot_root")
        return true;
    if (program == "udisksctl")
        return QStringList{"unmount", "power-off"}.contains(values.value(0));
    if (program == "rmmod" || (program == "modprobe" && hasOption(words, "r", {"--remove"})))
        return anyOf(values, [](const QString &name) { return modules.match(name).hasMatch(); });
    if (program == "systemctl")
        return values.value(0) == "stop"
               && std::any_of(values.begin(), values.end(), [](const QString &unit) {
                      return unit.startsWith("media-") || unit.startsWith("run-media-")
                             || unit.startsWith("mnt-upgrade");
                  });
    if (program == "mount" && words.join(' ').contains("remount"))
        return words.join(' ').contains(QRegularExpression("remount,(\\S*,)?ro\\b|\\bro,(\\S*,)?remount"))
               && anyOf(values, isMediumDevice);
    if (program == "fuser")
        return hasOption(words, "k", {"--kill"}) && anyOf(values, isMediumDevice);
    if (program == "mount")
        return values.size() > 1 && isMountPoint(values.last()) && !words.join(' ').contains("remount");
    if (program == "ln")
        return values.size() > 1 && isLink(values.last());
    static const QSet<QString> removers = {"rm", "unlink", "rmdir"};
    if (removers.contains(program))
        return anyOf(values, isLink);
    return program == "mv" && values.size() > 1 && isLink(values.first());
}

void losesMedium(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"umount",   "eject",     "ln",    "mount",      "rm",
                                           "unlink",   "mv",        "rmdir", "udisksctl",  "rmmod",
                                           "modprobe", "systemctl", "tee",   "pivot_root", "fuser"};
    forEach(subject, programs, takesMedium, [&](const Run &run) {
        adviseAt(
            findings, run,
            run.step.program == "mount" && run.step.run.join(' ').contains("remount")
                ? "After this nothing can be written to the medium, neither reports nor results"
                : "This takes the medium away while the tool uses it: what comes after it finds no file there",
            "the tool takes the medium away itself, when the operator pulls it");
    });
}

// --- The tool -------------------------------------------------------------------------------------------

bool namesTool(const QString &word)
{
    static const QRegularExpression tool(
        "^(/(usr/)?(local/)?s?bin/|/etc/init\\.d/|/opt/(\\w+/)+)?zul_upgrade(\\.service)?$");
    return word.contains(nameOfTool) && tool.match(word).hasMatch();
}

/// A pattern for pkill that the tool's own name goes with.
bool matchesTool(const QString &pattern, bool isFull)
{
    const QRegularExpression expression(pattern);
    if (pattern.isEmpty() || !expression.isValid())
        return false;
    const auto found = expression.match("zul_upgrade").hasMatch();
    return found
           || (isFull
               && (expression.match("/usr/bin/zul_upgrade -platform linuxfb").hasMatch()
                   || expression.match("/opt/zul/bin/zul_upgrade -platform linuxfb").hasMatch()));
}

bool stopsByInit(const QStringList &words, const QString &program)
{
    const QStringList values = operands(words);
    static const QSet<QString> verbs = {"stop",        "restart",           "kill",        "mask",
                                        "try-restart", "reload-or-restart", "force-reload"};
    if (program == "systemctl")
        return (anyOf(values, namesTool)
                && (verbs.contains(values.first())
                    || (values.first() == "disable" && words.contains("--now"))))
               || QStringList{"isolate", "rescue", "emergency"}.contains(values.value(0));
    if (program == "init" || program == "telinit")
        return QStringList{"1", "s", "S", "2", "3", "4", "q"}.contains(values.value(0))
               && values.value(0) != "q";
    if (program == "sv" || program == "service" || program == "rc-service" || program == "initctl"
        || program == "s6-svc")
        return anyOf(values, namesTool) && std::any_of(values.begin(), values.end(), [](const QString &verb) {
                   return verbs.contains(verb) || verb == "down";
               });
    return namesTool(words.value(0)) && words.value(0).startsWith("/etc/init.d/")
           && verbs.contains(values.value(0));
}

bool stopsBySignal(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    const QStringList values = operands(words);
    if (program == "killall5")
        return true;
    if (program == "pidof" || program == "pgrep")
        return step.isPiped && anyOf(values, namesTool);
    const bool isHarmless = words.contains("-0") || words.contains("-l") || words.contains("-CONT");
    if (program == "kill") {
        const QStringList pids = words.mid(1);
        const bool isInitOrAll = std::any_of(pids.begin() + qMin(1, pids.size()), pids.end(),
                                             [](const QString &pid) { return pid == "1" || pid == "-1"; })
                                 || pids.value(0) == "1";
        return !isHarmless && (isInitOrAll || words.join(' ').contains(nameOfTool));
    }
    // Everything that is root's is the tool, too, where nothing else is asked.
    const bool isOfRoot = (words.contains("-u") || words.contains("-U") || words.contains("--user"))
                          && values.size() == 1 && (values.first() == "root" || values.first() == "0");
    if ((program == "pkill" || program == "killall" || program == "skill") && isOfRoot)
        return !isHarmless;
    if (program == "pkill" && hasOption(words, "v", {"--inverse"}))
        return !isHarmless && !matchesTool(values.value(0), hasOption(words, "f", {"--full"}));
    if (program == "pkill")
        return !isHarmless && !values.isEmpty()
               && matchesTool(values.last(), hasOption(words, "f", {"--full"}))
               && !(hasOption(words, "x", {"--exact"}) && values.last() != nameOfTool);
    static const QSet<QString> killers = {"killall", "start-stop-daemon", "fuser", "skill"};
    const bool isKiller = killers.contains(program);
    return isKiller && !isHarmless && (anyOf(values, namesTool) || words.contains(nameOfTool));
}

/// Whether it takes the tool's own program from under it, or tries to write to it while it is run.
bool replacesTool(const QStringList &words, const Step &step)
{
    static const QRegularExpression tool(
        "^(/(usr/)?(local/)?s?bin/zul_upgrade|/opt/zul(/bin(/zul_upgrade|/\\*)?|/zul_upgrade|/\\*)?)$");
    const auto isTool = [](const QString &path) { return tool.match(path).hasMatch(); };
    const QStringList values = cleanedOperands(step);
    static const QSet<QString> removers = {"rm", "unlink", "mv", "truncate", "shred"};
    if (removers.contains(step.program))
        return std::any_of(values.begin(), values.end(), isTool)
               && (step.program != "mv" || isTool(values.first()));
    return step.program == "cp" && values.size() > 1 && isTool(values.last())
           && !hasOption(words, "", {"--remove-destination"});
}

/// Taking its package away stops it first.
bool removesPackage(const QStringList &words, const QString &program)
{
    static const QSet<QString> managers = {"dpkg", "apt", "apt-get", "aptitude", "opkg", "rpm"};
    const auto isPackage = [](const QString &word) { return word == "zul-upgrade" || word == nameOfTool; };
    return managers.contains(program) && anyOf(words, isPackage)
           && (hasOption(words, program == "dpkg" ? "rP" : "", {"--remove", "--purge", "-e", "--erase"})
               || words.contains("remove") || words.contains("purge"));
}

bool stopsTool(const QStringList &words, const Step &step)
{
    return removesPackage(words, step.program) || stopsByInit(words, step.program)
           || stopsBySignal(words, step) || replacesTool(words, step);
}

void stopsToolRule(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {
        "systemctl", "service",    "killall",     "pkill",    "killall5", "start-stop-daemon",
        "fuser",     "kill",       "init",        "telinit",  "sv",       "rm",
        "unlink",    "mv",         "cp",          "truncate", "shred",    "initctl",
        "s6-svc",    "rc-service", "zul_upgrade", "pidof",    "pgrep",    "skill",
        "dpkg",      "apt",        "apt-get",     "aptitude", "opkg",     "rpm"};
    forEach(subject, programs, stopsTool, [&](const Run &run) {
        const bool replaces = replacesTool(run.step.run, run.step);
        adviseAt(
            findings, run,
            replaces
                ? "This is the program of the tool that runs it: written to, it is busy, and without it "
                  "the next start shows nothing"
                : "This ends the tool in the middle of its batch; nothing behind it is run, and the operator "
                  "sees nothing",
            replaces ? "copy the new one beside it, sync, and rename it with mv"
                     : "a new version of the tool takes effect with the reboot");
    });
}

// --- The screen -----------------------------------------------------------------------------------------

bool isScreen(const QString &path)
{
    static const QRegularExpression screen("^(/dev/(fb\\d*|fb/\\d+|tty\\d+|console|dri/\\S+)|"
                                           "/sys/class/(graphics/fb\\d*/\\S+|vtconsole/\\S+))$");
    return (path.startsWith("/dev/") || path.startsWith("/sys/")) && screen.match(path).hasMatch();
}

/// An application that is told to draw on the screen itself.
bool hasPlatform(const QStringList &words)
{
    return std::any_of(words.begin(), words.end(), [](const QString &word) {
        return word.startsWith('-') && (word == QLatin1String("-qws") || word == QLatin1String("-platform"));
    });
}

/// Programs that have the screen for themselves, whatever they are told.
const QSet<QString> &screenPrograms()
{
    static const QSet<QString> programs = {
        "chvt",        "con2fbmap", "startx",     "xinit",      "Xorg",      "weston",
        "openvt",      "fbi",       "fbv",        "fim",        "psplash",   "plymouth",
        "deallocvt",   "ts_test",   "ts_test_mt", "ts_harvest", "ts_verify", "xinput_calibrator",
        "mplayer",     "mpv",       "kmscube",    "modetest",   "kbd_mode",  "fbsplash",
        "glmark2-es2", "fbterm",    "X",          "xrandr",     "fb-test",   "plymouthd",
        "ply-image",   "sway",      "cage",       "kodi"};
    return programs;
}

/// The light behind the screen, off; brighter or darker it is still to be read.
bool darkens(const QStringList &words, const Step &step)
{
    static const QRegularExpression light("^/sys/class/backlight/\\S+$");
    static const QRegularExpression power("/bl_power$");
    const bool isLight = std::any_of(step.outputs.begin(), step.outputs.end(), [](const QString &path) {
        return path.startsWith("/sys/") && light.match(path).hasMatch();
    });
    const QString value = words.value(words.size() - 1);
    const bool isPower = isLight && !step.outputs.filter(power).isEmpty();
    return isLight && (isPower ? value != "0" : value == "0");
}

bool takesScreen(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    if (anyOf(step.outputs, isScreen) || darkens(words, step))
        return true;
    if (program == "tee" || program == "cp")
        return words.size() > 1 && isScreen(words.last());
    if (program == "dd")
        return std::any_of(words.begin(), words.end(), [](const QString &word) {
            return word.startsWith("of=") && isScreen(word.mid(3));
        });
    if (program == "fbset")
        return words.size() > 1 && !(words.size() == 2 && (words.at(1) == "-s" || words.at(1) == "-i"));
    if (program == "killall" || program == "pkill" || program == "systemctl") {
        const QStringList values = operands(words);
        static const QSet<QString> screens = {"Xorg",
                                              "X",
                                              "weston",
                                              "lightdm",
                                              "display-manager",
                                              "xinit",
                                              "display-manager.service",
                                              "weston.service",
                                              "weston@root",
                                              "lightdm.service"};
        const bool isStopped = program != "systemctl"
                               || QStringList{"start", "stop", "restart", "kill"}.contains(values.value(0));
        return isStopped && std::any_of(values.begin(), values.end(), [](const QString &one) {
                   return screens.contains(one);
               });
    }
    if (program == "xset")
        return words.contains("dpms") || words.contains("blank") || words.contains("off");
    if (program == "setterm")
        return hasOption(words, "b", {"--blank", "--powerdown", "-blank", "--reset"});
    if (program == "gst-launch-1")
        return words.join(' ').contains(QRegularExpression("fbdevsink|kmssink|waylandsink|autovideosink"));
    return screenPrograms().contains(program) || hasPlatform(words);
}

void takesScreenRule(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"dd",    "tee",       "cp",   "fbset",   "killall",
                                           "pkill", "systemctl", "xset", "setterm", "gst-launch-1"};
    const auto tell = [&](const Run &run) {
        adviseAt(
            findings, run,
            "This draws over the tool's window, or takes the screen from it: the operator cannot see what happens",
            "text for the operator belongs in the operation's name");
    };
    static const QSet<QString> any;
    forEach(
        subject, any,
        [](const QStringList &words, const Step &step) {
            const bool isOne = programs.contains(step.program) || screenPrograms().contains(step.program)
                               || !step.outputs.isEmpty();
            return (isOne || hasPlatform(words)) && takesScreen(words, step);
        },
        tell);
}

// --- Devices --------------------------------------------------------------------------------------------

bool isDisk(const QString &path)
{
    static const QRegularExpression device(
        "^/dev/(sd[a-z]+\\d*|mmcblk\\d+(p1)?|disk/by-\\S+|root|rootfs|mem|kmem|port|nvme\\d+n\\d+)$");
    static const QRegularExpression named("^/dev/disk/by-(partlabel|label|uuid|partuuid)/(?!root(fs)?$)");
    return path.startsWith("/dev/") && device.match(path).hasMatch() && !named.match(path).hasMatch();
}

/// Programs that write to a device which they are given, unless they only look.
bool writesToDevice(const QStringList &words, const QString &program)
{
    static const QSet<QString> makers = {"mkfs",       "mke2fs",    "mkdosfs",  "mkswap",    "shred",
                                         "blkdiscard", "mkntfs",    "fatlabel", "resize2fs", "tune2fs",
                                         "e2label",    "mkexfatfs", "bmaptool"};
    const QStringList values = operands(words);
    if (program == "mkfs" || program == "mke2fs" || program == "mkswap")
        return !hasOption(words, "n", {"--help", "--version"}) || words.value(0).contains("fat");
    if (makers.contains(program))
        return (program != "tune2fs" || !hasOption(words, "l"))
               && !((program == "fatlabel" || program == "e2label") && values.size() < 2);
    if (program == "wipefs")
        return hasOption(words, "ao", {"--all", "--offset"}) && !hasOption(words, "n", {"--no-act"});
    if (program == "fdisk" || program == "gdisk" || program == "cfdisk")
        return !hasOption(words, "l", {"--list"});
    if (program == "sfdisk")
        return !hasOption(words, "dlVsJT", {"--dump", "--list", "--verify", "--json", "--no-act"});
    if (program == "sgdisk")
        return !(words.size() == 3 && hasOption(words, "pivbO"));
    if (program == "parted")
        return !std::all_of(values.begin() + qMin(1, values.size()), values.end(), [](const QString &verb) {
            return QStringList{"print", "unit", "s", "S",    "B",   "MB",
                               "MiB",   "free", "p", "quit", "all", "list"}
                .contains(verb);
        });
    if (program == "badblocks")
        return hasOption(words, "w");
    if (program == "hdparm")
        return words.join(' ').contains("--security") || words.join(' ').contains("--trim");
    if (program == "fsck" || program == "e2fsck" || program == "dosfsck")
        return hasOption(words, "apyw");
    return false;
}

bool overwritesDevice(const QStringList &words, const Step &step)
{
    if (anyOf(step.outputs, isDisk))
        return true;
    const QString &program = step.program;
    if (program == "dd" || program == "dcfldd")
        return std::any_of(words.begin(), words.end(),
                           [](const QString &word) { return word.startsWith("of=") && isDisk(word.mid(3)); });
    if (program == "cp" || program == "tee" || program == "install" || program == "pv"
        || program == "bmaptool")
        return words.size() > 1 && isDisk(words.last());
    if (program == "truncate")
        return anyOf(words, isDisk);
    const bool isRoot = program == "mkfs" && operands(words).contains("/");
    return isRoot || (anyOf(words, isDisk) && writesToDevice(words, program));
}

void overwritesDeviceRule(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {
        "mkfs",      "mke2fs",    "mkdosfs", "mkswap",     "wipefs",    "fdisk",    "sfdisk",   "parted",
        "sgdisk",    "gdisk",     "shred",   "blkdiscard", "dd",        "dcfldd",   "cp",       "tee",
        "install",   "badblocks", "hdparm",  "fsck",       "e2fsck",    "dosfsck",  "mkntfs",   "fatlabel",
        "resize2fs", "tune2fs",   "e2label", "cfdisk",     "mkexfatfs", "bmaptool", "truncate", "pv"};
    forEach(subject, programs, overwritesDevice, [&](const Run &run) {
        adviseAt(
            findings, run,
            "This device may be the medium itself, or the controller's own disk: which name a disk has is not the "
            "same everywhere",
            "name a partition of the controller by what it is, such as /dev/mmcblk0p3 or "
            "/dev/disk/by-partlabel/NAME, after looking that it is the one");
    });
}

// --- Folders --------------------------------------------------------------------------------------------

/// A folder of the system, all that is in one, or the medium.
bool isTooMuch(const QString &path)
{
    static const QRegularExpression top(
        "^/(\\.?\\*|\\.|(bin|boot|dev|etc|home|lib\\w*|media|mnt|opt|proc|root|run|sbin|srv|sys|usr|var|"
        "usr/(bin|lib\\w*|sbin|share|local|etc)|var/(lib|spool)|etc/init\\.d|lib/modules)(/\\.?\\*)?)?/*$");
    static const QRegularExpression ownMedium("^/mnt/upgrade/(\\*|zul_install(/\\*|/system\\.ini)?)$");
    return top.match(path).hasMatch() || ownMedium.match(path).hasMatch();
}

/// What no system can do without.
bool isVital(const QString &path)
{
    static const QRegularExpression file("^/(usr/)?(s?bin/(sh|busybox|init|bash|dash|mount|umount)|"
                                         "lib\\w*/(\\S+/)?(libc|ld-linux\\S*|libpthread|libm)\\.so\\S*|"
                                         "lib/ld-\\S+)$|^/etc/(passwd|shadow|group|fstab|inittab)$");
    return path.startsWith('/') && file.match(path).hasMatch();
}

/// A path that begins with a variable which nobody has given a value, so that what is meant to be below a
/// folder is at the top of the disk.
bool isUnsetFolder(const QString &word, const ScriptText *script)
{
    static const QRegularExpression variable("^\\$(\\w+|\\{\\w+\\})/(\\.?\\*)?$");
    const QRegularExpressionMatch match = variable.match(word);
    const QString name = match.captured(1).remove('{').remove('}');
    return match.hasMatch() && name != "HOME"
           && !(script && (script->stopsAtUnset || script->assigned.contains(name)));
}

bool deletesByFind(const QStringList &words, const QStringList &values)
{
    static const QSet<QString> tests = {"-path",  "-wholename", "-mtime",    "-mmin",
                                        "-newer", "-size",      "-maxdepth", "-user"};
    const bool deletes = words.contains("-delete")
                         || ((words.contains("-exec") || words.contains("-execdir")) && words.contains("rm"));
    const auto isTop = [](const QString &path) { return isTooMuch(path) || path == "/mnt/upgrade"; };
    const bool names = std::any_of(values.begin(), values.end(), isTop);
    const bool isAsked =
        std::any_of(words.begin(), words.end(), [](const QString &one) { return tests.contains(one); })
        || (words.contains("-name") && !values.contains("/"));
    return deletes && names && !isAsked;
}

bool deletesTooMuch(const QStringList &words, const Step &step, const ScriptText *script)
{
    const QString &program = step.program;
    const bool recursive = hasOption(words, "rR", {"--recursive"});
    const QStringList values = cleanedOperands(step);
    const bool names = anyOf(values, isTooMuch);
    if (anyOf(step.outputs, isVital) && step.program != "echo" && step.program != "cat"
        && step.program != "printf")
        return true;
    if (program == "rm") {
        const bool isHere = step.folder == folderOfTool
                            && (values.contains(".") || values.contains("..") || values.contains("*"));
        const bool hasHome = values.contains("~") || values.contains("~/*") || values.contains("$HOME");
        const bool all = std::any_of(values.begin(), values.end(), [](const QString &path) {
            return isTooMuch(path) && path.endsWith('*');
        });
        return (names && recursive) || all || anyOf(values, isVital) || (recursive && (isHere || hasHome))
               || (recursive
                   && std::any_of(words.begin(), words.end(),
                                  [&](const QString &word) { return isUnsetFolder(word, script); }))
               || values.contains("/mnt/upgrade/zul_install/system.ini");
    }
    if (program == "find")
        return deletesByFind(words, values);
    if (program == "mv")
        return values.size() > 1 && (isTooMuch(values.first()) || isVital(values.first()))
               && !values.first().startsWith("/mnt/upgrade/zul");
    if (program == "rsync")
        return words.join(' ').contains("--delete") && values.size() > 1 && isTooMuch(values.last());
    if (program == "truncate" || program == "shred" || program == "unlink")
        return anyOf(values, isVital);
    if (program == "cp" || program == "ln")
        return values.size() > 1 && isVital(values.last())
               && (program == "ln" || values.first() == "/dev/null");
    if (program == "tar")
        return words.contains("--remove-files") && names;
    if (program == "chmod" && !recursive)
        return values.size() > 1 && values.last() == "/"
               && QStringList{"000", "0", "a-rwx"}.contains(values.first());
    return names && recursive;
}

void deletesTooMuchRule(const Subject &subject, Collector &findings)
{
    static const QSet<QString> programs = {"rm",       "chmod", "chown",  "chgrp", "find", "mv", "rsync",
                                           "truncate", "shred", "unlink", "cp",    "ln",   "tar"};
    const auto tell = [&](const Run &run) {
        adviseAt(
            findings, run,
            "This is about a whole folder of the system, or of the medium, or what no system can do without; hardly "
            "anybody means that",
            "name the folder that is meant, such as /opt/app; a blank in a path makes two of it, and a variable "
            "without a value leaves / of one");
    };
    // Which variables have a value is the script's; the steps of one stand in a row.
    QHash<const Step *, const ScriptText *> scripts;
    for (const auto &script : subject.uses.scripts) {
        for (const Step &step : script->text.steps)
            scripts.insert(&step, &script->text);
    }
    for (const CommandEntry &command : subject.commands) {
        for (const Step &step : command.steps) {
            if (!command.shellText.assigned.isEmpty() || command.shellText.stopsAtUnset)
                scripts.insert(&step, &command.shellText);
        }
    }
    forEach(
        subject, programs,
        [&](const QStringList &words, const Step &step) {
            return deletesTooMuch(words, step, scripts.value(&step));
        },
        tell);
}

// --- Where the medium is --------------------------------------------------------------------------------

/// A path by which one controller, or another computer, has the medium.
struct MountPath {
    QString folder; ///< empty where the word is none
    QString below;
    bool isSure = true; ///< whether it can be nothing else
};

MountPath mountPath(const QString &word)
{
    static const QRegularExpression sure(
        "^((?:/var)?/run/media/[^/]+/[^/]+|/(?:var/)?(?:run/)?media/(?:sd[a-z]\\d*|mmcblk\\d+(?:p\\d+)?|usb\\w*|sd-?card|card|disk|"
        "mmc\\d*|cdrom|hdd|stick|upgrade|[A-Z][A-Z0-9_-]+|[a-z]+/[A-Z][A-Z0-9_-]+)|"
        "/mnt/(?:sd[a-z]\\d*|mmcblk\\d+(?:p\\d+)?|mmc\\d*|usb\\w*|sd-?card|sd|card|udisk|stick|ext)|"
        "/autofs/\\w+|/Volumes/[^/]+|/cygdrive/\\w|[A-Z]:)(?:[/\\\\](.*))?$");
    static const QRegularExpression perhaps(
        "^(/(?:run/)?media/[\\w.-]+|/mnt/\\w+|/mnt|/upgrade|/mount/upgrade|/media|/(?:udisk|usb\\w*|sdcard)|"
        "/storage/[\\w-]+|/run/mount/\\w+)/(.+)$");
    static const QRegularExpression link("^(/(?:mnt|MNT|Mnt|mount|media|mtn|nmt)/+(\\w+))(?:/(.*))?$");
    // Most words cannot be one, by the first letter of their first folder.
    if (word.startsWith('/') && !isOneOf("acmnruvMV", word.size() > 1 ? word.at(1) : QChar()))
        return {};
    const QRegularExpressionMatch certain = sure.match(word);
    if (certain.hasMatch())
        return {certain.captured(1), certain.captured(2).replace('\\', '/'), true};
    const QRegularExpressionMatch misspelt = link.match(word);
    const QString name = misspelt.captured(2).toLower();
    if (misspelt.hasMatch() && word != "/mnt/upgrade" && !word.startsWith(mediumFolder)
        && (name == "update" || (name.size() > 4 && changesBetween(name, "upgrade") <= 2)))
        return {misspelt.captured(1), misspelt.captured(3), true};
    if (word.startsWith("\\mnt\\upgrade") || word.startsWith("/mnt\\upgrade"))
        return {word.left(12), word.mid(13).replace('\\', '/'), true};
    const QRegularExpressionMatch maybe = perhaps.match(word);
    if (maybe.hasMatch() && !word.startsWith(mediumFolder))
        return {maybe.captured(1), maybe.captured(2), false};
    return {};
}

/// What stands behind the "=" of an option, or the word itself.
QString valueOf(const QString &word)
{
    static const QRegularExpression option("^(--?[\\w-]+=|\\w+=|-[A-Za-z](?=/)|file://(?=/))");
    return word.startsWith('/') || !word.contains('/') ? word : QString(word).remove(option);
}

/// The first one that a step names, with the `word` that it is.
MountPath mountPathOf(const Subject &subject, const Step &step, QString *word)
{
    const QStringList words = step.run + step.outputs + step.inputs;
    const bool namesMedium = std::any_of(words.begin(), words.end(), [](const QString &one) {
        return one.contains(QLatin1String("/mnt/upgrade"));
    });
    for (const QString &one : words) {
        const QString path = valueOf(one);
        const bool isCandidate =
            path.startsWith('/') || path.startsWith('\\') || (path.size() > 2 && path.at(1) == ':');
        if (!isCandidate)
            continue;
        MountPath found = mountPath(path);
        const bool isElsewhere =
            !found.isSure && (namesMedium || !subject.hasFile(mediumFolder + found.below));
        if (found.folder.isEmpty() || isElsewhere)
            continue;
        *word = path;
        return found;
    }
    return {};
}

QString mountMessage(const MountPath &found)
{
    const bool isMisspelt = found.folder.contains("up", Qt::CaseInsensitive) || found.folder.startsWith('\\');
    return QString(isMisspelt
                       ? "%1 is not /mnt/upgrade, which is the medium on each controller"
                       : "%1 is where one controller mounts its media; /mnt/upgrade is the medium on each")
        .arg(found.folder);
}

void mountDirectory(const Subject &subject, Collector &findings)
{
    for (const CommandEntry &command : subject.commands) {
        if (!command.command.contains('/') && !command.command.contains('\\'))
            continue;
        for (const Step &step : command.steps) {
            QString word;
            const MountPath found = mountPathOf(subject, step, &word);
            if (found.folder.isEmpty())
                continue;
            // Whether it is the medium's, tells a file of that name on it, perhaps a folder deeper.
            if (found.below.isEmpty() || !subject.hasFile(mediumFolder + found.below))
                findings.askAuthor();
            QString right = command.command;
            right.replace(word, mediumFolder + found.below);
            if (right == command.command)
                findings.advise(commandOffset(command, word), mountMessage(found),
                                mediumFolder + found.below);
            else
                findings.replace(*command.entry, commandOffset(command, word), mountMessage(found),
                                 subject.commandLine(command, right));
            break;
        }
    }
    MountPath found;
    QString word;
    forEachInScripts(
        subject,
        [&](const Step &step) {
            found = mountPathOf(subject, step, &word);
            return !found.folder.isEmpty();
        },
        [&](const Run &run) { adviseAt(findings, run, mountMessage(found), mediumFolder + found.below); });
}

// --- The end --------------------------------------------------------------------------------------------

bool restarts(const QStringList &words, const Step &step)
{
    const QString &program = step.program;
    const QStringList values = operands(words);
    static const QSet<QString> ends = {"reboot", "poweroff", "halt", "kexec"}; // as programs, and as verbs
    if (step.outputs.contains("/proc/sysrq-trigger"))
        return QStringList{"b", "o"}.contains(words.value(1));
    if (program == "shutdown")
        return !hasOption(words, "ck");
    if (program == "systemctl" && values.value(0) == "start")
        return anyOf(values,
                     [](const QString &unit) { return ends.contains(unit.section(".target", 0, 0)); });
    if (program == "systemctl" || program == "loginctl")
        return ends.contains(values.value(0));
    if (program == "trap")
        return ends.contains(words.value(1).section(' ', 0, 0)) && values.contains("EXIT");
    if (program == "dbus-send" || program == "busctl")
        return words.join(' ').contains(QRegularExpression("\\b(Reboot|PowerOff|Halt)\\b"));
    if (program == "init" || program == "telinit")
        return QStringList{"0", "6"}.contains(values.value(0));
    return ends.contains(program) && (program != "kexec" || hasOption(words, "e", {"--exec"}));
}

const QSet<QString> &restartPrograms()
{
    static const QSet<QString> programs = {"reboot",  "poweroff",  "halt",      "shutdown",
                                           "kexec",   "systemctl", "loginctl",  "init",
                                           "telinit", "trap",      "dbus-send", "busctl"};
    return programs;
}

void rebootsAgain(const Subject &subject, Collector &findings)
{
    if (subject.verdict.mode != Verdict::Direct)
        return;
    forEach(
        subject, restartPrograms(),
        [](const QStringList &words, const Step &step) {
            return !step.isConditional && restarts(words, step);
        },
        [&](const Run &run) {
            adviseAt(
                findings, run,
                "In direct mode everything runs again after each start, this too, for as long as the medium is in",
                "leave it out and have the operator restart, ask first whether it has been done, or use CMD_List");
        });
}

void cutsShort(const Subject &subject, Collector &findings)
{
    if (subject.verdict.closing.isEmpty())
        return;
    forEach(
        subject, restartPrograms(),
        [](const QStringList &words, const Step &step) { return restarts(words, step); },
        [&](const Run &run) {
            const bool isReboot = !run.script && run.command.shell.shell.isEmpty()
                                  && baseName(run.command.split.words.value(0)) == "reboot";
            if (!isReboot) // that one is told as one of its own
                adviseAt(
                    findings, run,
                    "Every batch ends with \"sync\" and \"reboot\" already, because of ENDGAME; this cuts off what "
                    "comes after it",
                    "leave it out");
        });
}

} // namespace

QVector<Rule> groundRules()
{
    return {
        {"loses-medium", Severity::Warning, losesMedium, AsksAuthor, "whether it is needed at all"},
        {"stops-tool", Severity::Warning, stopsToolRule, AsksAuthor, "whether it is needed at all"},
        {"takes-screen", Severity::Warning, takesScreenRule, AsksAuthor, "whether it is needed at all"},
        {"overwrites-device", Severity::Warning, overwritesDeviceRule, AsksAuthor,
         "which device it is on each controller"},
        {"deletes-too-much", Severity::Warning, deletesTooMuchRule, AsksAuthor, "what is to be deleted"},
        {"mount-directory", Severity::Warning, mountDirectory, ChangesCommands,
         "whether the medium is meant"},
        {"reboots-again", Severity::Warning, rebootsAgain, AsksAuthor, "who takes the medium out in time"},
        {"cuts-short", Severity::Warning, cutsShort, AsksAuthor, "whether it is needed at all"},
    };
}
