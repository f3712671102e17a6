// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/isolatedwindow.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QListView>
#include <QProcess>
#include <QScreen>
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
    void aTapGivesTheListItsFocusAndItsCurrentRow();
    void theQuestionHasNoFrameAsOnTheController();
    void abortingAsksAndIsAnsweredNo();
    void theKindOfMediumComesOfItsFolder_data();
    void theKindOfMediumComesOfItsFolder();

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

void TestIsolatedWindow::aTapGivesTheListItsFocusAndItsCurrentRow()
{
    IsolatedWindow window;
    window.show();
    window.read(choice);
    QApplication::processEvents();
    auto *other = window.widget().findChild<QListView *>("selectedList");
    other->setFocus();
    QVERIFY(other->hasFocus());
    window.tap(2);
    auto *list = window.widget().findChild<QListView *>("operationList");
    QVERIFY(list->hasFocus());
    QCOMPARE(list->currentIndex().row(), 2);
    QVERIFY(list->selectionModel()->isRowSelected(2, QModelIndex()));
}

// Qt leaves room for frames, as many pixels as the windows have. Without one it takes 10 and 40.
void TestIsolatedWindow::theQuestionHasNoFrameAsOnTheController()
{
    IsolatedWindow window;
    window.show();
    window.read(choice);
    window.tap(0);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    window.confirm([&screen](QMessageBox &question) {
        QCOMPARE(question.pos(), question.geometry().topLeft());
        const QPoint middle(screen.width() / 2, screen.height() / 2);
        QCOMPARE(question.pos(), middle - QPoint(question.width() / 2 + 10, question.height() / 2 + 40));
    });
    QVERIFY(!window.runList().isEmpty());
}

void TestIsolatedWindow::abortingAsksAndIsAnsweredNo()
{
    IsolatedWindow window;
    window.read(choice);
    QString asked;
    window.startToAbort([&asked](QMessageBox &question) { asked = question.text(); });
    QVERIFY2(asked.contains("abort"), qPrintable(asked));
    window.tap(0); // the list is as it was
    window.confirm();
    QCOMPARE(commandsOf(window), QStringList("run 0"));
}

void TestIsolatedWindow::theKindOfMediumComesOfItsFolder_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("told");
    QTest::newRow("a card") << "/media/mmcblk0p1"
                            << "SD card";
    QTest::newRow("a drive") << "/media/sda1"
                             << "USB drive";
    QTest::newRow("both names") << "/media/sd-mmc"
                                << "SD card";
    QTest::newRow("neither") << "/media/card"
                             << "storage device";
    QTest::newRow("not known") << ""
                               << "storage device";
}

void TestIsolatedWindow::theKindOfMediumComesOfItsFolder()
{
    QFETCH(QString, directory);
    QFETCH(QString, told);
    IsolatedWindow window;
    window.mountAt(directory);
    window.read(choice);
    window.tap(0);
    window.confirm();
    window.runBatch([](const QString &) { return 0; });
    const QString said = window.widget().findChild<QLabel *>("information")->text();
    QVERIFY2(said.contains(told), qPrintable(said));
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    TestIsolatedWindow test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_isolatedwindow.moc"
