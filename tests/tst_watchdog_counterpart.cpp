// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/sandboxed.h"
#include "support/waiting.h"
#include "support/watchdogqueue.h"
#include "support/watchdogsamples.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <sys/ipc.h>

/// The simulated controller's watchdog has to understand what the tool sends: the same bytes as in the test
/// of the sender.
class TestWatchdogCounterpart : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void understandsWhatTheToolSends_data();
    void understandsWhatTheToolSends();
    void ignoresWhatTheToolDoesNotSend_data();
    void ignoresWhatTheToolDoesNotSend();

private:
    /// What the watchdog has said about its queue so far; its programs are missing here, about which it says
    /// a lot.
    QStringList saidAboutTheQueue();

    QScopedPointer<QTemporaryDir> directory;
    QScopedPointer<QProcess> watchdog;
    QScopedPointer<WatchdogQueue> queue;
    QStringList said;
};

void TestWatchdogCounterpart::init()
{
    directory.reset(new QTemporaryDir);
    const QString program = directory->filePath("zul_watchdog");
    QVERIFY(QFile::copy(ZUL_WATCHDOG, program));
    queue.reset(new WatchdogQueue(ftok(QFile::encodeName(program).constData(), WatchdogQueue::projectId)));
    said.clear();
    watchdog.reset(new QProcess);
    watchdog->start(program, QStringList());
}

void TestWatchdogCounterpart::cleanup()
{
    watchdog->terminate();
    QVERIFY(watchdog->waitForFinished());
    queue->remove();
}

QStringList TestWatchdogCounterpart::saidAboutTheQueue()
{
    while (watchdog->canReadLine())
        said.append(QString::fromUtf8(watchdog->readLine()).trimmed());
    return said.filter(QRegularExpression("^(received|ignored)"));
}

void TestWatchdogCounterpart::understandsWhatTheToolSends_data()
{
    QTest::addColumn<QByteArray>("area");
    QTest::addColumn<QString>("command");

    for (const WatchdogSample &sample : watchdogSamples())
        QTest::newRow(sample.name) << sample.textArea << sample.command;
}

void TestWatchdogCounterpart::understandsWhatTheToolSends()
{
    QFETCH(QByteArray, area);
    QFETCH(QString, command);

    QVERIFY(queue->put(area));
    QVERIFY(queue->put(area));

    // Received twice and nothing between the two: it was not ignored.
    const QStringList expected{"received " + command, "received " + command};
    QTRY_COMPARE_WITH_TIMEOUT(saidAboutTheQueue().mid(0, 2), expected, waitingLimitMs);
}

void TestWatchdogCounterpart::ignoresWhatTheToolDoesNotSend_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("another command") << QByteArray("syscmd_other") << "syscmd_other";
    QTest::newRow("a suspension for no number") << QByteArray("syscmd_suspend@x") << "syscmd_suspend@x";
    QTest::newRow("a text area without zero byte") << QByteArray(512, 'x') << QString(512, 'x');
    QTest::newRow("more than the text area") << QByteArray(8192, 'x') << QString(512, 'x');
}

void TestWatchdogCounterpart::ignoresWhatTheToolDoesNotSend()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);

    QVERIFY(queue->put(bytes));
    QVERIFY(queue->put("syscmd_stop"));

    const QStringList expected{"received " + text, "ignored", "received syscmd_stop"};
    QTRY_COMPARE_WITH_TIMEOUT(
        saidAboutTheQueue().replaceInStrings(QRegularExpression("^ignored.*"), "ignored"), expected,
        waitingLimitMs);
}

SANDBOXED_TEST_MAIN(TestWatchdogCounterpart)
#include "tst_watchdog_counterpart.moc"
