// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/eventloop.h"
#include "support/fakedf.h"
#include "support/files.h"
#include "support/questions.h"
#include "support/sandboxed.h"
#include "support/sentcommands.h"
#include "support/testwindow.h"
#include "support/watchdogqueue.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QStandardPaths>

namespace
{

const char link[] = "/mnt/upgrade";
const char missingCatalogueLine[] = "/mnt/upgrade/zul_install/system.ini unPresence";
const QByteArray choice = "[system]\nCMD_List=\"a,b\"\n[CMD]\na=A@one\nb=B@two\n";
const QString sdCard = dfLine("/dev/mmcblk1p1", "/mnt/mmcblk1p1");
const QString usbDrive = dfLine("/dev/sda1", "/mnt/sda1");

const QStringList stoppedPrograms{"killall zul_main", "killall zul_gui_en", "killall zul_gui_cn",
                                  "killall zul_gui_jk", "killall zul_gui_lan"};

/// The error output of "rm" without a link to remove, as the log gives it.
QString rmComplaint()
{
    return QStandardPaths::findExecutable("rm")
           + ": cannot remove '/mnt/upgrade': No such file or directory\n";
}

/// The calls that the stand-ins have recorded since this was made.
class NewCalls
{
public:
    QStringList list() const
    {
        return recordedCalls().mid(before);
    }

private:
    int before = recordedCalls().size();
};

} // namespace

/// Noticing the medium, entering upgrade mode and leaving it.
class TestWidgetMedium : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void mediumIsTakenFromItsLine_data();
    void mediumIsTakenFromItsLine();
    void otherLinesAreNoMedium_data();
    void otherLinesAreNoMedium();
    void directoryWithSpacesIsTakenFromItsLastSpaceOn();
    void directoryOfUnknownKindInheritsTheKindOfTheLastMedium();

    void enteringShowsTheWindowFullScreen();
    void enteringShowsTheWindowBeforeItStopsThePrograms();
    void enteringStopsTheFivePrograms();
    void enteringSuspendsTheWatchdog();
    void enteringReadsTheCatalogueThroughTheLink();
    void enteringReplacesAStaleLink();
    void enteringHidesTheDetails();
    void enteringGoesThroughItsStepsInOrder();
    void windowPassesItsOrdersToTheWatchdog();
    void secondPollLeavesTheMediumAlone();

    void mediumWithoutCatalogueGivesOneLineAndNothingElse();
    void rejectedMediumIsLeftAloneUntilItIsRemoved();
    void rejectedMediumIsForgottenSilently();
    void rejectedMediumSuspendsTheWorkerAndSparesItsFlag();

    void upgradeGoesOnWhileAnyLineNamesTheMedium_data();
    void upgradeGoesOnWhileAnyLineNamesTheMedium();
    void leavingHidesTheWindowAndRemovesTheLink();
    void leavingRestartsTheProgramsAndSuspendsTheWorker();
    void leavingGoesThroughItsStepsInOrder();
    void leavingKillsTheCalibrationOfABusyWorker_data();
    void leavingKillsTheCalibrationOfABusyWorker();
    void leavingDoesNotStopTheCountdown();

    void withoutDfNoMediumIsFound();
    void withoutDfUpgradeModeIsLeft();

    void openQuestionClosesWithTheMediumAndCountsAsNo_data();
    void openQuestionClosesWithTheMediumAndCountsAsNo();
    void closedQuestionIsLeftAlone();
    void leavingWithoutAQuestionBoxDoesNoHarm();

    void secondMediumReusesModelsAndCountdown();
    void secondMediumShowsTheSelectionPageAfterABatch();
    void batchOfTheSecondMediumStartsWithoutTheFirstOnesMessage();
    void lateWordsOfTheWorkerDoNotStandOverTheNextBatch_data();
    void lateWordsOfTheWorkerDoNotStandOverTheNextBatch();
    void swappedMediumIsTakenOnThePollAfterTheOneThatMissedTheFirst();
};

void TestWidgetMedium::init()
{
    emptyMnt();
    for (const char *directory :
         {"/mnt/mmcblk1p1", "/mnt/sda1", "/mnt/stick", "/mnt/sd-or-mmc", "/mnt/dev/sdx"})
        makeMedium(directory, choice);
    takeSentCommands();
}

