// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/eventloop.h"
#include "support/files.h"
#include "support/markingtranslator.h"
#include "support/questions.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QAbstractButton>
#include <QTableView>

namespace
{

const QString toContinue = "\n Selected operations \n will be executed. \n\n Are you sure to continue? \n\n";
const QString toAbort = "\n Are you sure to abort? \n\n System will reboot. \n\n";

int reboots()
{
    return recordedCalls().count("reboot");
}

} // namespace

/// The two buttons of the list page and the question that each of them asks.
class TestWidgetConfirm : public QObject
{
    Q_OBJECT

    QTemporaryDir directory;
    void offerAandB(TestWindow &window, const QByteArray &endGame = "true");

private slots:
    void confirmWithNothingSelectedAsksNothing();
    void confirmBeforeAnyCatalogueMakesTheSelectionModel();
    void confirmAsksToContinue();
    void confirmQuestionIsTranslated();
    void confirmAnsweredOtherThanYesChangesNothing_data();
    void confirmAnsweredOtherThanYesChangesNothing();

    void confirmedBatchEndsWithSyncAndReboot();
    void confirmedBatchWithoutEndGameHoldsTheChoiceAlone();
    void confirmedBatchIsInTappingOrder();
    void confirmedBatchReplacesTheRunList();
    void confirmedBatchCopiesTheRecordsAsStored();
    void confirmedBatchSwitchesToTheStatusPage();
    void confirmedBatchIsHandedToTheWorker();
    void confirmedBatchShowsItsTable();
    void confirmedBatchLeavesTheCountdownRunning();
    void closingRecordsAreTranslated();

    void unknownNamesAreLeftOutWithALine();
    void missingItemIsLeftOutWithALine();
    void onlyUnknownNamesWithoutEndGameDoNothing();
    void onlyUnknownNamesWithEndGameRunTheClosingRecords();
    void questionCanBeAskedAgainAfterNo();

    void abortAsksWhetherToReboot();
    void abortQuestionIsTranslated();
    void abortAnsweredOtherThanYesChangesNothing_data();
    void abortAnsweredOtherThanYesChangesNothing();
    void abortAnsweredYesEndsTheEventLoopAndReboots();
    void abortRunsNothingElse();

    void questionBoxIsBuiltWhereItIsMissing_data();
    void questionBoxIsBuiltWhereItIsMissing();
};

void TestWidgetConfirm::offerAandB(TestWindow &window, const QByteArray &endGame)
{
    const QString path = directory.filePath("system.ini");
    writeCatalogue(path,
                   "[system]\nENDGAME=" + endGame + "\nCMD_List=\"a,b\"\n[CMD]\na=A@run a\nb=B@run b\n");
    window.widget.check_CMD(path);
    window.show();
}

// --- Confirm ----------------------------------------------------------------------------------------------

void TestWidgetConfirm::confirmWithNothingSelectedAsksNothing()
{
    TestWindow window;
    offerAandB(window);
    window.runList = {{"left", "over", true, 2}};
    Questions questions(QMessageBox::Yes);
    DebugLines log;
    window.tap("confirmPb");
    QCOMPARE(questions.asked(), QStringList());
    QCOMPARE(log.lines(), QStringList({"no item selected"}));
    QCOMPARE(namesOf(window.runList), QStringList({"left"}));
    QVERIFY(window.child<QWidget>("widget")->isVisible());
    QVERIFY(!window.worker->cmdList);
}

void TestWidgetConfirm::confirmBeforeAnyCatalogueMakesTheSelectionModel()
{
    TestWindow window;
    Questions questions(QMessageBox::No);
    DebugLines log;
    window.tap("confirmPb");
    QVERIFY(window.selectedModel);
    QCOMPARE(window.selectedModel->parent(), static_cast<QObject *>(&window.widget));
    QCOMPARE(log.lines(), QStringList({"no item selected"}));
}

