// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/expiredwaits.h"
#include "support/fakeprograms.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QElapsedTimer>

#include <cerrno>
#include <csignal>

/// The real limits of systemCmdReadrealy(): 4 s for each of two bursts of output.
class TestWidgetShellSlow : public QObject
{
    Q_OBJECT

private slots:
    void hangingProgramIsKilledAfterFourSeconds_data();
    void hangingProgramIsKilledAfterFourSeconds();
    void eachBurstHasFourSecondsOfItsOwn();
};

void TestWidgetShellSlow::hangingProgramIsKilledAfterFourSeconds_data()
{
    QTest::addColumn<QString>("shellLines");
    QTest::addColumn<QStringList>("logged");
    QTest::newRow("silent") << "exec sleep 1000" << QStringList({"", ""});
    QTest::newRow("after one burst") << "echo hello; exec sleep 1000" << QStringList({"hello\n", ""});
    QTest::newRow("standard error does not count")
        << "sleep 1; echo oops >&2; exec sleep 1000" << QStringList({"", "oops\n"});
    QTest::newRow("waiting for input, which stays open") << "read line; echo hello" << QStringList({"", ""});
}

void TestWidgetShellSlow::hangingProgramIsKilledAfterFourSeconds()
{
    QFETCH(const QString, shellLines);
    QFETCH(const QStringList, logged);
    FakePrograms programs;
    programs.add("hang", "echo $$ >" + programs.filePath("pid") + "\n" + shellLines);
    TestWindow window;
    DebugLines log;
    const int before = expiredWaits();
    QElapsedTimer watch;
    watch.start();

    QCOMPARE(window.widget.systemCmdReadrealy("hang"), false);

    QVERIFY2(watch.elapsed() >= 3900, qPrintable(QString::number(watch.elapsed())));
    QCOMPARE(expiredWaits(), before + 1); // and not after twice that time
    QCOMPARE(log.lines(), logged);
    const pid_t pid = contentOf(programs.filePath("pid")).trimmed().toInt();
    QVERIFY(pid > 0);
    QCOMPARE(kill(pid, 0), -1);
    QCOMPARE(errno, ESRCH);
}

void TestWidgetShellSlow::eachBurstHasFourSecondsOfItsOwn()
{
    FakePrograms programs;
    programs.add("slow", "sleep 2.2; echo one; sleep 2.2; echo two");
    TestWindow window;
    DebugLines log;
    QCOMPARE(window.widget.systemCmdReadrealy("slow"), true);
    QCOMPARE(log.lines(), QStringList());
}

SANDBOXED_TEST_MAIN(TestWidgetShellSlow)
#include "tst_widget_shell_slow.moc"