// --- Notice -----------------------------------------------------------------------------------------------

void TestWidgetMedium::mediumIsTakenFromItsLine_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("mountPath");
    QTest::addColumn<int>("mediaType");
    QTest::newRow("SD card") << QStringList({sdCard}) << "/mnt/mmcblk1p1" << 0;
    QTest::newRow("USB drive") << QStringList({usbDrive}) << "/mnt/sda1" << 1;
    QTest::newRow("both, the last line decides: USB drive")
        << QStringList({sdCard, usbDrive}) << "/mnt/sda1" << 1;
    QTest::newRow("both, the last line decides: SD card")
        << QStringList({usbDrive, sdCard}) << "/mnt/mmcblk1p1" << 0;
    QTest::newRow("other lines behind it")
        << QStringList({sdCard, dfLine("tmpfs", "/tmp")}) << "/mnt/mmcblk1p1" << 0;
    QTest::newRow("directory with neither text")
        << QStringList({dfLine("/dev/sda1", "/mnt/stick")}) << "/mnt/stick" << 2;
    QTest::newRow("directory with both texts is an SD card")
        << QStringList({dfLine("/dev/sda1", "/mnt/sd-or-mmc")}) << "/mnt/sd-or-mmc" << 0;
    QTest::newRow("kind by the directory, not by the device")
        << QStringList({dfLine("/dev/sda1", "/mnt/mmcblk1p1")}) << "/mnt/mmcblk1p1" << 0;
    QTest::newRow("device text anywhere in the line")
        << QStringList({dfLine("tmpfs", "/mnt/dev/sdx")}) << "/mnt/dev/sdx" << 1;
}

void TestWidgetMedium::mediumIsTakenFromItsLine()
{
    QFETCH(const QStringList, lines);
    QFETCH(const QString, mountPath);
    QFETCH(const int, mediaType);
    FakeDf df;
    TestWindow window;
    df.lists(lines);
    window.poll();
    QCOMPARE(window.mountPath, mountPath);
    QCOMPARE(window.mediaType, mediaType);
    QCOMPARE(window.upgrading, true);
    QCOMPARE(QFileInfo(link).symLinkTarget(), mountPath);
}

void TestWidgetMedium::otherLinesAreNoMedium_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("nothing but the root") << QStringList();
    QTest::newRow("another device") << QStringList({dfLine("/dev/nvme0n1p1", "/mnt/sda1")});
    QTest::newRow("device in another case") << QStringList({dfLine("/dev/SDA1", "/mnt/sda1")});
    QTest::newRow("device without its directory") << QStringList({dfLine("sda1", "/mnt/sda1")});
}

void TestWidgetMedium::otherLinesAreNoMedium()
{
    QFETCH(const QStringList, lines);
    FakeDf df;
    TestWindow window;
    DebugLines log;
    df.lists(lines);
    window.poll();
    QVERIFY(window.mountPath.isEmpty());
    QCOMPARE(window.upgrading, false);
    QVERIFY(!window.widget.isVisible());
    QCOMPARE(log.lines(), QStringList());
    QVERIFY(!QFileInfo(link).isSymLink());
}

void TestWidgetMedium::directoryWithSpacesIsTakenFromItsLastSpaceOn()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/my SD card", choice);
    df.lists({dfLine("/dev/mmcblk1p1", "/mnt/my SD card")});
    window.poll();
    QCOMPARE(window.mountPath, QString("card"));
    QCOMPARE(window.upgrading, false);
    QVERIFY(!window.widget.isVisible());
}

void TestWidgetMedium::directoryOfUnknownKindInheritsTheKindOfTheLastMedium()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    df.lists({});
    window.poll();
    df.lists({dfLine("/dev/sda1", "/mnt/stick")});
    window.poll();
    QCOMPARE(window.upgrading, true);
    QCOMPARE(window.mediaType, 0);
}

// --- Enter ------------------------------------------------------------------------------------------------

void TestWidgetMedium::enteringShowsTheWindowFullScreen()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    QVERIFY(window.widget.isVisible());
    QVERIFY(window.widget.isFullScreen());
}

