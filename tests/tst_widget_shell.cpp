// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/expiredwaits.h"
#include "support/fakeprograms.h"
#include "support/noprocesses.h"
#include "support/reddesktop.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"
#include "support/waiting.h"

#include <QFile>
#include <QImageReader>

#include <cerrno>
#include <csignal>
#include <thread>

#include <pthread.h>
#include <sys/resource.h>

/// The window's ways of running a command line itself, and its picture of the screen. What takes seconds is
/// in tst_widget_shell_slow.cpp.
class TestWidgetShell : public QObject
{
    Q_OBJECT

private slots:
    void linesArePutOutWithoutTheirFeed_data();
    void linesArePutOutWithoutTheirFeed();
    void longLinesArriveInPieces_data();
    void longLinesArriveInPieces();
    void linesFromBeforeAreGone();
    void withoutAShellTheResultIsMinusOne();
    void theEndOfAnotherProgramDoesNotEndTheList();

    void outputIsLoggedWhenTheProgramEndsEarly_data();
    void outputIsLoggedWhenTheProgramEndsEarly();
    void silentProgramIsNotWaitedForInVain();
    void aProgramThatIsRefusedAProcessHasFailed();
    void twoBurstsAreEnoughAndEndTheProgram_data();
    void twoBurstsAreEnoughAndEndTheProgram();
    void commandLineIsNotReadByAShell();

    void screenIsSavedToExactlyThePath_data();
    void screenIsSavedToExactlyThePath();
    void screenThatCannotBeSavedIsIgnored();
};

// --- myexec -----------------------------------------------------------------------------------------------

void TestWidgetShell::linesArePutOutWithoutTheirFeed_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("nothing") << QByteArray("true") << QStringList();
    QTest::newRow("three lines") << QByteArray("printf 'one\\ntwo\\nthree\\n'")
                                 << QStringList({"one", "two", "three"});
    QTest::newRow("empty lines") << QByteArray("printf '\\n\\n'") << QStringList({"", ""});
    QTest::newRow("carriage return stays")
        << QByteArray("printf 'one\\r\\ntwo\\r'") << QStringList({"one\r", "two\r"});
    QTest::newRow("no final line feed") << QByteArray("printf 'one\\ntwo'") << QStringList({"one", "two"});
    QTest::newRow("zero byte ends its line")
        << QByteArray("printf 'one\\0more\\ntwo\\n'") << QStringList({"one", "two"});
    QTest::newRow("zero byte at the start")
        << QByteArray("printf '\\0more\\ntwo\\n'") << QStringList({"", "two"});
    QTest::newRow("UTF-8") << QByteArray("printf '中文 é\\n'") << QStringList({"中文 é"});
    QTest::newRow("broken UTF-8") << QByteArray("printf 'a\\377b\\n'")
                                  << QStringList({"a\uFFFD"
                                                  "b"});
    QTest::newRow("shell syntax") << QByteArray("echo one | tr o O; exit 3") << QStringList({"One"});
    QTest::newRow("standard error is left out")
        << QByteArray("echo two >&2; echo one") << QStringList({"one"});
    QTest::newRow("missing program") << QByteArray("no-such-program 2>/dev/null") << QStringList();
}

void TestWidgetShell::linesArePutOutWithoutTheirFeed()
{
    QFETCH(const QByteArray, command);
    QFETCH(const QStringList, expected);
    TestWindow window;
    QVector<QString> lines;
    const int count = window.widget.myexec(command.constData(), &lines);
    QCOMPARE(QStringList(lines.toList()), expected);
    QCOMPARE(count, expected.size());
}

void TestWidgetShell::longLinesArriveInPieces_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QList<int>>("pieces");
    QTest::newRow("1022 characters in one") << 1022 << QList<int>({1022});
    QTest::newRow("1023 characters leave the line feed over") << 1023 << QList<int>({1023, 0});
    QTest::newRow("1024 characters") << 1024 << QList<int>({1023, 1});
    QTest::newRow("2046 characters leave the line feed over") << 2046 << QList<int>({1023, 1023, 0});
    QTest::newRow("2500 characters") << 2500 << QList<int>({1023, 1023, 454});
}

