// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/commandline.h"
#include "reading/shell.h"

#include <QTest>

/// What a shell is, and what hands a script to one.
class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void aShellIsKnownByItsName_data();
    void aShellIsKnownByItsName();
    void aScriptForAShellIsTakenApart_data();
    void aScriptForAShellIsTakenApart();
    void aWholeScriptReachesTheShell();
    void aPathReachesTheShellAsOneWord();
};

void TestShell::aShellIsKnownByItsName_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("count");
    for (const char *name : {"sh", "ash", "bash", "dash", "hush", "ksh", "mksh", "zsh"}) {
        QTest::newRow(name) << QString("%1 x").arg(name) << 1;
        QTest::addRow("%s by its path", name) << QString("/bin/%1 x").arg(name) << 1;
        QTest::addRow("%s of busybox", name) << QString("/bin/busybox %1 x").arg(name) << 2;
    }
    QTest::newRow("nothing") << "" << 0;
    QTest::newRow("a program that ends alike") << "push -c x" << 0;
    QTest::newRow("a program that has it inside") << "flash_erase -c x" << 0;
    QTest::newRow("a script") << "update.sh -c x" << 0;
    QTest::newRow("another program of busybox") << "busybox cp a b" << 0;
    QTest::newRow("busybox alone") << "busybox" << 0;
    QTest::newRow("a shell as an argument") << "cp sh x" << 0;
}

void TestShell::aShellIsKnownByItsName()
{
    QFETCH(QString, line);
    QFETCH(int, count);
    QCOMPARE(shellWords(splitCommandLine(line).words), count);
}

void TestShell::aScriptForAShellIsTakenApart_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("script");
    const auto row = [](const char *line, const char *shell, const char *script) {
        QTest::newRow(line) << QString(line) << QString(shell) << QString(script);
    };
    row("sh -c \"a b\"", "sh -c", "\"a b\"");
    row("/bin/bash -ec a b", "/bin/bash -ec", "a b");
    row("sh -e -c a", "sh -e -c", "a");
    row("sh -c a -c b", "sh -c", "a -c b");
    row("busybox sh  -c  'a b'", "busybox sh  -c", "'a b'");
    row("sh a.sh -c b", "", "");
    row("sh -c", "", "");
    row("sh -e a.sh", "", "");
    row("push -c a", "", "");
    row("a\"/sh -c b\"", "", "");
    row("sh -\"x -c a\"", "", "");
    row("a\u00a0/sh -c b", "", "");
}

void TestShell::aScriptForAShellIsTakenApart()
{
    QFETCH(QString, line);
    QTEST(shellCall(line).shell, "shell");
    QTEST(shellCall(line).script, "script");
}

void TestShell::aWholeScriptReachesTheShell()
{
    for (const QString &script :
         {QString("a | b"), QString("echo \"x y\" > z"), QString("\"a\""), QString("x \"\"")}) {
        QCOMPARE(splitCommandLine(throughShell(script)).words, (QStringList{"sh", "-c", script}));
        QCOMPARE(splitCommandLine(throughShell(script, "busybox sh -ec")).words,
                 (QStringList{"busybox", "sh", "-ec", script}));
    }
}

void TestShell::aPathReachesTheShellAsOneWord()
{
    QCOMPARE(shellWord("/media/sd-1/a_b.txt"), QString("/media/sd-1/a_b.txt"));
    QCOMPARE(shellWord("/media/my card/it's"), QString("'/media/my card/it'\\''s'"));
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