void TestWidgetMedium::enteringShowsTheWindowBeforeItStopsThePrograms()
{
    class ShowWatch : public QObject
    {
    public:
        int callsAtShow = -1;
        bool eventFilter(QObject *, QEvent *event) override
        {
            if (event->type() == QEvent::Show)
                callsAtShow = recordedCalls().size();
            return false;
        }
    };
    FakeDf df;
    TestWindow window;
    ShowWatch watch;
    window.widget.installEventFilter(&watch);
    const int callsBefore = recordedCalls().size();
    df.lists({sdCard});
    window.poll();
    QCOMPARE(watch.callsAtShow, callsBefore);
}

void TestWidgetMedium::enteringStopsTheFivePrograms()
{
    FakeDf df;
    TestWindow window;
    const NewCalls calls;
    df.lists({sdCard});
    window.poll();
    QCOMPARE(calls.list(), stoppedPrograms);
}

void TestWidgetMedium::enteringSuspendsTheWatchdog()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    QCOMPARE(takeSentCommands(), QStringList({"syscmd_suspend@600"}));
}

void TestWidgetMedium::enteringReadsTheCatalogueThroughTheLink()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/sda1", "[system]\nCMD_List=x\n[CMD]\nx=On the drive@run\n");
    df.lists({usbDrive});
    window.poll();
    QCOMPARE(columnTexts(window.operationModel), QStringList({"On the drive"}));
}

void TestWidgetMedium::enteringReplacesAStaleLink()
{
    FakeDf df;
    TestWindow window;
    QVERIFY(QFile::link("/mnt/gone", link));
    df.lists({usbDrive});
    window.poll();
    QCOMPARE(QFileInfo(link).symLinkTarget(), QString("/mnt/sda1"));
    QCOMPARE(window.upgrading, true);
}

void TestWidgetMedium::enteringHidesTheDetails()
{
    FakeDf df;
    TestWindow window;
    window.showDetails = true;
    df.lists({sdCard});
    window.poll();
    QCOMPARE(window.showDetails, false);
}

void TestWidgetMedium::enteringGoesThroughItsStepsInOrder()
{
    FakeDf df;
    TestWindow window;
    WatchdogQueue queue;
    queue.fill(); // so that the order to the watchdog leaves a line as well
    makeMedium("/mnt/sda1", "[CMD]\n");
    df.lists({usbDrive});
    DebugLines log;

    window.poll();
    queue.remove();

    QStringList expected{"", rmComplaint(), "", ""};
    for (int program = 0; program < stoppedPrograms.size(); ++program)
        expected += {"", ""};
    expected += {"msgsnd failed: ", "unrecognized command line"};
    QCOMPARE(log.lines(), expected);
}

void TestWidgetMedium::windowPassesItsOrdersToTheWatchdog()
{
    TestWindow window;
    window.widget.feed_dog_stop();
    window.widget.feed_dog_suspend(5);
    window.widget.app_restart();
    QCOMPARE(takeSentCommands(), QStringList({"syscmd_stop", "syscmd_suspend@5", "syscmd_apprestart"}));
}

void TestWidgetMedium::secondPollLeavesTheMediumAlone()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    takeSentCommands();
    window.tapRow("operationList", 0);
    const NewCalls calls;
    DebugLines log;
    window.poll();
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"A"}));
    QCOMPARE(calls.list(), QStringList());
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(takeSentCommands(), QStringList());
}

// --- Reject -----------------------------------------------------------------------------------------------

void TestWidgetMedium::mediumWithoutCatalogueGivesOneLineAndNothingElse()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/empty", QByteArray());
    const NewCalls calls;
    DebugLines log;
    df.lists({dfLine("/dev/sda1", "/mnt/empty")});
    window.poll();
    QCOMPARE(log.lines().count(missingCatalogueLine), 1);
    QCOMPARE(window.mountPath, QString("/mnt/empty"));
    QCOMPARE(window.upgrading, false);
    QCOMPARE(window.mediaType, 2);
    QVERIFY(!window.widget.isVisible());
    QVERIFY(!QFileInfo(link).isSymLink());
    QCOMPARE(calls.list(), QStringList());
    QCOMPARE(takeSentCommands(), QStringList());
}

void TestWidgetMedium::rejectedMediumIsLeftAloneUntilItIsRemoved()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/empty", QByteArray());
    df.lists({dfLine("/dev/sda1", "/mnt/empty")});
    window.poll();
    makeMedium("/mnt/empty", choice);
    DebugLines log;
    window.poll();
    window.poll();
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(window.upgrading, false);

    df.lists({});
    window.poll();
    df.lists({dfLine("/dev/sda1", "/mnt/empty")});
    window.poll();
    QCOMPARE(window.upgrading, true);
}

