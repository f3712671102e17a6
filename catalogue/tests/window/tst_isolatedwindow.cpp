// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/isolatedwindow.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

/// The window that reaches nothing of the computer, and its operator's finger.
class TestIsolatedWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void nothingOfTheComputerIsReached();
    void aCommandIsAnsweredInsteadOfRun();
    void theWorkerNeverStarts();
    void aTapChoosesAnOperationAndTheNextTakesItOut();
    void everyRowCanBeTappedThoughTheWindowIsHidden();
    void confirmingAsksOnceAndRunsWhatWasChosen();
    void confirmingNothingAsksNothing();

private:
    static QStringList commandsOf(const IsolatedWindow &window);

    QTemporaryDir folder;
    QString choice;
};

QStringList TestIsolatedWindow::commandsOf(const IsolatedWindow &window)
{
    QStringList commands;
    for (const _system_CMD &record : window.runList())
        commands.append(record.cmd);
    return commands;
}

void TestIsolatedWindow::initTestCase()
{
    choice = folder.filePath("choice");
    QFile file(choice);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QByteArray items;
    QByteArray lines;
    for (int i = 0; i < 100; ++i) {
        const QByteArray number = QByteArray::number(i);
        items += (i > 0 ? ",k" : "k") + number;
        lines += 'k' + number + "=\"Operation " + number + "@run " + number + "\"\n";
    }
    file.write("[system]\nENDGAME=false\nCMD_List=\"" + items + "\"\n[CMD]\n" + lines);
    QVERIFY(file.flush());
}

void TestIsolatedWindow::nothingOfTheComputerIsReached()
{
    requireIsolation(); // returns
    QCOMPARE(msgget(IPC_PRIVATE, IPC_CREAT | 0600), -1);
    QCOMPARE(system("exit 0"), -1);
    QVERIFY(!popen("exit 0", "r"));
    QCOMPARE(fork(), std::numeric_limits<pid_t>::max());
    QThread thread;
    thread.start();
    QVERIFY(!thread.isRunning());
    QProcess process;
    process.start("true", QIODevice::ReadOnly);
    QCOMPARE(process.state(), QProcess::NotRunning);
}

void TestIsolatedWindow::aCommandIsAnsweredInsteadOfRun()
{
    QCOMPARE(QProcess::execute("true"), -2);
    QStringList asked;
    rehearseCommands([&asked](const QString &line) {
        asked.append(line);
        return 7;
    });
    QCOMPARE(QProcess::execute("true"), 7);
    rehearseCommands(Rehearsal());
    QCOMPARE(asked, QStringList("true"));
    QCOMPARE(QProcess::execute("true"), -2);
}

void TestIsolatedWindow::theWorkerNeverStarts()
{
    IsolatedWindow window;
    QVERIFY(!window.worker().isRunning());
    QVERIFY(window.worker().suspended);
}

void TestIsolatedWindow::aTapChoosesAnOperationAndTheNextTakesItOut()
{
    IsolatedWindow window;
    window.read(choice);
    window.tap(1);
    window.tap(2);
    window.tap(1);
    window.confirm();
    QCOMPARE(commandsOf(window), QStringList("run 2"));
}

void TestIsolatedWindow::everyRowCanBeTappedThoughTheWindowIsHidden()
{
    IsolatedWindow window;
    window.read(choice);
    QStringList wanted;
    for (int row = 99; row >= 0; --row) {
        window.tap(row);
        wanted.append(QString("run %1").arg(row));
    }
    window.confirm();
    QVERIFY(!window.widget().isVisible());
    QCOMPARE(commandsOf(window), wanted);
}

void TestIsolatedWindow::confirmingAsksOnceAndRunsWhatWasChosen()
{
    IsolatedWindow window;
    window.read(choice);
    window.tap(3);
    window.tap(0);
    int questions = 0;
    window.confirm([&questions](QMessageBox &question) {
        QVERIFY(question.isVisible());
        ++questions;
    });
    QCOMPARE(questions, 1);
    QStringList ran;
    window.runBatch([&ran](const QString &line) {
        ran.append(line);
        return 0;
    });
    QCOMPARE(ran, (QStringList{"run 3", "run 0"}));
    QCOMPARE(QProcess::execute("true"), -2);
}

void TestIsolatedWindow::confirmingNothingAsksNothing()
{
    IsolatedWindow window;
    window.read(choice);
    bool asked = false;
    window.confirm([&asked](QMessageBox &) { asked = true; });
    QApplication::processEvents();
    QVERIFY(!asked);
    QVERIFY(window.runList().isEmpty());
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    TestIsolatedWindow test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_isolatedwindow.moc"
