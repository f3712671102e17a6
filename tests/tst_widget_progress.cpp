// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/files.h"
#include "support/heldprogram.h"
#include "support/markingtranslator.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"
#include "support/waiting.h"

#include <QLabel>

/// What the operator sees of a batch.
class TestWidgetProgress : public QObject
{
    Q_OBJECT

private slots:
    void startOfACommandShowsItsName_data();
    void startOfACommandShowsItsName();
    void nameWithMarkupShowsAsItIs();
    void endOfACommandLeavesTheWordAlone();
    void startOfACommandIsLoggedAsItIs_data();
    void startOfACommandIsLoggedAsItIs();
    void stateChangeRebuildsTheTable();
    void wordBeforeTheNameIsTranslated();

    void endOfTheBatchAsksForTheMedium_data();
    void endOfTheBatchAsksForTheMedium();
    void endOfTheBatchLeavesTheTableAlone();

    void calibrationHidesAndShowsTheStatusPageOnly();

    void batchIsReportedFromItsStartToItsEnd();
};

void TestWidgetProgress::startOfACommandShowsItsName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain name") << "Save data"
                                << "Executing：Save data";
    QTest::newRow("name with a placeholder in it") << "100%1"
                                                   << "Executing：100%1";
    QTest::newRow("Chinese name") << "更新"
                                  << "Executing：更新";
}

void TestWidgetProgress::startOfACommandShowsItsName()
{
    QFETCH(const QString, name);
    QFETCH(const QString, expected);
    TestWindow window;
    window.widget.slotsStateChange(name);
    QCOMPARE(window.labelText("information"), expected);
}

void TestWidgetProgress::nameWithMarkupShowsAsItIs()
{
    // A label guesses by itself that this is HTML, and would show other letters than the list has shown, or
    // read whatever file an image names.
    TestWindow window;
    window.widget.slotsStateChange("Copy <b>all</b> & <i>sync</i>");
    auto *label = window.child<QLabel>("information");
    const QImage shown = label->grab().toImage();

    label->setTextFormat(Qt::PlainText);
    QCOMPARE(shown, label->grab().toImage());
}

void TestWidgetProgress::endOfACommandLeavesTheWordAlone()
{
    TestWindow window;
    window.widget.slotsStateChange("Save data");
    window.widget.slotsStateChange("");
    QCOMPARE(window.labelText("information"), QString("Executing："));
}

void TestWidgetProgress::startOfACommandIsLoggedAsItIs_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("line");
    QTest::newRow("name") << "Save data"
                          << "################# Save data";
    QTest::newRow("name with quotes") << "the \"new\" one"
                                      << "################# the \"new\" one";
    QTest::newRow("end of a command") << ""
                                      << "################# ";
}

void TestWidgetProgress::startOfACommandIsLoggedAsItIs()
{
    QFETCH(const QString, text);
    QFETCH(const QString, line);
    TestWindow window;
    DebugLines log;
    window.widget.slotsStateChange(text);
    QCOMPARE(log.lines(), QStringList({line}));
}

void TestWidgetProgress::stateChangeRebuildsTheTable()
{
    TestWindow window;
    window.runList = {{"A", "a", false, 0}};
    window.widget.createTabelview();
    window.runList[0].state = 2;
    window.runList[0].succeed = true;
    window.widget.slotsStateChange("");
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"A", "Completed", "Succeed"}));
}

void TestWidgetProgress::wordBeforeTheNameIsTranslated()
{
    TestWindow window;
    const MarkingTranslator translator;
    window.widget.slotsStateChange("Save data");
    QCOMPARE(window.labelText("information"), QString("<Executing：>Save data"));
}

void TestWidgetProgress::endOfTheBatchAsksForTheMedium_data()
{
    QTest::addColumn<int>("mediaType");
    QTest::addColumn<QString>("expected");
    const QString other = "Operation completed，please unplug storage device！";
    QTest::newRow("SD card") << 0 << "Operation completed，please unplug SD card！";
    QTest::newRow("USB drive") << 1 << "Operation completed，please unplug USB drive！";
    QTest::newRow("never classified") << 2 << other;
    QTest::newRow("any greater value") << 3 << other;
    QTest::newRow("any smaller value") << -1 << other;
}

void TestWidgetProgress::endOfTheBatchAsksForTheMedium()
{
    QFETCH(const int, mediaType);
    QFETCH(const QString, expected);
    TestWindow window;
    window.mediaType = mediaType;
    window.widget.slotsState_end();
    QCOMPARE(window.labelText("information"), expected);

    const MarkingTranslator translator;
    window.widget.slotsState_end();
    QCOMPARE(window.labelText("information"), "<" + expected + ">");
}

void TestWidgetProgress::endOfTheBatchLeavesTheTableAlone()
{
    TestWindow window;
    DebugLines log;
    window.runList = {{"A", "a", false, 0}};
    window.widget.createTabelview();
    window.runList[0].state = 2;
    window.widget.slotsState_end();
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"A", "Not executed", ""}));
    QCOMPARE(log.lines(), QStringList());
}

void TestWidgetProgress::calibrationHidesAndShowsTheStatusPageOnly()
{
    TestWindow window;
    window.show();
    window.child<QWidget>("widget")->hide();
    window.widget.slotsStateChange("Calibrate");

    window.widget.slotstsCalibrate(false);
    QVERIFY(!window.child<QWidget>("widget_2")->isVisible());
    QVERIFY(!window.child<QWidget>("widget")->isVisible());
    QVERIFY(window.widget.isVisible());

    window.widget.slotstsCalibrate(true);
    QVERIFY(window.child<QWidget>("widget_2")->isVisible());
    QVERIFY(!window.child<QWidget>("widget")->isVisible());
    QCOMPARE(window.labelText("information"), QString("Executing：Calibrate"));
}

void TestWidgetProgress::batchIsReportedFromItsStartToItsEnd()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("system.ini");
    HeldProgram program;
    writeCatalogue(path, "[system]\nCMD_Type=\"a,b\"\n[CMD]\na=\"Works@" + program.commandLine().toUtf8()
                             + "\"\nb=Breaks@false\n");
    TestWindow window(TestWindow::ByItself);
    window.pollTimer->stop();
    DebugLines log;

    window.widget.check_CMD(path);

    QTRY_COMPARE_WITH_TIMEOUT(window.labelText("information"), QString("Executing：Works"), waitingLimitMs);
    QCOMPARE(columnTexts(window.tableModel, 1), QStringList({"Not executed", "Not executed"}));
    QVERIFY(program.isRunning());
    program.release();
    QTRY_COMPARE_WITH_TIMEOUT(window.labelText("information"),
                              QString("Operation completed，please unplug storage device！"), waitingLimitMs);
    QCOMPARE(log.lines(), QStringList({"################# Works", "################# ",
                                       "################# Breaks", "################# "}));
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"Works", "Completed", "Succeed"}));
    QCOMPARE(rowTexts(window.tableModel, 1), QStringList({"Breaks", "Completed", "Failed"}));
    QTRY_VERIFY_WITH_TIMEOUT(window.worker->suspended, waitingLimitMs);
}

SANDBOXED_TEST_MAIN(TestWidgetProgress)
#include "tst_widget_progress.moc"