void TestWidgetMedium::rejectedMediumIsForgottenSilently()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/empty", QByteArray());
    df.lists({dfLine("/dev/sda1", "/mnt/empty")});
    window.poll();
    const NewCalls calls;
    DebugLines log;
    df.lists({});
    window.poll();
    QVERIFY(window.mountPath.isEmpty());
    QCOMPARE(calls.list(), QStringList());
    QCOMPARE(takeSentCommands(), QStringList());
    QVERIFY(!log.lines().contains(missingCatalogueLine));
}

void TestWidgetMedium::rejectedMediumSuspendsTheWorkerAndSparesItsFlag()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/empty", QByteArray());
    window.worker->suspended = false;
    window.worker->running = true;
    df.lists({dfLine("/dev/sda1", "/mnt/empty")});
    window.poll();
    QCOMPARE(window.worker->suspended, true);
    QCOMPARE(window.worker->running, true);
}

// --- Leave ------------------------------------------------------------------------------------------------

void TestWidgetMedium::upgradeGoesOnWhileAnyLineNamesTheMedium_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("its own line") << QStringList({usbDrive});
    QTest::newRow("another medium beside it") << QStringList({usbDrive, sdCard});
    QTest::newRow("as part of a longer path only")
        << QStringList({dfLine("/dev/sdb1", "/mnt/sda1-of-another")});
    QTest::newRow("as part of a device only") << QStringList({dfLine("/mnt/sda1/image", "/mnt/stick")});
    QTest::newRow("on a device of another kind") << QStringList({dfLine("/dev/mmcblk1p1", "/mnt/sda1")});
}

void TestWidgetMedium::upgradeGoesOnWhileAnyLineNamesTheMedium()
{
    QFETCH(const QStringList, lines);
    FakeDf df;
    TestWindow window;
    df.lists({usbDrive});
    window.poll();
    df.lists(lines);
    window.poll();
    QCOMPARE(window.mountPath, QString("/mnt/sda1"));
    QCOMPARE(window.upgrading, true);
    QCOMPARE(window.mediaType, 1);
    QVERIFY(window.widget.isVisible());
    QCOMPARE(QFileInfo(link).symLinkTarget(), QString("/mnt/sda1"));
}

void TestWidgetMedium::leavingHidesTheWindowAndRemovesTheLink()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    df.lists({});
    window.poll();
    QVERIFY(window.mountPath.isEmpty());
    QCOMPARE(window.upgrading, false);
    QVERIFY(!window.widget.isVisible());
    QVERIFY(!QFileInfo(link).isSymLink());
    QVERIFY(QFileInfo::exists("/mnt/mmcblk1p1/zul_install/system.ini"));
}

void TestWidgetMedium::leavingRestartsTheProgramsAndSuspendsTheWorker()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    takeSentCommands();
    window.worker->setSyscmd(&window.runList);
    const NewCalls calls;
    df.lists({});
    window.poll();
    QCOMPARE(takeSentCommands(), QStringList({"syscmd_apprestart"}));
    QCOMPARE(window.worker->suspended, true);
    QCOMPARE(calls.list(), QStringList());
}

void TestWidgetMedium::leavingGoesThroughItsStepsInOrder()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    window.worker->running = true;
    window.worker->current.cmd = "ts_calibrate";
    WatchdogQueue queue;
    queue.fill(); // so that the order to the watchdog leaves a line as well
    QVERIFY(QFile::remove(link));
    df.lists({});
    DebugLines log;

    window.poll();
    queue.remove();

    QCOMPARE(log.lines(), QStringList({"msgsnd failed: ", "", "", "", rmComplaint()}));
}

void TestWidgetMedium::leavingKillsTheCalibrationOfABusyWorker_data()
{
    QTest::addColumn<bool>("running");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("expected");
    const QStringList killed{"killall ts_calibrate"};
    QTest::newRow("busy with the calibration") << true << "ts_calibrate" << killed;
    QTest::newRow("not busy, as the system is built") << false << "ts_calibrate" << QStringList();
    QTest::newRow("busy with another command") << true << "cp a b" << QStringList();
    QTest::newRow("calibration with an argument") << true << "ts_calibrate -v" << QStringList();
    QTest::newRow("calibration in another case") << true << "TS_CALIBRATE" << QStringList();
    QTest::newRow("the other calibration program") << true << "/opt/TSTAPP" << QStringList();
}

