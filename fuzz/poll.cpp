// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What "df" prints, any bytes of it, through one poll after another. Beside it a model of a medium's life:
// which line decides, what is started and told in which order, and what the window then is.
//
// An input is polls, each: a byte of flags, two of a length, and so many bytes that "df" prints. The lowest
// flag: the medium in use has a catalogue; the next: the watchdog's queue is full; the six others: the bytes
// come over and over, a line without an end up to 10 MB.
//
// libfuzzer: -max_len=4096 -runs=200000

#include "common/outside.h"
#include "common/target.h"
#include "common/toolwindow.h"

#include "debuglines.h"

#include <QStringList>

namespace
{

constexpr int mostPolls = 12;
constexpr int mostBytes = 10 * 1024 * 1024;
constexpr int mostBytesOfLines = 256 * 1024;
constexpr int bufferSize = 1024;

const char removeLink[] = "rm /mnt/upgrade";
const char catalogue[] = "/mnt/upgrade/zul_install/system.ini";

/// The computer: a link, and what was asked of it.
class Controller : public Outside
{
public:
    QByteArray printed;
    bool hasCatalogue = false;
    bool queueFull = false;
    QStringList asked;

    QByteArray outputOf(const QByteArray &command) override
    {
        asked.append("print " + command);
        return printed;
    }

    void start(const QString &commandLine) override
    {
        asked.append(commandLine);
    }

    bool exists(const QString &path) override
    {
        asked.append("look for " + path);
        return hasCatalogue;
    }

    bool send(const QByteArray &text) override
    {
        asked.append("tell " + text);
        return !queueFull;
    }
};

/// What the poll sees: a line at a time, of a long one a buffer at a time, each up to its first zero byte.
QStringList linesOf(const QByteArray &printed)
{
    QStringList lines;
    for (int at = 0; at < printed.size();) {
        QByteArray piece = printed.mid(at, bufferSize - 1);
        piece.truncate(piece.contains('\n') ? piece.indexOf('\n') + 1 : piece.size());
        at += piece.size();
        const QByteArray text(piece.constData()); // up to the zero byte
        lines.append(QString::fromUtf8(text.endsWith('\n') ? text.chopped(1) : text));
    }
    return lines;
}

/// The model: the state that a medium's life has, and what has to be asked for in it.
class Model
{
public:
    QString mountPath;
    bool upgrading = false;
    int mediaType = 2;
    QStringList asked;
    QStringList told; // debug lines, but for the two of every program that is started

    void poll(const Controller &controller)
    {
        asked = QStringList{"print df"};
        told.clear();
        QString last;
        bool found = false;
        for (const QString &line : linesOf(controller.printed)) {
            const bool isOne = mountPath.isEmpty() ? line.contains("/dev/sd") || line.contains("/dev/mmc")
                                                   : line.contains(mountPath);
            if (isOne)
                last = line;
            found = found || isOne;
        }
        if (mountPath.isEmpty() && found) {
            mountPath = last.mid(last.lastIndexOf(' ') + 1);
            comes(controller);
        } else if (!mountPath.isEmpty() && !found) {
            mountPath.clear();
            goes(controller);
        }
    }

private:
    void comes(const Controller &controller)
    {
        asked << removeLink << "ln -s " + mountPath + " /mnt/upgrade" << QString("look for ") + catalogue;
        if (!controller.hasCatalogue) {
            told << QString(catalogue) + " unPresence";
            goes(controller);
            return;
        }
        if (mountPath.contains("mmc"))
            mediaType = 0;
        else if (mountPath.contains("sd"))
            mediaType = 1;
        for (const char *name : {"zul_main", "zul_gui_en", "zul_gui_cn", "zul_gui_jk", "zul_gui_lan"})
            asked << QString("killall %1").arg(name);
        tell("syscmd_suspend@600", controller);
        upgrading = true;
        told << "unrecognized command line"; // the catalogue itself is another target's
    }

    void goes(const Controller &controller)
    {
        if (upgrading)
            tell("syscmd_apprestart", controller);
        upgrading = false;
        asked << removeLink;
    }

    void tell(const QString &command, const Controller &controller)
    {
        asked << "tell " + command;
        if (controller.queueFull)
            told << "msgsnd failed: ";
    }
};

void compare(Widget &window, const Model &model, const Controller &controller, const QStringList &told)
{
    MUST(controller.asked == model.asked,
         "asked for: " + controller.asked.join(" | ") + "\ninstead of: " + model.asked.join(" | "));
    MUST(told == model.told, "told: " + told.join(" | ") + "\ninstead of: " + model.told.join(" | "));
    MUST(mountPathOf(window) == model.mountPath, "the medium in use is " + mountPathOf(window));
    MUST(upgradingOf(window) == model.upgrading, "the mode is another");
    MUST(mediaTypeOf(window) == model.mediaType, "the kind of medium is another");
    MUST(window.isVisible() == model.upgrading, "the window is shown, or is not");
    MUST(!model.upgrading || window.isFullScreen(), "the window does not fill the screen");
    MUST(workerOf(window)->suspended, "the worker has something to do");
}

/// A line without an end up to 10 MB, but of others only thousands: more would be all that there is time for.
QByteArray repeated(const QByteArray &unit, int flags)
{
    const int most = (unit.contains('\n') ? mostBytesOfLines : mostBytes) / qMax(1, unit.size());
    return unit.repeated(flags == 63 ? most : flags == 62 ? 40 : flags == 61 ? 7 : 1);
}

/// As a window is that was just made; making one takes longer than all the rest.
void reset(Widget &window)
{
    mountPathOf(window).clear();
    upgradingOf(window) = false;
    mediaTypeOf(window) = 2;
    window.hide();
}

/// The debug lines without the two, empty ones, of each program that the window has started.
QStringList withoutOutput(const QStringList &lines)
{
    QStringList others = lines;
    others.removeAll(QString());
    return others;
}

} // namespace

void fuzz(const QByteArray &input)
{
    static ToolWindow window;
    reset(window.widget());
    Controller controller;
    Model model;
    Input rest(input);
    for (int i = 0; i < mostPolls && !rest.isEmpty(); ++i) {
        const int flags = rest.byte();
        controller.hasCatalogue = flags & 1;
        controller.queueFull = flags & 2;
        controller.printed = repeated(rest.take(rest.word()), flags >> 2);
        controller.asked.clear();

        const DebugLines lines;
        window.poll();
        model.poll(controller);
        compare(window.widget(), model, controller, withoutOutput(lines.lines()));
    }
}
