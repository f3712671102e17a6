// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What an operator can do, in any order: media put in, pulled out and swapped, operations tapped, questions
// answered, the countdown ticking, all of it also while the worker is anywhere in a batch. The window's slots
// and the worker's own loop are the real ones; a model beside them says what must be so after every step, and
// a ledger that nothing is run but what was handed over last, in its order, each command once.
//
// The worker has a thread of its own and yet takes the same course each time: it goes on when a step says so,
// to its next wait or program, and everything else happens while it stands there. So its signals are queued
// as on the controller, and delivered when a step says so.
//
// libfuzzer: -max_len=400 -runs=200000

#include "common/outside.h"
#include "common/target.h"
#include "common/toolwindow.h"

#include "debuglines.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QListView>
#include <QSemaphore>
#include <QTimer>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// access/windowmembers.h has the one batch only.
static void (myThread::*placeOfRun())();
template <void (myThread::*Pointer)()>
struct AccessRun {
    friend void (myThread::*placeOfRun())()
    {
        return Pointer;
    }
};
template struct AccessRun<&myThread::run>;

namespace
{

constexpr int mostSteps = 120;
constexpr int firstTick = 300;
constexpr int laterTick = 360;

const char folder[] = "/mnt/upgrade/zul_install";
const char catalogueFile[] = "/mnt/upgrade/zul_install/system.ini";

// --- What media carry -----------------------------------------------------------------------------------

struct Catalogue {
    enum Kind { Absent, Selection, Direct };

    Kind kind = Absent;
    int endGame = -1; // as it was before
    QVector<_system_CMD> records;

    explicit Catalogue(Input &input)
    {
        const int flags = input.byte();
        kind = flags % 8 == 0 ? Absent : flags % 4 == 1 ? Direct : Selection;
        endGame = (flags >> 3) % 3 - 1;
        const int count = (flags >> 5) % 6;
        for (int i = 0; i < count; ++i) {
            const int choice = input.byte();
            records.append({names().at(choice % names().size()),
                            commands().at(choice / names().size() % commands().size()), false, 0});
        }
    }
    Catalogue() = default;

    QByteArray text() const
    {
        QStringList keys;
        QByteArray lines;
        for (const _system_CMD &record : records) {
            keys.append(QString("k%1").arg(keys.size()));
            lines += keys.last().toUtf8() + "=\"" + record.name.toUtf8() + '@' + record.cmd.toUtf8() + "\"\n";
        }
        QByteArray system = kind == Direct ? "CMD_Type=\"" : "CMD_List=\"";
        system += keys.join(',').toUtf8() + "\"\n";
        if (endGame >= 0)
            system += endGame ? "ENDGAME=true\n" : "ENDGAME=false\n";
        return "[system]\n" + system + "[CMD]\n" + lines;
    }

    QString inWords() const
    {
        QStringList words{kind == Absent   ? "no catalogue"
                          : kind == Direct ? "run at once"
                                           : "to choose from"};
        for (const _system_CMD &record : records)
            words.append(record.name + '@' + record.cmd);
        return words.join(' ') + (endGame < 0 ? "" : endGame ? ", reboots" : ", does not reboot");
    }

private:
    // Few, so that names meet again; an empty one, too.
    static const QStringList &names()
    {
        static const QStringList all{"A", "B", "C", ""};
        return all;
    }