void TestWidgetMedium::leavingKillsTheCalibrationOfABusyWorker()
{
    QFETCH(const bool, running);
    QFETCH(const QString, command);
    QFETCH(const QStringList, expected);
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    window.worker->running = running;
    window.worker->current.cmd = command;
    const NewCalls calls;
    df.lists({});
    window.poll();
    QCOMPARE(calls.list(), expected);
    QCOMPARE(window.worker->running, false);
}

void TestWidgetMedium::leavingDoesNotStopTheCountdown()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    df.lists({});
    window.poll();
    QVERIFY(window.rebootTimer->isActive());
}

// --- Without df -------------------------------------------------------------------------------------------

namespace
{

/// While it lives, PATH leads to what the window needs for a medium, but to no "df".
class NoDf
{
public:
    NoDf()
    {
        for (const char *program : {"rm", "ln", "killall", "reboot"})
            QFile::link(QStandardPaths::findExecutable(program), directory.filePath(program));
        qputenv("PATH", directory.path().toUtf8());
    }
    ~NoDf()
    {
        qputenv("PATH", pathBefore);
    }
    Q_DISABLE_COPY(NoDf)

private:
    QTemporaryDir directory;
    QByteArray pathBefore = qgetenv("PATH");
};

} // namespace

void TestWidgetMedium::withoutDfNoMediumIsFound()
{
    TestWindow window;
    DebugLines log;
    const NoDf noDf;
    window.poll();
    QVERIFY(window.mountPath.isEmpty());
    QCOMPARE(window.upgrading, false);
    QCOMPARE(log.lines(), QStringList());
}

void TestWidgetMedium::withoutDfUpgradeModeIsLeft()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    const NoDf noDf;
    window.poll();
    QVERIFY(window.mountPath.isEmpty());
    QCOMPARE(window.upgrading, false);
    QVERIFY(!window.widget.isVisible());
    QVERIFY(!QFileInfo(link).isSymLink());
}

// --- Pulled at a bad moment, and the next medium ----------------------------------------------------------

void TestWidgetMedium::openQuestionClosesWithTheMediumAndCountsAsNo_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("question to continue") << QByteArray("confirmPb");
    QTest::newRow("question to abort") << QByteArray("cancelPb");
}

void TestWidgetMedium::openQuestionClosesWithTheMediumAndCountsAsNo()
{
    QFETCH(const QByteArray, button);
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    window.tapRow("operationList", 0);
    bool isClosed = false;
    Questions questions([&](QMessageBox &box) {
        df.lists({});
        window.poll();
        isClosed = !box.isVisible();
        box.reject(); // so that a box that stays does not hold up the test
    });
    const NewCalls calls;

    const int code = exitCodeOfEventLoop([&] { window.tap(button); });

    QCOMPARE(questions.asked().size(), 1);
    QVERIFY(isClosed);
    QVERIFY(!window.widget.isVisible());
    QCOMPARE(window.runList.size(), 0);
    QVERIFY(!window.worker->cmdList);
    QCOMPARE(window.worker->suspended, true);
    QCOMPARE(calls.list(), QStringList());
    QCOMPARE(code, loopGoesOn);
}

void TestWidgetMedium::closedQuestionIsLeftAlone()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    window.msgBox->setResult(QMessageBox::Yes);
    const QSignalSpy finished(window.msgBox, SIGNAL(finished(int)));
    const QSignalSpy rejected(window.msgBox, SIGNAL(rejected()));

    df.lists({});
    window.poll();

    QCOMPARE(window.upgrading, false);
    QCOMPARE(finished.size(), 0);
    QCOMPARE(rejected.size(), 0);
    QCOMPARE(window.msgBox->result(), int(QMessageBox::Yes));
}

void TestWidgetMedium::leavingWithoutAQuestionBoxDoesNoHarm()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    window.msgBox = nullptr;

    df.lists({});
    window.poll();

    QCOMPARE(window.upgrading, false);
    QVERIFY(!window.widget.isVisible());
    QVERIFY(takeSentCommands().contains("syscmd_apprestart"));
}

