// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/inifile.h"
#include "reading/initext.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>

/// The scanner of the catalogue's text, held to what the settings reader makes of the same bytes.
class TestIniFile : public QObject
{
    Q_OBJECT

private slots:
    void readsAValueAsTheReaderDoes_data();
    void readsAValueAsTheReaderDoes();
    void readsAFileAsTheReaderDoes_data();
    void readsAFileAsTheReaderDoes();
    void knowsWhatTheReaderTakesForNoText_data();
    void knowsWhatTheReaderTakesForNoText();
    void tellsThePlaceOfEveryCharacter();
    void countsLinesWithAnyLineEnd();
    void aWrittenLineReadsBackUnchanged_data();
    void aWrittenLineReadsBackUnchanged();
    void findsTheMeantTextBehindRawBytes();

private:
    QVariant readerValue(const QByteArray &bytes, const QString &key);

    QTemporaryDir folder;
    int files = 0;
};

QVariant TestIniFile::readerValue(const QByteArray &bytes, const QString &key)
{
    const QString path = folder.filePath(QString::number(++files));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("no place for a file");
    file.close();
    return QSettings(path, QSettings::IniFormat).value(key);
}

void TestIniFile::readsAValueAsTheReaderDoes_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QString>("text");
    QTest::newRow("bare") << QByteArray("a b") << "a b";
    QTest::newRow("blanks around") << QByteArray(" \ta b \t") << "a b";
    QTest::newRow("quoted") << QByteArray("\" a, b; \"") << " a, b; ";
    QTest::newRow("text behind the quotes") << QByteArray("\"a\" b") << "ab";
    QTest::newRow("quotes inside") << QByteArray("a \"b\" c") << "a bc";
    QTest::newRow("escaped quotes") << QByteArray("\"a \\\"b\\\"\"") << "a \"b\"";
    QTest::newRow("semicolon") << QByteArray("a;b") << "a";
    QTest::newRow("letters") << QByteArray("\\a\\b\\f\\n\\r\\t\\v\\?\\'\\\\") << "\a\b\f\n\r\t\v?'\\";
    QTest::newRow("dropped letter") << QByteArray("a\\qb") << "ab";
    QTest::newRow("hexadecimal") << QByteArray("\\x4e2d\\x41") << QString(QChar(0x4e2d)) + 'A';
    QTest::newRow("hexadecimal runs on") << QByteArray("\\x4e2dab") << QString(QChar(0x2dab));
    QTest::newRow("octal") << QByteArray("\\101\\60") << "A0";
    QTest::newRow("no digits") << QByteArray("a\\xz") << "az";
    QTest::newRow("line end in quotes") << QByteArray("\"a\nb\"") << "a\nb";
    QTest::newRow("continued") << QByteArray("a\\\nb") << "ab";
    QTest::newRow("raw bytes") << QByteArray("\xc3\xa4") << QString::fromLatin1("\xc3\xa4");
    QTest::newRow("nothing") << QByteArray("") << "";
}

void TestIniFile::readsAValueAsTheReaderDoes()
{
    QFETCH(QByteArray, written);
    QFETCH(QString, text);
    const QByteArray bytes = "[CMD]\nkey=" + written + "\n";
    QCOMPARE(readerValue(bytes, "/CMD/key").toString(), text);
    const IniFile file(bytes);
    QCOMPARE(file.entries().size(), 1);
    QCOMPARE(file.entries().first().path(), QString("CMD/key"));
    QCOMPARE(file.entries().first().value.text, text);
}

void TestIniFile::readsAFileAsTheReaderDoes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    const QString mark = QString::fromLatin1("\xef\xbb\xbf");
    QTest::newRow("byte-order mark before a section") << QByteArray("\xef\xbb\xbf[CMD]\nkey=a") << "CMD/key"
                                                      << "a";
    QTest::newRow("byte-order mark before a key") << QByteArray("\xef\xbb\xbfkey=a") << mark + "key"
                                                  << "a";
    QTest::newRow("byte-order mark before a comment") << QByteArray("\xef\xbb\xbf; c\nkey=a") << "key"
                                                      << "a";
    QTest::newRow("section outside the sections") << QByteArray("[General]\nkey=a") << "key"
                                                  << "a";
    QTest::newRow("the same, and a zero byte")
        << QByteArray("[general\0]\nkey=a", 16) << QString("general%1/key").arg(QChar(0)) << "a";
    QTest::newRow("the file ends in an escape") << QByteArray("key=a \\") << "key"
                                                << "a ";
    QTest::newRow("the file ends in a number") << QByteArray("key=a \\x") << "key"
                                               << "a ";
    QTest::newRow("the file ends behind a blank") << QByteArray("key=a ") << "key"
                                                  << "a";
}