void TestWidgetShell::longLinesArriveInPieces()
{
    QFETCH(const int, length);
    QFETCH(const QList<int>, pieces);
    TestWindow window;
    QVector<QString> lines;
    const QByteArray command =
        "head -c " + QByteArray::number(length) + " /dev/zero | tr '\\0' x; echo; echo next";

    const int count = window.widget.myexec(command.constData(), &lines);

    QStringList expected;
    for (const int piece : pieces)
        expected.append(QString(piece, 'x'));
    expected.append("next");
    QCOMPARE(QStringList(lines.toList()), expected);
    QCOMPARE(count, expected.size());
}

void TestWidgetShell::linesFromBeforeAreGone()
{
    TestWindow window;
    QVector<QString> lines{"left", "over"};
    QCOMPARE(window.widget.myexec("echo new", &lines), 1);
    QCOMPARE(lines, QVector<QString>({"new"}));
}

namespace
{

/// While it lives, this process can open no further file.
class NoFilesLeft
{
public:
    NoFilesLeft()
    {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoFilesLeft()
    {
        setrlimit(RLIMIT_NOFILE, &before);
    }
    Q_DISABLE_COPY(NoFilesLeft)

private:
    rlimit before{};
};

} // namespace

void TestWidgetShell::withoutAShellTheResultIsMinusOne()
{
    TestWindow window;
    // The worker's thread opens files when it starts, and would end the program if it could not.
    QTRY_VERIFY_WITH_TIMEOUT(window.startedWorker->eventDispatcher(), waitingLimitMs);
    QVector<QString> lines{"left", "over"};
    int count = 0;
    {
        const NoFilesLeft noFiles;
        count = window.widget.myexec("echo new", &lines);
    }
    QCOMPARE(count, -1);
    QVERIFY(lines.isEmpty());
}

namespace
{

/// What some versions of Qt have in place as soon as a program was started: a handler of SIGCHLD, for which a
/// read that is under way is interrupted.
class InterruptingHandler
{
public:
    InterruptingHandler()
    {
        struct sigaction interrupting {
        };
        interrupting.sa_handler = [](int) {};
        sigaction(SIGCHLD, &interrupting, &before);
    }
    ~InterruptingHandler()
    {
        sigaction(SIGCHLD, &before, nullptr);
    }
    Q_DISABLE_COPY(InterruptingHandler)

private:
    struct sigaction before {
    };
};

} // namespace

void TestWidgetShell::theEndOfAnotherProgramDoesNotEndTheList()
{
    FakePrograms programs;
    programs.add("list", QString("printf 'one\\nt'; touch %1; until [ -e %2 ]; do sleep 0.01; done; echo wo")
                             .arg(programs.filePath("begun"), programs.filePath("go-on")));
    TestWindow window;
    const InterruptingHandler handler;
    const pthread_t reader = pthread_self();
    std::thread another([&programs, reader] {
        while (!QFile::exists(programs.filePath("begun")))
            std::this_thread::yield();
        for (int signal = 0; signal < 20; ++signal) {
            pthread_kill(reader, SIGCHLD);
            QTest::qSleep(5);
        }
        QFile(programs.filePath("go-on")).open(QIODevice::WriteOnly);
    });
    QVector<QString> lines;

    const int count = window.widget.myexec("list", &lines);

    another.join();
    QCOMPARE(QStringList(lines.toList()), QStringList({"one", "two"}));
    QCOMPARE(count, 2);
}

// --- systemCmdReadrealy -----------------------------------------------------------------------------------

void TestWidgetShell::outputIsLoggedWhenTheProgramEndsEarly_data()
{
    QTest::addColumn<QString>("shellLines");
    QTest::addColumn<QStringList>("logged");
    QTest::newRow("silent") << "exit 0" << QStringList({"", ""});
    QTest::newRow("silent failure") << "exit 3" << QStringList({"", ""});
    QTest::newRow("one burst") << "echo hello" << QStringList({"hello\n", ""});
    QTest::newRow("one burst of several lines") << "printf 'one\\ntwo'" << QStringList({"one\ntwo", ""});
    QTest::newRow("standard error alone") << "echo oops >&2" << QStringList({"", "oops\n"});
    QTest::newRow("standard error comes last")
        << "echo oops >&2; echo hello" << QStringList({"hello\n", "oops\n"});
    QTest::newRow("quotes and UTF-8 as they are") << "echo '\"中文\"'" << QStringList({"\"中文\"\n", ""});
    QTest::newRow("silent crash") << "kill -SEGV $$" << QStringList({"", ""});
    QTest::newRow("crash after one burst")
        << "echo hello; echo oops >&2; kill -SEGV $$" << QStringList({"hello\n", "oops\n"});
}

void TestWidgetShell::outputIsLoggedWhenTheProgramEndsEarly()
{
    QFETCH(const QString, shellLines);
    QFETCH(const QStringList, logged);
    FakePrograms programs;
    programs.add("talk", shellLines);
    TestWindow window;
    DebugLines log;
    QCOMPARE(window.widget.systemCmdReadrealy("talk"), false);
    QCOMPARE(log.lines(), logged);
}

void TestWidgetShell::silentProgramIsNotWaitedForInVain()
{
    TestWindow window;
    const int before = expiredWaits();
    QCOMPARE(window.widget.systemCmdReadrealy("true"), false);
    QCOMPARE(window.widget.systemCmdReadrealy("no-such-program"), false);
    QCOMPARE(expiredWaits(), before);
}

void TestWidgetShell::aProgramThatIsRefusedAProcessHasFailed()
{
    TestWindow window;
    const int before = expiredWaits();
    {
        const NoProcesses noProcesses;
        QCOMPARE(window.widget.systemCmdReadrealy("echo never"), false);
    }
    QCOMPARE(expiredWaits(), before);
    DebugLines log;
    QCOMPARE(window.widget.systemCmdReadrealy("echo again"), false);
    QCOMPARE(log.lines(), QStringList({"again\n", ""}));
}

void TestWidgetShell::twoBurstsAreEnoughAndEndTheProgram_data()
{
    QTest::addColumn<QString>("shellLines");
    QTest::newRow("silent from then on") << "echo one; sleep 1.5; echo two; exec sleep 1000";
    QTest::newRow("goes on printing") << "while :; do echo more; sleep 0.2; done";
    QTest::newRow("deaf to requests to end") << "trap '' TERM HUP; while :; do echo more; sleep 0.2; done";
}

void TestWidgetShell::twoBurstsAreEnoughAndEndTheProgram()
{
    QFETCH(const QString, shellLines);
    FakePrograms programs;
    programs.add("talk", "echo $$ >" + programs.filePath("pid") + "\n" + shellLines);
    TestWindow window;
    DebugLines log;

    QCOMPARE(window.widget.systemCmdReadrealy("talk"), true);

    QCOMPARE(log.lines(), QStringList());
    const pid_t pid = contentOf(programs.filePath("pid")).trimmed().toInt();
    QVERIFY(pid > 0);
    QCOMPARE(kill(pid, 0), -1);
    QCOMPARE(errno, ESRCH);
}

void TestWidgetShell::commandLineIsNotReadByAShell()
{
    TestWindow window;
    DebugLines log;
    QCOMPARE(window.widget.systemCmdReadrealy("echo \"one  two\" $HOME | cat; >x"), false);
    QCOMPARE(log.lines(), QStringList({"one  two $HOME | cat; >x\n", ""}));
}

// --- backup_grabWindow ------------------------------------------------------------------------------------

void TestWidgetShell::screenIsSavedToExactlyThePath_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("with its ending") << "screen.jpg";
    QTest::newRow("without an ending none is added") << "screen";
    QTest::newRow("with another ending") << "screen.png";
}

void TestWidgetShell::screenIsSavedToExactlyThePath()
{
    QFETCH(const QString, name);
    const QTemporaryDir directory;
    const RedDesktop desktop;
    TestWindow window;
    window.widget.backup_grabWindow(directory.filePath(name));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList({name}));
    QImageReader reader(directory.filePath(name));
    reader.setDecideFormatFromContent(true);
    QCOMPARE(reader.format(), QByteArray("jpeg"));
    QVERIFY(RedDesktop::isOn(reader.read()));
}

void TestWidgetShell::screenThatCannotBeSavedIsIgnored()
{
    const QTemporaryDir directory;
    const RedDesktop desktop;
    TestWindow window;
    DebugLines log;
    window.widget.backup_grabWindow(directory.filePath("missing/screen.jpg"));
    QVERIFY(QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
    QCOMPARE(log.lines(), QStringList());
}

SANDBOXED_TEST_MAIN(TestWidgetShell)
#include "tst_widget_shell.moc"
