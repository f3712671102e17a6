// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "widget.h"

// Before anything else could bring them: incomplete types have no size.
static_assert(sizeof(QTimer) > 0 && sizeof(WatchDogFeed) > 0 && sizeof(MyMessageType) > 0
                  && sizeof(QTextCodec) > 0 && sizeof(QStandardItemModel) > 0 && sizeof(QMessageBox) > 0
                  && sizeof(QSettings) > 0 && sizeof(QModelIndex) > 0
                  && sizeof(QMap<QString, _system_CMD>) > 0 && sizeof(myThread) > 0,
              "widget.h brings the types of the window's members and of its functions' arguments");

#include "debuglines.h"
#include "support/fakedf.h"
#include "support/markingtranslator.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"
#include "support/waiting.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QLabel>
#include <QListView>
#include <QMetaMethod>
#include <QPointer>
#include <QProxyStyle>
#include <QScrollBar>

#include <algorithm>
#include <functional>

Q_DECLARE_METATYPE(QMetaMethod::Access)

/// What a window is right after it was made, and what is left when it is gone.
class TestWidgetStart : public QObject
{
    Q_OBJECT

private slots:
    void slotTableIsInOrder_data();
    void slotTableIsInOrder();
    void thereAreNoMethodsBesidesTheSlotTable();
    void isCastByItsNameAndByItsBasesName();

    void membersStandInTheirOrder();
    void mediumMembersHaveTheirStartValues();
    void catalogueMembersHaveTheirStartValues();
    void listModelsAndCountdownAreNotMadeYet();
    void statusTableModelBelongsToTheWindow();
    void watchdogFeederBelongsToTheWindowAndOpensTheQueue();

    void questionBoxIsBuilt();
    void questionBoxLooksAsDesigned();
    void questionBoxHasNoIconsEvenIfThePlatformWantsThem();
    void questionBoxTitleIsTranslated();

    void pollTimerRunsEveryThreeSecondsWithoutParent();
    void pollTimerDrivesThePoll();
    void nothingIsVisibleWhileThePollFires();

    void workerRunsIdleWithoutParent();
    void workerSignalsReachTheirSlots();
    void workerSignalsFromAnotherThreadArriveInOrderOnTheWindowsThread();

    void scrollBarsHaveNoSheetOfTheirOwn();

    void endOfTheWindowTakesItsChildrenAlong();
    void endOfTheWindowLeavesWorkerTimerAndQuestionBox();
};

void TestWidgetStart::slotTableIsInOrder_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QList<QByteArray>>("parameterNames");
    QTest::addColumn<QMetaMethod::Access>("access");

    const auto row = [](int index, const char *signature, const QList<QByteArray> &names,
                        QMetaMethod::Access access) {
        QTest::newRow(signature) << index << QByteArray(signature) << names << access;
    };
    row(0, "on_pushButton_clicked()", {}, QMetaMethod::Private);
    row(1, "on_operationList_clicked(QModelIndex)", {"index"}, QMetaMethod::Private);
    row(2, "on_selectedList_clicked(QModelIndex)", {"index"}, QMetaMethod::Private);
    row(3, "on_confirmPb_clicked()", {}, QMetaMethod::Private);
    row(4, "on_cancelPb_clicked()", {}, QMetaMethod::Private);
    row(5, "slot_rebootTimeout()", {}, QMetaMethod::Private);
    row(6, "slotsStateChange(QString)", {"dat"}, QMetaMethod::Public);
    row(7, "slotstsCalibrate(bool)", {"state"}, QMetaMethod::Public);
    row(8, "slotsState_end()", {}, QMetaMethod::Public);
    row(9, "slotsTimerout()", {}, QMetaMethod::Public);
}

void TestWidgetStart::slotTableIsInOrder()
{
    QFETCH(const int, index);
    QFETCH(const QByteArray, signature);
    QFETCH(const QList<QByteArray>, parameterNames);
    QFETCH(const QMetaMethod::Access, access);
    const QMetaObject &meta = Widget::staticMetaObject;

    const QMetaMethod method = meta.method(meta.methodOffset() + index);

    QCOMPARE(method.methodSignature(), signature);
    QCOMPARE(method.parameterNames(), parameterNames);
    QCOMPARE(method.access(), access);
    QCOMPARE(method.methodType(), QMetaMethod::Slot);
    QCOMPARE(QByteArray(method.typeName()), QByteArray("void"));
}

void TestWidgetStart::thereAreNoMethodsBesidesTheSlotTable()
{
    const QMetaObject &meta = Widget::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 10);
}

void TestWidgetStart::isCastByItsNameAndByItsBasesName()
{
    TestWindow window;
    QCOMPARE(window.widget.qt_metacast("Widget"), static_cast<void *>(&window.widget));
    QVERIFY(window.widget.qt_metacast("QWidget"));
    QVERIFY(window.widget.qt_metacast("QPaintDevice"));
    QVERIFY(!window.widget.qt_metacast("myThread"));
}