void TestIniFile::readsAFileAsTheReaderDoes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, key);
    QTEST(readerValue(bytes, key).toString(), "text");
    const IniFile file(bytes);
    QCOMPARE(file.entries().size(), 1);
    QCOMPARE(file.entries().first().path(), key);
    QVERIFY(file.strayLines().isEmpty());
    QTEST(file.entries().first().value.text, "text");
}

void TestIniFile::knowsWhatTheReaderTakesForNoText_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<bool>("special");
    const auto row = [](const char *written, bool special) {
        QTest::newRow(written) << QByteArray(written) << special;
    };
    row("@", false);
    row("@@", true);
    row("@run(x)", false);
    row("@Invalid()", true);
    row("@Invalid(x)", false);
    row("@Invalid()\\n", false);
    row("@String(x)", true);
    row("@String(x)\\n", false);
    row("@String(x", false);
    row("@ByteArray()", true);
    row("@Rect(1 2 3 4)", true);
    row("@Rect(1 2 3)", false);
    row("@Size(1 2)", true);
    row("@Size(1)", false);
    row("@Point(1 2)", true);
    row("@Point(1 2 3)", false);
    row("@Point(1) 2)", false);
    row("@Rect", false);
    row("@)", false);
}

void TestIniFile::knowsWhatTheReaderTakesForNoText()
{
    QFETCH(QByteArray, written);
    const QByteArray bytes = "key=\"" + written + '"';
    const QString text = IniFile(bytes).entries().first().value.text;
    const QVariant value = readerValue(bytes, "key");
    QCOMPARE(value.type() != QVariant::String || value.toString() != text, isSpecialValue(text));
    QTEST(isSpecialValue(text), "special");
}

void TestIniFile::tellsThePlaceOfEveryCharacter()
{
    const IniFile file("; first\n[system]\n  CMD_List = \"a,b\"\n");
    const IniEntry &entry = file.entries().first();
    QCOMPARE(file.position(entry.begin).line, 3);
    QCOMPARE(file.position(entry.begin).column, 3);
    QCOMPARE(entry.value.text, QString("a,b"));
    QCOMPARE(file.position(entry.value.at.last()).column, 17);
    QCOMPARE(file.lines(entry.begin, entry.end), QByteArray("  CMD_List = \"a,b\""));
}

void TestIniFile::countsLinesWithAnyLineEnd()
{
    const IniFile file("a=1\r\nb=2\rc=3\nd=4");
    QCOMPARE(file.entries().size(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(file.position(file.entries().at(i).begin).line, i + 1);
        QCOMPARE(file.position(file.entries().at(i).begin).column, 1);
    }
}

void TestIniFile::aWrittenLineReadsBackUnchanged_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "Name@cp a b";
    QTest::newRow("separators") << "a,b;c=d";
    QTest::newRow("quotes and backslashes") << "sh -c \"a \\ b\" \\x41";
    QTest::newRow("letters beyond ASCII") << QString::fromUtf8("\u4e2d\u6587abc 1\u00e4f");
    QTest::newRow("beyond the first plane") << QString::fromUtf8("\U0001F600a");
    QTest::newRow("control characters") << "a\nb\tc\x01"
                                           "d";
    QTest::newRow("blanks around") << " a ";
}

void TestIniFile::aWrittenLineReadsBackUnchanged()
{
    QFETCH(QString, text);
    const QByteArray line = iniLine("key", text).toLatin1();
    QVERIFY2(!line.contains('\n'), "more than one line");
    QCOMPARE(readerValue("[CMD]\n" + line + "\n", "/CMD/key").toString(), text);
}

void TestIniFile::findsTheMeantTextBehindRawBytes()
{
    const IniFile file("a=\"\xe4\xb8\xad\\x6587!\"\nb=\xe4\n");
    QCOMPARE(intendedText(file, file.entries().at(0).value), QString::fromUtf8("\u4e2d\u6587!"));
    QCOMPARE(intendedText(file, file.entries().at(1).value),
             QString(QChar(0xe4))); // not UTF-8: one byte a letter
}

QTEST_GUILESS_MAIN(TestIniFile)
#include "tst_inifile.moc"