void TestWidgetMedium::secondMediumReusesModelsAndCountdown()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    const auto *operations = window.operationModel;
    const auto *selected = window.selectedModel;
    const auto *timer = window.rebootTimer;
    const auto *box = window.msgBox;
    df.lists({});
    window.poll();
    df.lists({usbDrive});
    window.poll();
    QCOMPARE(window.upgrading, true);
    QCOMPARE(window.operationModel, operations);
    QCOMPARE(window.selectedModel, selected);
    QCOMPARE(window.rebootTimer, timer);
    QCOMPARE(window.msgBox, box);
}

void TestWidgetMedium::secondMediumShowsTheSelectionPageAfterABatch()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/mmcblk1p1", "[system]\nENDGAME=false\nCMD_List=a\n[CMD]\na=A@one\n");
    df.lists({sdCard});
    window.poll();
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(commandsOf(window.runList), QStringList({"one"}));
    QVERIFY(!window.child<QWidget>("widget")->isVisible());

    df.lists({});
    window.poll();
    df.lists({usbDrive});
    window.poll();

    QVERIFY(window.child<QWidget>("widget")->isVisible());
    QVERIFY(window.child<QWidget>("widget")->isAncestorOf(window.widget.childAt(400, 200)));
    window.tapRow("operationList", 1);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"B"}));
}

void TestWidgetMedium::batchOfTheSecondMediumStartsWithoutTheFirstOnesMessage()
{
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/sda1", "[system]\nCMD_Type=a\n[CMD]\na=A@one\n");
    df.lists({sdCard});
    window.poll();
    window.widget.slotsState_end();
    QVERIFY(!window.labelText("information").isEmpty());
    df.lists({});
    window.poll();
    df.lists({usbDrive});
    window.poll();
    QVERIFY(!window.child<QWidget>("widget")->isVisible());
    QCOMPARE(window.labelText("information"), QString());
}

void TestWidgetMedium::lateWordsOfTheWorkerDoNotStandOverTheNextBatch_data()
{
    QTest::addColumn<QByteArray>("word");
    QTest::newRow("the end of the batch") << QByteArray("slotsState_end");
    QTest::newRow("a calibration") << QByteArray("slotstsCalibrate");
    QTest::newRow("a command") << QByteArray("slotsStateChange");
}

void TestWidgetMedium::lateWordsOfTheWorkerDoNotStandOverTheNextBatch()
{
    QFETCH(const QByteArray, word);
    FakeDf df;
    TestWindow window;
    makeMedium("/mnt/sda1", "[system]\nCMD_Type=a\n[CMD]\na=A@one\n");
    df.lists({usbDrive});
    // As from the worker's thread, while the window is busy taking up the medium.
    QGenericArgument argument;
    const bool shown = false;
    const QString name = "Old operation";
    if (word == "slotstsCalibrate")
        argument = Q_ARG(bool, shown);
    else if (word == "slotsStateChange")
        argument = Q_ARG(QString, name);
    QVERIFY(QMetaObject::invokeMethod(&window.widget, word.constData(), Qt::QueuedConnection, argument));

    window.poll();
    QCoreApplication::processEvents();

    QCOMPARE(commandsOf(window.runList), QStringList({"one"}));
    QCOMPARE(window.labelText("information"), QString());
    QVERIFY(window.child<QWidget>("widget_2")->isVisible());
}

void TestWidgetMedium::swappedMediumIsTakenOnThePollAfterTheOneThatMissedTheFirst()
{
    FakeDf df;
    TestWindow window;
    df.lists({sdCard});
    window.poll();
    df.lists({usbDrive});
    window.poll();
    QCOMPARE(window.upgrading, false);
    QVERIFY(!window.widget.isVisible());
    window.poll();
    QCOMPARE(window.upgrading, true);
    QCOMPARE(window.mountPath, QString("/mnt/sda1"));
    QCOMPARE(window.mediaType, 1);
    QCOMPARE(takeSentCommands(),
             QStringList({"syscmd_suspend@600", "syscmd_apprestart", "syscmd_suspend@600"}));
}

SANDBOXED_TEST_MAIN(TestWidgetMedium)
#include "tst_widget_medium.moc"
