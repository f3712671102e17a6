// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/eventloop.h"
#include "support/files.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"
#include "support/waiting.h"

#include <QElapsedTimer>

/// The reboot countdown. Its count belongs to the process, so these tests run as a whole and in this order.
class TestWidgetCountdown : public QObject
{
    Q_OBJECT

    QTemporaryDir directory;
    void offerChoice(TestWindow &window);
    void tickUntil(TestWindow &window, const QString &label);

private slots:
    void labelIsEmptyBeforeTheFirstTick();
    void firstTickComesAfterASecondAndShowsFiveMinutes();
    void everyTickShowsOneSecondLess();
    void rebootComesOneTickAfterZero();
    void countBeginsAtSixMinutesAfterAnExpiry();
    void countGoesOnWhereItStoodWhenTheTimerIsStartedAgain();
    void countGoesTwiceAsFastAfterASecondCatalogue();
    void secondExpiryRebootsAgain();
    void expiryWithoutATimerRebootsAsWell();
};

void TestWidgetCountdown::offerChoice(TestWindow &window)
{
    const QString path = directory.filePath("system.ini");
    writeCatalogue(path, "[system]\nCMD_List=a\n[CMD]\na=A@run a\n");
    window.widget.check_CMD(path);
    window.rebootTimer->start(24 * 3600 * 1000); // from here on the test ticks
}

void TestWidgetCountdown::tickUntil(TestWindow &window, const QString &label)
{
    for (int ticks = 0; ticks < 400 && window.labelText("timeout") != label; ++ticks)
        window.tick();
    QCOMPARE(window.labelText("timeout"), label);
}

void TestWidgetCountdown::labelIsEmptyBeforeTheFirstTick()
{
    TestWindow window;
    offerChoice(window);
    QCOMPARE(window.labelText("timeout"), QString());
}

void TestWidgetCountdown::firstTickComesAfterASecondAndShowsFiveMinutes()
{
    TestWindow window;
    offerChoice(window);
    QElapsedTimer sinceStart;
    sinceStart.start();
    window.rebootTimer->start(1000); // as the catalogue's reader has started it
    QTRY_VERIFY_WITH_TIMEOUT(!window.labelText("timeout").isEmpty(), waitingLimitMs);
    window.rebootTimer->stop();
    QCOMPARE(window.labelText("timeout"), QString("05:00"));
    QVERIFY2(sinceStart.elapsed() >= 900, qPrintable(QString::number(sinceStart.elapsed())));
}

void TestWidgetCountdown::everyTickShowsOneSecondLess()
{
    TestWindow window;
    offerChoice(window);
    const int callsBefore = recordedCalls().size();
    for (int seconds = 299; seconds >= 0; --seconds) {
        window.tick();
        const QString expected = QTime(0, 0).addSecs(seconds).toString("mm:ss");
        QCOMPARE(window.labelText("timeout"), expected);
    }
    QCOMPARE(window.labelText("timeout"), QString("00:00"));
    QVERIFY(window.rebootTimer->isActive());
    QCOMPARE(recordedCalls().size(), callsBefore);
}

void TestWidgetCountdown::rebootComesOneTickAfterZero()
{
    TestWindow window;
    offerChoice(window);
    const int callsBefore = recordedCalls().size();

    const int code = exitCodeOfEventLoop([&window] { window.tick(); });

    QCOMPARE(code, 0);
    QCOMPARE(recordedCalls().mid(callsBefore), QStringList({"reboot"}));
    QVERIFY(!window.rebootTimer->isActive());
    QCOMPARE(window.labelText("timeout"), QString());
}

void TestWidgetCountdown::countBeginsAtSixMinutesAfterAnExpiry()
{
    TestWindow window;
    offerChoice(window);
    window.tick();
    QCOMPARE(window.labelText("timeout"), QString("06:00"));
    window.tick();
    QCOMPARE(window.labelText("timeout"), QString("05:59"));
}

void TestWidgetCountdown::countGoesOnWhereItStoodWhenTheTimerIsStartedAgain()
{
    TestWindow window;
    offerChoice(window);
    tickUntil(window, "05:50");
    window.rebootTimer->stop();
    window.rebootTimer->start(24 * 3600 * 1000);
    window.tick();
    QCOMPARE(window.labelText("timeout"), QString("05:49"));
}

void TestWidgetCountdown::countGoesTwiceAsFastAfterASecondCatalogue()
{
    TestWindow window;
    offerChoice(window);
    tickUntil(window, "05:40");
    offerChoice(window);
    window.tick();
    QCOMPARE(window.labelText("timeout"), QString("05:38"));
    window.tick();
    QCOMPARE(window.labelText("timeout"), QString("05:36"));
}

void TestWidgetCountdown::secondExpiryRebootsAgain()
{
    TestWindow window;
    offerChoice(window);
    tickUntil(window, "00:00");
    const int callsBefore = recordedCalls().size();
    QCOMPARE(exitCodeOfEventLoop([&window] { window.tick(); }), 0);
    QCOMPARE(recordedCalls().mid(callsBefore), QStringList({"reboot"}));
}

void TestWidgetCountdown::expiryWithoutATimerRebootsAsWell()
{
    TestWindow window;
    const auto tick = [&window] { QMetaObject::invokeMethod(&window.widget, "slot_rebootTimeout"); };
    for (int seconds = 360; seconds >= 0; --seconds)
        tick();
    QCOMPARE(window.labelText("timeout"), QString("00:00"));
    QVERIFY(!window.rebootTimer);
    const int callsBefore = recordedCalls().size();
    QCOMPARE(exitCodeOfEventLoop(tick), 0);
    QCOMPARE(recordedCalls().mid(callsBefore), QStringList({"reboot"}));
}

SANDBOXED_TEST_MAIN(TestWidgetCountdown)
#include "tst_widget_countdown.moc"
