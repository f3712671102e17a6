// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/fakedf.h"
#include "support/files.h"
#include "support/heldprogram.h"
#include "support/sandboxed.h"
#include "support/waiting.h"
#include "support/watchdogqueue.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/ipc.h>

namespace
{

const QByteArray validTranslation = contentOf(ZUL_TRANSLATION);

/// The program itself, a copy in a directory of its own, with the probe in it.
class Tool
{
public:
    Tool();
    ~Tool();

    /// A file beside the program.
    QString filePath(const QString &name) const;
    /// The directory that the program is started in.
    QString workingPath(const QString &name) const;

    bool start(const QStringList &arguments = QStringList());
    /// What the probe says; empty when it says nothing.
    QJsonObject report();
    /// Ends the event loop. Returns the exit code of the process, -1 when it does not end.
    int quit(int code);
    /// The lines on standard error so far.
    QStringList errorLines();

private:
    QTemporaryDir programDirectory;
    QTemporaryDir workingDirectory;
    QProcess process;
    QByteArray errors;
};

Tool::Tool()
{
    if (!QFile::copy(ZUL_UPGRADE, filePath("zul_upgrade")))
        qFatal("cannot copy %s", ZUL_UPGRADE);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_PLUGIN_PATH", ZUL_PROBE_PLUGINS);
    environment.insert("QT_QPA_GENERIC_PLUGINS", "zul_probe");
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingDirectory.path());
}

Tool::~Tool()
{
    process.kill();
    process.waitForFinished();
}

QString Tool::filePath(const QString &name) const
{
    return programDirectory.filePath(name);
}

QString Tool::workingPath(const QString &name) const
{
    return workingDirectory.filePath(name);
}

bool Tool::start(const QStringList &arguments)
{
    process.start(filePath("zul_upgrade"), arguments);
    return process.waitForStarted();
}

QJsonObject Tool::report()
{
    process.write("report\n");
    waitUntil([this] { return process.canReadLine() || process.state() == QProcess::NotRunning; });
    return QJsonDocument::fromJson(process.readLine()).object();
}

int Tool::quit(int code)
{
    process.write(QByteArray("quit ") + QByteArray::number(code) + '\n');
    if (!process.waitForFinished(waitingLimitMs) || process.exitStatus() != QProcess::NormalExit)
        return -1;
    return process.exitCode();
}

QStringList Tool::errorLines()
{
    errors += process.readAllStandardError();
    return QString::fromUtf8(errors).split('\n');
}

/// The texts of the form without a translation, by object name.
QJsonObject englishTexts()
{
    return {{"", "Widget"},
            {"label_2", "Operations list"},
            {"label_4", QString::fromUtf8("\xe2\x86\x92\n\xe2\x86\x90")},
            {"label1", "Selected operations"},
            {"confirmPb", "Confirm"},
            {"cancelPb", "Cancel"},
            {"label_3", "Please select operation(s) in the list to execute"},
            {"label_5", "Remaining: "},
            {"timeout", ""},
            {"pushButton", "Details"},
            {"information", ""},
            {"label", "Ver2.0.1"}};
}

} // namespace

/// The real program as a process.
class TestMain : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void withoutATranslationTheTextsAreTheFormsOwn();
    void withATranslationEveryTextGoesThroughIt();
    void aTranslationElsewhereIsNotLoaded();
    void aBrokenTranslationIsNoTranslation_data();
    void aBrokenTranslationIsNoTranslation();

    void nothingIsShownWithoutAMedium();
    void aMediumShowsTheWindow();
    void aProgramWithHiddenWindowsDoesNotQuit();
    void noIconThemeIsSearchedForTheQuestion();
    void theArgumentsGoToTheApplication();
    void theExitCodeIsTheEventLoops();
    void aBatchInProgressDoesNotHoldUpTheEnd();

    void theKeyOfTheQueueIsLogged();
    void withoutTheWatchdogsFileTheKeyIsMinusOne();

private:
    void plugIn(FakeDf &df, const QByteArray &catalogue);
};

void TestMain::cleanup()
{
    emptyMnt();
}

void TestMain::plugIn(FakeDf &df, const QByteArray &catalogue)
{
    makeMedium("/mnt/medium", catalogue);
    df.lists({dfLine("/dev/sda1", "/mnt/medium")});
}

// --- Translation ----------------------------------------------------------------------------------------

void TestMain::withoutATranslationTheTextsAreTheFormsOwn()
{
    FakeDf df;
    Tool tool;
    QVERIFY(tool.start());

    const QJsonObject report = tool.report();

    QCOMPARE(report.value("window").toObject(), englishTexts());
    QCOMPARE(report.value("question").toObject().value("").toString(), QString("Attention"));
}

void TestMain::withATranslationEveryTextGoesThroughIt()
{
    FakeDf df;
    Tool tool;
    writeFile(tool.filePath("en.qm"), validTranslation);
    QJsonObject translated = englishTexts();
    translated.insert("", "Fenster");
    translated.insert("label_2", "Aufgaben");
    translated.insert("confirmPb", QString::fromUtf8("Bestätigen"));
    QVERIFY(tool.start());

    const QJsonObject report = tool.report();

    QCOMPARE(report.value("window").toObject(), translated);
    QCOMPARE(report.value("question").toObject().value("").toString(), QString("Achtung"));
    QCOMPARE(tool.quit(0), 0); // the window goes before the translation
}