    static const QStringList &commands()
    {
        static const QStringList all{"cp a b", "rm a",         "",           "update.sh", "sh update.sh",
                                     "sh ",    "ts_calibrate", "TSTAPP one", "sync",      "flash_erase a 0"};
        return all;
    }
};

struct Medium {
    const char *device;
    const char *mountPath;
    int type; // -1: as it was before
    bool present = false;
    Catalogue catalogue;
};

/// Writes the file, with a time that it never had: the settings reader goes by that.
void writeFresh(const QByteArray &bytes)
{
    static const bool made = QDir().mkpath(folder);
    static time_t seconds = 0;
    const int file = made ? open(catalogueFile, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600) : -1;
    const timespec times[] = {{++seconds, 0}, {seconds, 0}};
    if (file == -1 || ::write(file, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size()
        || futimens(file, times) != 0)
        qFatal("%s: %s", catalogueFile, std::strerror(errno));
    close(file);
}

// --- The worker's turns ---------------------------------------------------------------------------------

/// Lets one of two threads go on at a time.
class Turns
{
public:
    struct Over {
    };

    /// The main thread's: lets the worker go on until it stands again.
    void toWorker()
    {
        workers.release();
        mains.acquire();
    }

    /// The worker's, when it begins: stands until it is to go on.
    void wait()
    {
        workers.acquire();
        if (over)
            throw Over();
    }

    /// The worker's: the main thread goes on, and this one stands until it is to go on.
    void stand()
    {
        mains.release();
        wait();
    }

    /// The worker's, for the last time.
    void leave()
    {
        mains.release();
    }

    void end()
    {
        over = true; // seen by the other thread, which the semaphore orders behind this
        toWorker();
    }

private:
    QSemaphore workers;
    QSemaphore mains;
    bool over = false;
};

/// The computer: media, what was asked of it, and the worker's thread, which stands whenever it asks.
class Controller : public Outside
{
public:
    std::array<Medium, 3> media{Medium{"/dev/mmcblk0p1", "/media/mmcblk0p1", 0, false, {}},
                                Medium{"/dev/sda1", "/media/sda1", 1, false, {}},
                                Medium{"/dev/sdb1", "/media/stick", -1, false, {}}};
    QStringList asked;
    int result = 0; // of the program that the worker runs
    Turns turns;

    const Medium *linked = nullptr;

    QByteArray outputOf(const QByteArray &) override
    {
        QByteArray lines = "Filesystem 1K-blocks Used Available Use% Mounted on\n";
        for (const Medium &medium : media) {
            if (medium.present)
                lines +=
                    QByteArray(medium.device) + "  31154688 16384  31138304   1% " + medium.mountPath + '\n';
        }
        return lines;
    }

    void start(const QString &commandLine) override
    {
        asked.append(commandLine);
        for (const Medium &medium : media) {
            if (commandLine == QString("ln -s %1 /mnt/upgrade").arg(medium.mountPath))
                linked = &medium;
        }
        if (commandLine == "rm /mnt/upgrade")
            linked = nullptr;
    }

    bool exists(const QString &path) override
    {
        if (path != catalogueFile)
            violated("looks for " + path);
        const bool found = linked && linked->present && linked->catalogue.kind != Catalogue::Absent;
        if (found)
            writeFresh(linked->catalogue.text());
        return found;
    }

    bool send(const QByteArray &text) override
    {
        asked.append("tell " + text);
        return true;
    }

    void shell(const QByteArray &command) override
    {
        asked.append("shell " + command);
    }

    void exit(int code) override
    {
        asked.append(QString("exit %1").arg(code));
    }

    // On the worker's thread.

    void sleep(unsigned long seconds) override
    {
        MUST(seconds == 2, "the worker waits another time");
        turns.stand();
    }

    int execute(const QString &commandLine) override
    {
        asked.append("run " + commandLine);
        turns.stand();
        return result;
    }
};

// --- The model ------------------------------------------------------------------------------------------

bool mayBeSkipped(const QString &command)
{
    if (!command.contains("sh"))
        return command.isEmpty();
    const int space = command.indexOf(' ');
    return space < 0 || command.mid(space).count(' ') == command.size() - space;
}

bool calibrates(const QString &command)
{
    return command == "ts_calibrate" || command.contains("TSTAPP");
}

/// What must be so. The names are the window's.
class Model
{
public:
    explicit Model(Controller &itsController)
        : controller(itsController)
    {
    }

    // The window
    QString mountPath;
    bool upgrading = false;
    int mediaType = 2;
    bool showDetails = false;
    bool offers = false; // a catalogue with a choice was read, so that there are lists
    QStringList operations;
    QStringList selected;
    QMap<QString, _system_CMD> commands;
    QVector<_system_CMD> runList;
    bool endGame = true;
    bool listsShown = true;
    bool statusShown = true;
    QString information;
    QString countdown;
    int countdowns = 0; // how often the slot is connected
    int tick = laterTick;
    bool ended = false;
    bool tableMade = false;
    bool tableDetails = false;
    QVector<_system_CMD> table;

    // The worker
    enum Place { Idle, Waiting, Running };
    Place place = Idle;
    bool suspended = true;

    // What has to be asked of the computer, and told.
    QStringList asked;
    QStringList told;

    bool listsInHand() const
    {
        return upgrading && listsShown && offers;
    }

    bool statusInHand() const
    {
        return upgrading && statusShown && !listsShown;
    }

    // --- Media

    void poll()
    {
        const Medium *last = nullptr;
        for (const Medium &medium : controller.media) {
            if (medium.present && (mountPath.isEmpty() || mountPath == medium.mountPath))
                last = &medium;
        }
        if (mountPath.isEmpty() && last) {
            mountPath = last->mountPath;
            comes(*last);
        } else if (!mountPath.isEmpty() && !last) {
            mountPath.clear();
            goes();
        }
    }

    // --- Taps

    void tapOperation(int row)
    {
        const QString &name = operations.at(row);
        if (selected.contains(name)) {
            takeOut(name);
        } else {
            selected.append(name);
            told.append(QString("append item [%1] to selected list").arg(name));
        }
    }

    void tapSelected(int row)
    {
        takeOut(QString(selected.at(row)));
    }

    void tapDetails()
    {
        showDetails = !showDetails;
        makeTable();
    }

    void confirmed()
    {
        runList.clear();
        for (const QString &name : qAsConst(selected)) {
            if (commands.contains(name))
                runList.append(commands.value(name));
            else
                told.append(QString("item[%1] is not in the command list").arg(name));
        }
        if (endGame) {
            runList.append({"Save data", "sync", false, 0});
            runList.append({"Reboot system", "reboot", false, 0});
        }
        if (!runList.isEmpty())
            startBatch();
    }

    void reboot()
    {
        asked << "exit 0"
              << "shell reboot";
        ended = true;
    }

    void oneTick()
    {
        for (int i = 0; i < countdowns; ++i) { // to the last one, although the tool ends meanwhile
            if (tick < 0) {
                tick = laterTick;
                reboot();
                continue;
            }
            countdown = QString::asprintf("%02d:%02d", tick / 60, tick % 60);
            --tick;
        }
    }

    // --- The worker

    /// What it says reaches the window.
    void deliver()
    {
        const QVector<std::function<void()>> said = waiting;
        waiting.clear();
        for (const auto &tell : said)
            tell();
    }

    /// The worker goes on; a program that it runs ends with this result.
    void workerGoesOn(int result)
    {
        switch (place) {
        case Idle:
            if (!suspended)
                beginBatch();
            return;
        case Waiting:
            afterWaiting();
            return;
        case Running:
            afterRunning(result);
        }
    }

    /// Nothing is left undone: the worker is idle, and all that it has said was heard.
    bool isQuiet() const
    {
        return place == Idle && suspended && waiting.isEmpty();
    }

private:
    void comes(const Medium &medium)
    {
        asked << "rm /mnt/upgrade" << QString("ln -s %1 /mnt/upgrade").arg(medium.mountPath);
        if (medium.catalogue.kind == Catalogue::Absent) {
            told << QString(catalogueFile) + " unPresence";
            goes();
            return;
        }
        if (medium.type >= 0)
            mediaType = medium.type;
        for (const char *name : {"zul_main", "zul_gui_en", "zul_gui_cn", "zul_gui_jk", "zul_gui_lan"})
            asked << QString("killall %1").arg(name);
        asked << "tell syscmd_suspend@600";
        upgrading = true;
        showDetails = false;
        if (medium.catalogue.kind == Catalogue::Selection)
            offer(medium.catalogue);
        else
            runAtOnce(medium.catalogue);
    }

    void offer(const Catalogue &catalogue)
    {
        ++countdowns;
        if (catalogue.endGame >= 0)
            endGame = catalogue.endGame;
        offers = true;
        operations.clear();
        selected.clear();
        commands.clear();
        runList.clear();
        listsShown = true;
        if (catalogue.records.isEmpty())
            told << "empty command name in the list";
        for (const _system_CMD &record : catalogue.records) {
            operations.append(record.name);
            commands.insert(record.name, record);
        }
    }

    void runAtOnce(const Catalogue &catalogue)
    {
        runList = catalogue.records;
        if (!runList.isEmpty())
            startBatch();
    }

    void goes()
    {
        if (upgrading)
            asked << "tell syscmd_apprestart";
        upgrading = false;
        asked << "rm /mnt/upgrade";
        suspended = true;
    }

    void takeOut(const QString &name)
    {
        const int row = selected.indexOf(name);
        selected.removeAt(row);
        told.append(QString("remove item %1[%2] in the selected list").arg(row).arg(name));
    }

    void startBatch()
    {
        deliver();
        information.clear();
        listsShown = false;
        statusShown = true;
        ++handedOver;
        suspended = false;
        makeTable();
    }

    void makeTable()
    {
        tableMade = true;
        tableDetails = showDetails;
        table = runList;
    }

    bool isReplaced() const
    {
        return atWork != handedOver;
    }

    void beginBatch()
    {
        atWork = handedOver;
        pageHidden = false;
        count = runList.size();
        index = 0;
        nextCommand();
    }

    void nextCommand()
    {
        if (index >= count || index >= runList.size()) {
            endBatch();
            return;
        }
        current = runList.at(index);
        current.state = 1;
        sayState(current.name);
        if (calibrates(current.cmd)) {
            writeBack();
            pageHidden = true;
            sayPage(false);
        }
        place = Waiting;
    }

    void afterWaiting()
    {
        if (!isReplaced() && !mayBeSkipped(current.cmd)) {
            asked << "run " + current.cmd;
            place = Running;
            return;
        }
        complete();
        goOnUnless(isReplaced());
    }

    void afterRunning(int result)
    {
        current.succeed = result == 0;
        complete();
        if (calibrates(current.cmd)) {
            pageHidden = false;
            sayPage(true);
        }
        writeBack();
        goOnUnless(isReplaced() || suspended);
    }

    void goOnUnless(bool over)
    {
        if (over) {
            endBatch();
            return;
        }
        ++index;
        nextCommand();
    }

    void complete()
    {
        current.state = 2;
        writeBack();
        sayState(QString());
    }

    void writeBack()
    {
        if (!isReplaced() && index < runList.size())
            runList[index] = current;
    }

    void endBatch()
    {
        place = Idle;
        if (isReplaced()) {
            if (pageHidden)
                sayPage(true);
            return;
        }
        suspended = true;
        waiting.append([this] {
            const QString what = mediaType == 0 ? "SD card" : mediaType == 1 ? "USB drive" : "storage device";
            information = QString("Operation completed，please unplug %1！").arg(what);
        });
    }

    void sayState(const QString &name)
    {
        waiting.append([this, name] {
            told.append("################# " + name);
            information = "Executing：" + name;
            makeTable();
        });
    }

    void sayPage(bool shown)
    {
        waiting.append([this, shown] { statusShown = shown; });
    }

    Controller &controller;
    QVector<std::function<void()>> waiting;
    _system_CMD current{QString(), QString(), false, 0};
    int count = 0;
    int index = 0;
    unsigned handedOver = 0;
    unsigned atWork = 0;
    bool pageHidden = false;
};

// --- One input ------------------------------------------------------------------------------------------

/// Where the slot's own counter stands, which outlives a window.
int tickOfSlot = firstTick;

/// Brings it to where it is after a countdown, for a course must not depend on the one before.
void windBack(Widget &window, Controller &controller)
{
    while (tickOfSlot != laterTick) {
        QMetaObject::invokeMethod(&window, "slot_rebootTimeout");
        tickOfSlot = tickOfSlot < 0 ? laterTick : tickOfSlot - 1;
    }
    controller.asked.clear();
}

class Course
{
public:
    Course()
        : model(controller)
    {
        windBack(window.widget(), controller);
        model.countdown = window.child<QLabel>("timeout")->text();
        model.information = window.child<QLabel>("information")->text();
        thread = std::thread([this] {
            try {
                controller.turns.wait();
                (workerOf(window.widget())->*placeOfRun())();
            } catch (const Turns::Over &) {
                controller.turns.leave();
            }
        });
        controller.turns.toWorker();
    }

    ~Course()
    {
        controller.turns.end();
        thread.join();
        tickOfSlot = model.tick;
    }

    bool step(Input &input)
    {
        anything(input);
        compare();
        return !model.ended;
    }

private:
    void anything(Input &input)
    {
        const int what = input.byte() % 18;
        if (what < 9)
            happens(what, input);
        else if (model.listsInHand())
            onTheLists(what, input);
        else if (model.statusInHand())
            tapDetails();
    }

    /// What may happen while a question is open, too.
    void happens(int what, Input &input)
    {
        switch (what) {
        case 0:
        case 1:
            putIn(input);
            break;
        case 2:
            pullOut(input);
            break;
        case 3:
        case 4:
            poll();
            break;
        case 5:
        case 6:
            workerGoesOn(input);
            break;
        case 7:
            deliver();
            break;
        default:
            ticks(input);
        }
    }

    void onTheLists(int what, Input &input)
    {
        switch (what) {
        case 9:
        case 10:
        case 11:
        case 12:
            tapOperation(input);
            break;
        case 13:
            tapSelected(input);
            break;
        case 14:
        case 15:
        case 16:
            confirm(input);
            break;
        default:
            abort(input);
        }
    }

    void putIn(Input &input)
    {
        const int choice = input.byte();
        Medium &medium = controller.media[static_cast<size_t>(choice) % controller.media.size()];
        const Catalogue catalogue(input);
        if (medium.present)
            return; // what is on a mounted medium does not become another one's
        medium.present = true;
        medium.catalogue = catalogue;
        note(QString("%1 is put in, %2").arg(medium.mountPath, catalogue.inWords()));
        if (choice & 0x80)
            poll();
    }

    void pullOut(Input &input)
    {
        const int choice = input.byte();
        Medium &medium = controller.media[static_cast<size_t>(choice) % controller.media.size()];
        note(QString("%1 is pulled out").arg(medium.mountPath));
        medium.present = false;
        if (choice & 0x80)
            poll();
    }

    void poll()
    {
        note("poll");
        const int before = model.countdowns;
        window.poll();
        model.poll();
        QTimer *timer = rebootTimerOf(window.widget());
        MUST(!timer == (model.countdowns == 0), "there is a countdown, or there is none");
        if (model.countdowns == before)
            return;
        MUST(timer->isActive() && timer->interval() == 1000, "the countdown stands still");
        timer->stop(); // from now on it ticks when a step says so
    }

    void workerGoesOn(Input &input)
    {
        const int results[] = {0, 1, -1, -2};
        controller.result = results[input.byte() % 4];
        note(QString("the worker goes on (%1)").arg(controller.result));
        controller.turns.toWorker();
        model.workerGoesOn(controller.result);
    }

    void deliver()
    {
        note("the window hears what the worker has said");
        QCoreApplication::sendPostedEvents(&window.widget(), QEvent::MetaCall);
        model.deliver();
    }

    void ticks(Input &input)
    {
        const int choice = input.byte();
        const int count = choice < 200 ? 1 : (choice - 199) * 6;
        note(QString("%1 ticks").arg(count));
        for (int i = 0; i < count && model.countdowns > 0 && !model.ended; ++i) {
            QMetaObject::invokeMethod(rebootTimerOf(window.widget()), "timeout", Qt::DirectConnection);
            model.oneTick();
        }
    }

    void tapOperation(Input &input)
    {
        const int choice = input.byte();
        if (model.operations.isEmpty())
            return;
        const int row = choice % model.operations.size();
        note(QString("operation %1 is tapped").arg(row));
        tap("operationList", row);
        model.tapOperation(row);
    }

    void tapSelected(Input &input)
    {
        const int choice = input.byte();
        if (model.selected.isEmpty())
            return;
        const int row = choice % model.selected.size();
        note(QString("selected %1 is tapped").arg(row));
        tap("selectedList", row);
        model.tapSelected(row);
    }

    void tap(const char *list, int row)
    {
        auto *view = window.child<QListView>(list);
        const QModelIndex index = view->model()->index(row, 0);
        MUST(index.isValid(), QString("%1 has no row %2").arg(list).arg(row));
        QMetaObject::invokeMethod(view, "clicked", Q_ARG(QModelIndex, index));
    }

    void tapDetails()
    {
        note("details");
        window.child<QAbstractButton>("pushButton")->click();
        model.tapDetails();
    }

    void confirm(Input &input)
    {
        if (model.selected.isEmpty()) {
            note("confirm, with nothing selected");
            window.child<QAbstractButton>("confirmPb")->click();
            model.told.append("no item selected");
            return;
        }
        note("confirm");
        if (isAnsweredYes("confirmPb", input))
            model.confirmed();
    }

    void abort(Input &input)
    {
        note("abort");
        if (isAnsweredYes("cancelPb", input))
            model.reboot();
    }

    /// Taps the button, has something happen while the question is open, and answers it, if it still is.
    bool isAnsweredYes(const char *button, Input &input)
    {
        const bool yes = input.byte() % 4 != 0;
        const int meanwhile = input.byte();
        bool asks = false;
        bool answered = false;
        QMessageBox *question = msgBoxOf(window.widget());
        QTimer::singleShot(0, &window.widget(), [&] {
            asks = question->isVisible();
            model.deliver(); // the question turns the loop
            if (meanwhile >= 128)
                happens(meanwhile % 8, input); // but no tick: the tool's end is another step
            QCoreApplication::sendPostedEvents(&window.widget(), QEvent::MetaCall);
            model.deliver();
            MUST(question->isVisible() == model.upgrading, "the question is open, or is not");
            answered = question->isVisible();
            if (answered)
                question->button(yes ? QMessageBox::Yes : QMessageBox::No)->click();
        });
        // Whoever taps "Confirm" sees the answer's consequences at once, so that the model has to be there
        // first.
        window.child<QAbstractButton>(button)->click();
        MUST(asks, "no question");
        note(!answered ? "the question closes" : yes ? "yes" : "no");
        return answered && yes;
    }

    void compare()
    {
        Widget &widget = window.widget();
        same(controller.asked, model.asked, "asked of the computer");
        QStringList said = lines.lines().mid(told);
        told += said.size();
        said.removeAll(QString()); // of the programs' output
        same(said, model.told, "told");
        model.asked.clear();
        model.told.clear();
        controller.asked.clear();

        MUST(mountPathOf(widget) == model.mountPath, "another medium is in use: " + mountPathOf(widget));
        MUST(upgradingOf(widget) == model.upgrading && widget.isVisible() == model.upgrading,
             "the window is shown, or is not");
        MUST(mediaTypeOf(widget) == model.mediaType, "the kind of medium is another");
        MUST(endGameOf(widget) == model.endGame, "the end of the game is another");
        MUST(window.child<QWidget>("widget")->isHidden() != model.listsShown,
             "the lists are shown, or are not");
        MUST(window.child<QWidget>("widget_2")->isHidden() != model.statusShown,
             "the status page is shown, or is not");
        same(textsOf(operationModelOf(widget)), model.operations, "offered");
        same(textsOf(selectedModelOf(widget)), model.selected, "selected");
        compareRunList();
        if (model.tableMade)
            requireTable(widget, model.table, model.tableDetails);
        same({window.child<QLabel>("information")->text()}, {model.information}, "the message");
        same({window.child<QLabel>("timeout")->text()}, {model.countdown}, "the countdown");
        MUST(workerOf(widget)->suspended == model.suspended, "the worker is suspended, or is not");
        MUST(!workerOf(widget)->running, "the busy flag is set");
        MUST(!model.isQuiet() || !window.child<QWidget>("widget_2")->isHidden(),
             "a calibration has left the page hidden");
    }

    void compareRunList()
    {
        const QVector<_system_CMD> &list = runListOf(window.widget());
        MUST(list.size() == model.runList.size(), QString("the run list has %1 records").arg(list.size()));
        for (int i = 0; i < list.size(); ++i)
            MUST(sameRecord(list.at(i), model.runList.at(i)),
                 QString("record %1 is %2@%3, state %4, %5")
                     .arg(QString::number(i), list.at(i).name, list.at(i).cmd,
                          QString::number(list.at(i).state), list.at(i).succeed ? "succeed" : "failed"));
    }

    static void same(const QStringList &is, const QStringList &must, const char *what)
    {
        MUST(is == must, QString("%1: %2\ninstead of: %3").arg(what, is.join(" | "), must.join(" | ")));
    }

    Controller controller;
    ToolWindow window;
    const DebugLines lines; // not those of the window's start
    int told = 0;
    Model model;
    std::thread thread;
};

} // namespace

void fuzz(const QByteArray &input)
{
    Input rest(input);
    Course course;
    for (int i = 0; i < mostSteps && !rest.isEmpty(); ++i) {
        if (!course.step(rest))
            return;
    }
}
