// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include <QFile>
#include <QProcess>
#include <QTest>

/// The program as it is called; what it does with a medium is in tst_media.cpp.
class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void whatIsAskedForIsPrinted_data();
    void whatIsAskedForIsPrinted();
    void wrongUsageIsTold_data();
    void wrongUsageIsTold();
    void whatIsNoDiskIsLeftAlone_data();
    void whatIsNoDiskIsLeftAlone();
    void whatWasNeverMountedIsUnmountedInSilence();
    void withoutSettingsNothingWouldBeMounted();

private:
    /// Its exit code and everything that it prints.
    static QString run(const QStringList &arguments);
};

void TestProgram::initTestCase()
{
    QVERIFY2(QFile::exists("/mnt/.zul-sandbox"), "run it as: simulator/sandbox TEST");
}

QString TestProgram::run(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(ZUL_MEDIA, arguments);
    process.waitForFinished();
    return QString::number(process.exitCode()) + ' ' + QString::fromUtf8(process.readAll());
}

void TestProgram::whatIsAskedForIsPrinted_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("short") << "-h";
    QTest::newRow("long") << "--help";
}

void TestProgram::whatIsAskedForIsPrinted()
{
    QFETCH(QString, option);
    QVERIFY(run({option}).startsWith("0 Usage: zul_media mount DEVICE\n"));
}

void TestProgram::wrongUsageIsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("no device") << QStringList{"mount"};
    QTest::newRow("two devices") << QStringList{"mount", "sda1", "sda2"};
    QTest::newRow("another command") << QStringList{"format", "sda1"};
    QTest::newRow("settings of a device") << QStringList{"settings", "sda1"};
    QTest::newRow("an empty device") << QStringList{"mount", ""};
    QTest::newRow("a directory") << QStringList{"mount", "/dev/"};
    QTest::newRow("a path") << QStringList{"unmount", "../home"};
    QTest::newRow("a path of a device") << QStringList{"mount", "/dev/disk/by-id/x"};
}

void TestProgram::wrongUsageIsTold()
{
    QFETCH(QStringList, arguments);
    QVERIFY2(run(arguments).startsWith("64 Usage: "), qPrintable(run(arguments)));
}

void TestProgram::whatIsNoDiskIsLeftAlone_data()
{
    QTest::addColumn<QString>("device");
    QTest::addColumn<QString>("told");
    QTest::newRow("by its name") << "null"
                                 << "2 null: not a disk\n";
    QTest::newRow("by its path") << "/dev/null"
                                 << "2 null: not a disk\n";
    QTest::newRow("one that is not there") << "sdzz99"
                                           << "70 sdzz99: No such file or directory\n";
}

void TestProgram::whatIsNoDiskIsLeftAlone()
{
    QFETCH(QString, device);
    QFETCH(QString, told);
    QCOMPARE(run({"mount", device}), told);
}

void TestProgram::whatWasNeverMountedIsUnmountedInSilence()
{
    QCOMPARE(run({"unmount", "sdzz99"}), QString("0 "));
}

void TestProgram::withoutSettingsNothingWouldBeMounted()
{
    if (QFile::exists("/etc/zul/media.conf"))
        QSKIP("this computer has settings");
    QCOMPARE(run({"settings"}), QString("1 /etc/zul/media.conf: No such file or directory\n"
                                        "Nothing is mounted before the settings are put right.\n"));
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