void TestWidgetConfirm::confirmAsksToContinue()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    QStringList captions;
    bool isModal = false;
    Questions questions([&](QMessageBox &box) {
        captions << box.button(QMessageBox::Yes)->text() << box.button(QMessageBox::No)->text();
        isModal = box.isModal();
        box.reject();
    });
    window.tap("confirmPb");
    QCOMPARE(questions.asked(), QStringList({toContinue}));
    QCOMPARE(captions.replaceInStrings("&", ""), QStringList({"Yes", "No"}));
    QVERIFY(isModal);
}

void TestWidgetConfirm::confirmQuestionIsTranslated()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    const MarkingTranslator translator;
    Questions questions(QMessageBox::No);
    window.tap("confirmPb");
    QCOMPARE(questions.asked(),
             QStringList(
                 {"\n <Selected operations> \n <will be executed.> \n\n <Are you sure to continue?> \n\n"}));
}

namespace
{

using Reaction = std::function<void(QMessageBox &)>;

/// The ways of not saying Yes.
void addRefusals()
{
    QTest::addColumn<Reaction>("refuse");
    QTest::newRow("No") << Reaction(
        [](QMessageBox &box) { QTest::mouseClick(box.button(QMessageBox::No), Qt::LeftButton); });
    QTest::newRow("Escape key") << Reaction([](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Escape); });
    QTest::newRow("box closed") << Reaction([](QMessageBox &box) { box.close(); });
    QTest::newRow("box rejected by the program") << Reaction([](QMessageBox &box) { box.reject(); });
}

} // namespace

Q_DECLARE_METATYPE(Reaction)

void TestWidgetConfirm::confirmAnsweredOtherThanYesChangesNothing_data()
{
    addRefusals();
}

void TestWidgetConfirm::confirmAnsweredOtherThanYesChangesNothing()
{
    QFETCH(const Reaction, refuse);
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    window.runList = {{"left", "over", true, 2}};
    Questions questions(refuse);
    window.tap("confirmPb");
    QCOMPARE(questions.asked().size(), 1);
    QCOMPARE(namesOf(window.runList), QStringList({"left"}));
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"A"}));
    QVERIFY(window.child<QWidget>("widget")->isVisible());
    QVERIFY(!window.worker->cmdList);
    QCOMPARE(window.worker->suspended, true);
}

void TestWidgetConfirm::confirmedBatchEndsWithSyncAndReboot()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(namesOf(window.runList), QStringList({"A", "B", "Save data", "Reboot system"}));
    QCOMPARE(commandsOf(window.runList), QStringList({"run a", "run b", "sync", "reboot"}));
    for (const _system_CMD &record : qAsConst(window.runList)) {
        QCOMPARE(record.succeed, false);
        QCOMPARE(record.state, 0);
    }
}

void TestWidgetConfirm::confirmedBatchWithoutEndGameHoldsTheChoiceAlone()
{
    TestWindow window;
    offerAandB(window, "false");
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(commandsOf(window.runList), QStringList({"run a"}));
}

void TestWidgetConfirm::confirmedBatchIsInTappingOrder()
{
    TestWindow window;
    offerAandB(window, "false");
    window.tapRow("operationList", 1);
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(commandsOf(window.runList), QStringList({"run b", "run a"}));
}

void TestWidgetConfirm::confirmedBatchReplacesTheRunList()
{
    TestWindow window;
    offerAandB(window, "false");
    window.tapRow("operationList", 0);
    window.runList = {{"left", "over", true, 2}};
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(namesOf(window.runList), QStringList({"A"}));
}

void TestWidgetConfirm::confirmedBatchCopiesTheRecordsAsStored()
{
    TestWindow window;
    offerAandB(window, "false");
    window.cmdMap["A"] = {"shown name", "run it", true, 2};
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(window.runList.size(), 1);
    QCOMPARE(window.runList.at(0).name, QString("shown name"));
    QCOMPARE(window.runList.at(0).cmd, QString("run it"));
    QCOMPARE(window.runList.at(0).succeed, true);
    QCOMPARE(window.runList.at(0).state, 2);
}