void TestWidgetStart::membersStandInTheirOrder()
{
    TestWindow window;
    const QVector<const void *> members{
        &window.mountPath, &window.pollTimer,  &window.watchDog,       &window.showDetails,
        &window.upgrading, &window.spareFlag,  &window.codec,          &window.worker,
        &window.spareText, &window.tableModel, &window.operationModel, &window.selectedModel,
        &window.msgBox,    &window.endGame,    &window.rebootTimer,    &window.mediaType,
        &window.cmdMap,    &window.runList,
    };
    QVERIFY(std::is_sorted(members.begin(), members.end(), std::less<const void *>()));
    QVERIFY(static_cast<const void *>(&window.runList + 1) == static_cast<const void *>(&window.widget + 1));
}

void TestWidgetStart::mediumMembersHaveTheirStartValues()
{
    TestWindow window;
    QVERIFY(window.mountPath.isEmpty());
    QVERIFY2(!window.mountPath.isNull(), "an empty text, unlike the spare one");
    QVERIFY(window.spareText.isNull());
    QCOMPARE(window.spareFlag, false);
    QCOMPARE(window.mediaType, 2);
    QCOMPARE(window.upgrading, false);
    QCOMPARE(window.showDetails, false);
}

void TestWidgetStart::catalogueMembersHaveTheirStartValues()
{
    TestWindow window;
    QVERIFY(window.cmdMap.isEmpty());
    QCOMPARE(window.runList.size(), 0);
    QCOMPARE(window.endGame, true);
    QVERIFY(window.codec);
    QCOMPARE(window.codec, QTextCodec::codecForName("UTF-8"));
}

void TestWidgetStart::listModelsAndCountdownAreNotMadeYet()
{
    TestWindow window;
    QVERIFY(!window.operationModel);
    QVERIFY(!window.selectedModel);
    QVERIFY(!window.rebootTimer);
}

void TestWidgetStart::statusTableModelBelongsToTheWindow()
{
    TestWindow window;
    QVERIFY(window.tableModel);
    QCOMPARE(window.tableModel->parent(), static_cast<QObject *>(&window.widget));
    QCOMPARE(window.tableModel->rowCount(), 0);
}

void TestWidgetStart::watchdogFeederBelongsToTheWindowAndOpensTheQueue()
{
    DebugLines log;
    TestWindow window;
    QCOMPARE(window.watchDog->parent(), static_cast<QObject *>(&window.widget));
    QCOMPARE(log.lines().size(), 1);
    QVERIFY2(log.lines().first().startsWith("key = "), qPrintable(log.lines().first()));
}

void TestWidgetStart::questionBoxIsBuilt()
{
    TestWindow window;
    const QMessageBox &box = *window.msgBox;
    QCOMPARE(box.icon(), QMessageBox::NoIcon);
    QCOMPARE(box.windowTitle(), QString("Attention"));
    QCOMPARE(box.text(), QString(" "));
    QCOMPARE(box.standardButtons(), QMessageBox::Yes | QMessageBox::No);
    QVERIFY(!box.parent());
    QCOMPARE(box.windowFlags() & Qt::WindowType_Mask, Qt::WindowFlags(Qt::Dialog));
    QVERIFY(box.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint));
}

void TestWidgetStart::questionBoxLooksAsDesigned()
{
    TestWindow window;
    const QMessageBox &box = *window.msgBox;
    QCOMPARE(box.styleSheet(), QString("QMessageBox{border:1px solid;border-radius:10px;background:white;"
                                       "min-width:600px;min-height:350px;} "
                                       "QPushButton{background:lightgray;border:1px solid;border-radius:5px;"
                                       "min-width:100px;min-height:50px;}"));
    QCOMPARE(box.font().family(), QString("Arial"));
    QCOMPARE(box.font().pointSize(), 18);
    QCOMPARE(box.font().weight(), 75);
    QCOMPARE(box.font().italic(), false);
}

void TestWidgetStart::questionBoxHasNoIconsEvenIfThePlatformWantsThem()
{
    class Icons : public QProxyStyle
    {
    public:
        int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                      QStyleHintReturn *data) const override
        {
            return hint == SH_DialogButtonBox_ButtonsHaveIcons
                       ? 1
                       : QProxyStyle::styleHint(hint, option, widget, data);
        }
    };
    const QString style = QApplication::style()->objectName();
    QApplication::setStyle(new Icons);
    const QMessageBox ordinary(QMessageBox::NoIcon, "", "", QMessageBox::Yes);
    TestWindow window;
    QApplication::setStyle(style);

    QVERIFY(!ordinary.buttons().first()->icon().isNull());
    for (const QAbstractButton *button : window.msgBox->buttons())
        QVERIFY(button->icon().isNull());
}

void TestWidgetStart::questionBoxTitleIsTranslated()
{
    const MarkingTranslator translator;
    TestWindow window;
    QCOMPARE(window.msgBox->windowTitle(), QString("<Attention>"));
}

