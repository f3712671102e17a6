// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "generator.h"
#include "reading/commandline.h"

#include <QProcess>
#include <QTest>

/// The split of command lines, held to what a program that is really started gets.
class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void aProgramGetsTheWordsOfTheSplit_data();
    void aProgramGetsTheWordsOfTheSplit();
    void generatedLinesToo();
    void anOpenQuoteIsNoticed();

private:
    static QStringList wordsOfAStartedProgram(const QString &arguments);
};

QStringList TestCommandLine::wordsOfAStartedProgram(const QString &arguments)
{
    QProcess process;
    process.start(QString("\"%1\" %2").arg(PRINT_ARGUMENTS, arguments), QIODevice::ReadOnly);
    if (!process.waitForFinished())
        return {"the program did not end: " + process.errorString()};
    QStringList words;
    const QByteArray printed = process.readAllStandardOutput();
    for (const QByteArray &word : printed.left(printed.size() - 1).split('\0'))
        words.append(
            QString::fromLocal8Bit('x' + word).mid(1)); // a byte-order mark in front would be left out
    return printed.isEmpty() ? QStringList() : words;
}

void TestCommandLine::aProgramGetsTheWordsOfTheSplit_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("words");
    QTest::newRow("blanks") << "a  b\tc " << QStringList{"a", "b", "c"};
    QTest::newRow("quoted blank") << "a \"b c\"" << QStringList{"a", "b c"};
    QTest::newRow("quotes within a word") << "a\"b c\"d" << QStringList{"ab cd"};
    QTest::newRow("three are one literal") << "\"\"\"a\"\"\"" << QStringList{"\"a\""};
    QTest::newRow("literal within quotes") << "\"a \"\"\"b\"\"\" c\"" << QStringList{"a \"b\" c"};
    QTest::newRow("four in a row") << "\"\"\"\"a b\"" << QStringList{"\"a b"};
    QTest::newRow("two vanish") << "a \"\" b" << QStringList{"a", "b"};
    QTest::newRow("single quotes stay") << "'a b'" << QStringList{"'a", "b'"};
    QTest::newRow("backslashes stay") << "a\\ b \\\"c" << QStringList{"a\\", "b", "\\c"};
    QTest::newRow("shell syntax stays") << "a | b > $c *" << QStringList{"a", "|", "b", ">", "$c", "*"};
    QTest::newRow("no-break space separates") << QString("a\u00a0b") << QStringList{"a", "b"};
    QTest::newRow("open quote") << "a \"b c" << QStringList{"a", "b c"};
}

void TestCommandLine::aProgramGetsTheWordsOfTheSplit()
{
    QFETCH(QString, line);
    QFETCH(QStringList, words);
    QCOMPARE(splitCommandLine(line).words, words);
    QCOMPARE(wordsOfAStartedProgram(line), words);
}

void TestCommandLine::generatedLinesToo()
{
    constexpr int lines = 1500;
    Generator generator(20);
    for (int i = 0; i < lines; ++i) {
        QByteArray bytes = generator.commandLine();
        bytes.replace('\0', ' '); // no argument can hold it
        const QString line = QString::fromUtf8(bytes);
        if (line.contains(QChar::ReplacementCharacter))
            continue;
        QCOMPARE(splitCommandLine(line).words, wordsOfAStartedProgram(line));
    }
}

void TestCommandLine::anOpenQuoteIsNoticed()
{
    QVERIFY(splitCommandLine("a \"b").openQuote);
    QVERIFY(!splitCommandLine("a \"b\"").openQuote);
    QVERIFY(!splitCommandLine("a \"\"\"b").openQuote);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