void TestWidgetConfirm::confirmedBatchSwitchesToTheStatusPage()
{
    TestWindow window;
    offerAandB(window);
    window.child<QWidget>("widget_2")->hide();
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QVERIFY(!window.child<QWidget>("widget")->isVisible());
    QVERIFY(window.child<QWidget>("widget_2")->isVisible());
}

void TestWidgetConfirm::confirmedBatchIsHandedToTheWorker()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(window.worker->cmdList, &window.runList);
    QCOMPARE(window.worker->suspended, false);
}

void TestWidgetConfirm::confirmedBatchShowsItsTable()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 1);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(window.child<QTableView>("tableView")->model(),
             static_cast<QAbstractItemModel *>(window.tableModel));
    QCOMPARE(columnTexts(window.tableModel), QStringList({"B", "Save data", "Reboot system"}));
    QCOMPARE(columnTexts(window.tableModel, 1),
             QStringList({"Not executed", "Not executed", "Not executed"}));
}

void TestWidgetConfirm::confirmedBatchLeavesTheCountdownRunning()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QVERIFY(window.rebootTimer->isActive());
    QCOMPARE(window.rebootTimer->interval(), 1000);
}

void TestWidgetConfirm::closingRecordsAreTranslated()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    const MarkingTranslator translator;
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(namesOf(window.runList), QStringList({"A", "<Save data>", "<Reboot system>"}));
    QCOMPARE(commandsOf(window.runList), QStringList({"run a", "sync", "reboot"}));
}

// --- A selection that the catalogue does not know ---------------------------------------------------------

void TestWidgetConfirm::unknownNamesAreLeftOutWithALine()
{
    TestWindow window;
    offerAandB(window, "false");
    window.tapRow("operationList", 0);
    window.selectedModel->insertRow(0, new QStandardItem("100%1"));
    Questions questions(QMessageBox::Yes);
    DebugLines log;
    window.tap("confirmPb");
    QCOMPARE(log.lines(), QStringList({"item[100%1] is not in the command list"}));
    QCOMPARE(namesOf(window.runList), QStringList({"A"}));
}

void TestWidgetConfirm::missingItemIsLeftOutWithALine()
{
    TestWindow window;
    offerAandB(window, "false");
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    delete window.selectedModel->takeItem(1);
    window.selectedModel->setRowCount(3);
    Questions questions(QMessageBox::Yes);
    DebugLines log;
    window.tap("confirmPb");
    QCOMPARE(log.lines(), QStringList({"item[1] is null", "item[2] is null"}));
    QCOMPARE(namesOf(window.runList), QStringList({"A"}));
}

void TestWidgetConfirm::onlyUnknownNamesWithoutEndGameDoNothing()
{
    TestWindow window;
    offerAandB(window, "false");
    window.selectedModel->appendRow(new QStandardItem("X"));
    window.selectedModel->appendRow(new QStandardItem("Y"));
    Questions questions(QMessageBox::Yes);
    DebugLines log;
    window.tap("confirmPb");
    QCOMPARE(questions.asked().size(), 1);
    QCOMPARE(log.lines(),
             QStringList({"item[X] is not in the command list", "item[Y] is not in the command list"}));
    QCOMPARE(window.runList.size(), 0);
    QVERIFY(window.child<QWidget>("widget")->isVisible());
    QVERIFY(!window.worker->cmdList);
    QCOMPARE(window.tableModel->columnCount(), 0);
}

void TestWidgetConfirm::onlyUnknownNamesWithEndGameRunTheClosingRecords()
{
    TestWindow window;
    offerAandB(window, "true");
    window.selectedModel->appendRow(new QStandardItem("X"));
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(commandsOf(window.runList), QStringList({"sync", "reboot"}));
    QCOMPARE(window.worker->cmdList, &window.runList);
}