void TestWidgetStart::pollTimerRunsEveryThreeSecondsWithoutParent()
{
    TestWindow window(TestWindow::ByItself);
    QVERIFY(window.pollTimer->isActive());
    QVERIFY(!window.pollTimer->isSingleShot());
    QCOMPARE(window.pollTimer->interval(), 3000);
    QVERIFY(!window.pollTimer->parent());
}

void TestWidgetStart::pollTimerDrivesThePoll()
{
    const FakeDf df;
    TestWindow window;
    QMetaObject::invokeMethod(window.pollTimer, "timeout", Qt::DirectConnection);
    QCOMPARE(df.runs(), 1);
}

void TestWidgetStart::nothingIsVisibleWhileThePollFires()
{
    const FakeDf df;
    QElapsedTimer sinceStart;
    sinceStart.start();
    TestWindow window(TestWindow::ByItself);
    const auto polled = [&df] { return df.runs(); };

    QTRY_COMPARE_WITH_TIMEOUT(polled(), 1, waitingLimitMs);
    // The first poll comes after the interval, less the 5 % that a coarse timer may take off.
    QVERIFY2(sinceStart.elapsed() >= 2800, qPrintable(QString::number(sinceStart.elapsed())));
    QTRY_COMPARE_WITH_TIMEOUT(polled(), 2, waitingLimitMs);

    for (const QWidget *topLevel : QApplication::topLevelWidgets())
        QVERIFY2(!topLevel->isVisible(), topLevel->metaObject()->className());
}

void TestWidgetStart::workerRunsIdleWithoutParent()
{
    TestWindow window(TestWindow::ByItself);
    QVERIFY(window.worker->isRunning());
    QCOMPARE(window.worker->suspended, true);
    QCOMPARE(window.worker->running, false);
    QVERIFY(!window.worker->parent());
}

void TestWidgetStart::workerSignalsReachTheirSlots()
{
    TestWindow window;
    const auto *information = window.child<QLabel>("information");
    const auto *statusPage = window.child<QWidget>("widget_2");

    emit window.startedWorker->signalStateChange("Clear logs");
    QCOMPARE(information->text(), QString("Executing：Clear logs"));
    emit window.startedWorker->signal_end();
    QCOMPARE(information->text(), QString("Operation completed，please unplug storage device！"));
    emit window.startedWorker->signaltsCalibrate(false);
    QVERIFY(statusPage->isHidden());
    emit window.startedWorker->signaltsCalibrate(true);
    QVERIFY(!statusPage->isHidden());
}

void TestWidgetStart::workerSignalsFromAnotherThreadArriveInOrderOnTheWindowsThread()
{
    class Reporter : public QThread
    {
    public:
        explicit Reporter(myThread *worker)
            : source(worker)
        {
        }
        void run() override
        {
            emit source->signalStateChange("first");
            emit source->signalStateChange("second");
            emit source->signal_end();
        }

    private:
        myThread *source;
    };
    TestWindow window;
    DebugLines log;

    Reporter reporter(window.startedWorker);
    reporter.start();
    QVERIFY(reporter.wait(waitingLimitMs));
    QCOMPARE(window.labelText("information"), QString());
    QCOMPARE(log.lines(), QStringList());

    QTRY_COMPARE_WITH_TIMEOUT(window.labelText("information"),
                              QString("Operation completed，please unplug storage device！"), waitingLimitMs);
    QCOMPARE(log.lines(), QStringList({"################# first", "################# second"}));
}

void TestWidgetStart::scrollBarsHaveNoSheetOfTheirOwn()
{
    TestWindow window;
    QCOMPARE(window.child<QListView>("operationList")->verticalScrollBar()->styleSheet(), QString());
    QCOMPARE(window.child<QListView>("selectedList")->verticalScrollBar()->styleSheet(), QString());
}

void TestWidgetStart::endOfTheWindowTakesItsChildrenAlong()
{
    TestWindow window;
    const QPointer<QObject> watchDog(window.watchDog);
    const QPointer<QObject> tableModel(window.tableModel);
    const QPointer<QObject> list(window.child<QListView>("operationList"));

    window.endWindow();

    QVERIFY(!watchDog);
    QVERIFY(!tableModel);
    QVERIFY(!list);
}

void TestWidgetStart::endOfTheWindowLeavesWorkerTimerAndQuestionBox()
{
    TestWindow window(TestWindow::ByItself);
    const QPointer<myThread> worker(window.worker);
    const QPointer<QTimer> pollTimer(window.pollTimer);
    const QPointer<QMessageBox> msgBox(window.msgBox);

    window.endWindow();

    QVERIFY(worker && worker->isRunning());
    QVERIFY(pollTimer && pollTimer->isActive());
    QVERIFY(msgBox);
}

SANDBOXED_TEST_MAIN(TestWidgetStart)
#include "tst_widget_start.moc"