void TestMain::aTranslationElsewhereIsNotLoaded()
{
    FakeDf df;
    Tool tool;
    writeFile(tool.workingPath("en.qm"), validTranslation);
    writeFile(tool.filePath("translations/en.qm"), validTranslation);
    writeFile(tool.filePath("de.qm"), validTranslation);
    QVERIFY(tool.start());

    QCOMPARE(tool.report().value("window").toObject(), englishTexts());
}

void TestMain::aBrokenTranslationIsNoTranslation_data()
{
    QTest::addColumn<QByteArray>("content");

    QByteArray damaged = validTranslation;
    damaged[0] = '\0';
    QTest::newRow("an empty file") << QByteArray();
    QTest::newRow("a text file") << QByteArray("Confirm=Bestaetigen\n").repeated(20);
    QTest::newRow("a translation with a damaged start") << damaged;
    QTest::newRow("the first half of a translation") << validTranslation.left(validTranslation.size() / 2);
}

void TestMain::aBrokenTranslationIsNoTranslation()
{
    QFETCH(QByteArray, content);
    FakeDf df;
    Tool tool;
    writeFile(tool.filePath("en.qm"), content);
    QVERIFY(tool.start());

    QCOMPARE(tool.report().value("window").toObject(), englishTexts());
    QCOMPARE(tool.errorLines().filter("en.qm"), QStringList());
}

// --- Life -----------------------------------------------------------------------------------------------

void TestMain::nothingIsShownWithoutAMedium()
{
    FakeDf df;
    Tool tool;
    QVERIFY(tool.start());

    QTRY_VERIFY_WITH_TIMEOUT(df.runs() >= 2, waitingLimitMs);

    const QJsonObject report = tool.report();
    QVERIFY(!report.isEmpty());
    QCOMPARE(report.value("shown").toArray(), QJsonArray());
}

void TestMain::aMediumShowsTheWindow()
{
    FakeDf df;
    plugIn(df, "[system]\nCMD_List=A\n[CMD]\nA=Name@true\n");
    Tool tool;
    QVERIFY(tool.start());

    QTRY_COMPARE_WITH_TIMEOUT(tool.report().value("shown").toArray(), QJsonArray{"Widget"}, waitingLimitMs);
}

void TestMain::aProgramWithHiddenWindowsDoesNotQuit()
{
    FakeDf df;
    Tool tool;
    QVERIFY(tool.start());

    const QJsonObject report = tool.report();

    QVERIFY(report.contains("quitsWithLastWindow"));
    QVERIFY(!report.value("quitsWithLastWindow").toBool());
}

/// What it looks like then is a test with a real screen.
void TestMain::noIconThemeIsSearchedForTheQuestion()
{
    FakeDf df;
    Tool tool;
    QVERIFY(tool.start());

    const QJsonObject report = tool.report();

    QVERIFY(report.contains("desktopSettings"));
    QVERIFY(!report.value("desktopSettings").toBool());
}

void TestMain::theArgumentsGoToTheApplication()
{
    FakeDf df;
    Tool tool;
    QVERIFY(tool.start({"-style", "windows", "one", "--two"}));

    const QJsonObject report = tool.report();

    QCOMPARE(report.value("arguments").toArray(),
             QJsonArray::fromStringList({tool.filePath("zul_upgrade"), "one", "--two"}));
    QCOMPARE(report.value("style").toString(), QString("windows"));
}

void TestMain::theExitCodeIsTheEventLoops()
{
    FakeDf df;
    Tool tool;
    QVERIFY(tool.start());
    QVERIFY(!tool.report().isEmpty());

    QCOMPARE(tool.quit(7), 7);
}

void TestMain::aBatchInProgressDoesNotHoldUpTheEnd()
{
    HeldProgram program;
    FakeDf df;
    plugIn(df, "[system]\nCMD_Type=A\n[CMD]\nA=Name@" + program.commandLine().toUtf8() + '\n');
    Tool tool;
    QVERIFY(tool.start());
    QVERIFY(program.isRunning());

    QCOMPARE(tool.quit(0), 0);
}

// --- The watchdog's queue -------------------------------------------------------------------------------

void TestMain::theKeyOfTheQueueIsLogged()
{
    FakeDf df;
    Tool tool;
    const QString keyFile = tool.filePath("zul_watchdog");
    writeFile(keyFile, "");
    const key_t key = ftok(QFile::encodeName(keyFile).constData(), WatchdogQueue::projectId);
    QVERIFY(key != -1);

    QVERIFY(tool.start());

    QTRY_VERIFY_WITH_TIMEOUT(tool.errorLines().contains(QString("key = %1").arg(key)), waitingLimitMs);
    WatchdogQueue(key).remove();
}

void TestMain::withoutTheWatchdogsFileTheKeyIsMinusOne()
{
    FakeDf df;
    Tool tool;

    QVERIFY(tool.start());

    QTRY_VERIFY_WITH_TIMEOUT(tool.errorLines().contains("key = -1"), waitingLimitMs);
}

SANDBOXED_TEST_MAIN(TestMain)
#include "tst_main.moc"