void TestWidgetConfirm::questionCanBeAskedAgainAfterNo()
{
    TestWindow window;
    offerAandB(window, "false");
    window.tapRow("operationList", 0);
    {
        Questions questions(QMessageBox::No);
        window.tap("confirmPb");
        window.tap("cancelPb");
        QCOMPARE(questions.asked(), QStringList({toContinue, toAbort}));
    }
    Questions questions(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(questions.asked(), QStringList({toContinue}));
    QCOMPARE(commandsOf(window.runList), QStringList({"run a"}));
}

// --- Abort ------------------------------------------------------------------------------------------------

void TestWidgetConfirm::abortAsksWhetherToReboot()
{
    TestWindow window;
    offerAandB(window);
    Questions questions(QMessageBox::No);
    window.tap("cancelPb");
    QCOMPARE(questions.asked(), QStringList({toAbort}));
}

void TestWidgetConfirm::abortQuestionIsTranslated()
{
    TestWindow window;
    offerAandB(window);
    const MarkingTranslator translator;
    Questions questions(QMessageBox::No);
    window.tap("cancelPb");
    QCOMPARE(questions.asked(), QStringList({"\n <Are you sure to abort?> \n\n <System will reboot.> \n\n"}));
}

void TestWidgetConfirm::abortAnsweredOtherThanYesChangesNothing_data()
{
    addRefusals();
}

void TestWidgetConfirm::abortAnsweredOtherThanYesChangesNothing()
{
    QFETCH(const Reaction, refuse);
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    Questions questions(refuse);
    const int rebootsBefore = reboots();

    const int code = exitCodeOfEventLoop([&window] { window.tap("cancelPb"); });

    QCOMPARE(questions.asked().size(), 1);
    QCOMPARE(code, loopGoesOn);
    QCOMPARE(reboots(), rebootsBefore);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"A"}));
    QVERIFY(window.child<QWidget>("widget")->isVisible());
}

void TestWidgetConfirm::abortAnsweredYesEndsTheEventLoopAndReboots()
{
    TestWindow window;
    offerAandB(window);
    Questions questions(QMessageBox::Yes);
    const int rebootsBefore = reboots();
    int rebootsAfterTap = -1;

    const int code = exitCodeOfEventLoop([&] {
        window.tap("cancelPb");
        rebootsAfterTap = reboots();
    });

    QCOMPARE(code, 0);
    QCOMPARE(rebootsAfterTap, rebootsBefore + 1);
    QCOMPARE(reboots(), rebootsBefore + 1);
}

void TestWidgetConfirm::abortRunsNothingElse()
{
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    Questions questions(QMessageBox::Yes);
    const int callsBefore = recordedCalls().size();
    exitCodeOfEventLoop([&window] { window.tap("cancelPb"); });
    QCOMPARE(recordedCalls().mid(callsBefore), QStringList({"reboot"}));
    QCOMPARE(window.runList.size(), 0);
    QVERIFY(!window.worker->cmdList);
}

void TestWidgetConfirm::questionBoxIsBuiltWhereItIsMissing_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("question");
    QTest::newRow("to continue") << QByteArray("confirmPb") << toContinue;
    QTest::newRow("to abort") << QByteArray("cancelPb") << toAbort;
}

void TestWidgetConfirm::questionBoxIsBuiltWhereItIsMissing()
{
    QFETCH(const QByteArray, button);
    QFETCH(const QString, question);
    TestWindow window;
    offerAandB(window);
    window.tapRow("operationList", 0);
    window.msgBox = nullptr;
    Questions questions(QMessageBox::No);

    window.tap(button);

    QVERIFY(window.msgBox);
    const std::unique_ptr<QMessageBox> built(window.msgBox);
    QCOMPARE(built->windowTitle(), QString("Attention"));
    QCOMPARE(built->standardButtons(), QMessageBox::Yes | QMessageBox::No);
    QVERIFY(!built->parent());
    QCOMPARE(questions.asked(), QStringList({question}));
}

SANDBOXED_TEST_MAIN(TestWidgetConfirm)
#include "tst_widget_confirm.moc"
