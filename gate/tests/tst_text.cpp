// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/text.h"

#include <QTest>

/// What is text to the gate, and how it shows what is not.
class TestText : public QObject
{
    Q_OBJECT

private slots:
    void plainTextIsWhatALineCanHold_data();
    void plainTextIsWhatALineCanHold();
    void whatIsNotPlainIsShownByteByByte_data();
    void whatIsNotPlainIsShownByteByByte();
    void numbersHaveOneForm_data();
    void numbersHaveOneForm();
    void aControllersNameIsShortAndPlain_data();
    void aControllersNameIsShortAndPlain();
    void linesEndWhereTheyEnd();
};

namespace
{

std::string_view viewOf(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

} // namespace

void TestText::plainTextIsWhatALineCanHold_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("plain");
    const auto row = [](const char *name, const QByteArray &bytes, bool plain) {
        QTest::newRow(name) << bytes << plain;
    };
    row("nothing", "", true);
    row("ASCII from end to end", " ~", true);
    row("two bytes", "\xc3\xa4", true);
    row("three bytes", "\xe4\xb8\xad", true);
    row("four bytes", "\xf0\x9f\x98\x80", true);
    row("the last character", "\xf4\x8f\xbf\xbf", true);
    row("the first behind the controls", "\xc2\xa0", true);
    row("a zero byte", QByteArray("a\0b", 3), false);
    row("a line feed", "a\nb", false);
    row("a tabulator", "a\tb", false);
    row("the last control below blank", "\x1f", false);
    row("delete", "\x7f", false);
    row("the first of the upper controls", "\xc2\x80", false);
    row("the last of the upper controls", "\xc2\x9f", false);
    row("a continuation alone", "\x80", false);
    row("a character cut off", "\xe4\xb8", false);
    row("a character with another inside", "\xe4\x41\xad", false);
    row("a character with a beginning inside", "\xe4\xc3\xa4", false);
    row("a slash in two bytes", "\xc0\xaf", false);
    row("a slash in three bytes", "\xe0\x80\xaf", false);
    row("a slash in four bytes", "\xf0\x80\x80\xaf", false);
    row("a surrogate", "\xed\xa0\x80", false);
    row("the last surrogate", "\xed\xbf\xbf", false);
    row("behind the last character", "\xf4\x90\x80\x80", false);
    row("five bytes", "\xf8\x88\x80\x80\x80", false);
    row("no beginning at all", "\xff", false);
}

void TestText::plainTextIsWhatALineCanHold()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, plain);
    QCOMPARE(gate::isPlainText(viewOf(bytes)), plain);
}

void TestText::whatIsNotPlainIsShownByteByByte_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("shown");
    const QByteArray longest(200, 'x');
    QTest::newRow("plain") << QByteArray("caf\xc3\xa9") << QByteArray("caf\xc3\xa9");
    QTest::newRow("a line feed") << QByteArray("caf\xc3\xa9\n") << QByteArray("caf\\xc3\\xa9\\x0a");
    QTest::newRow("an escape") << QByteArray("\x1b[2J") << QByteArray("\\x1b[2J");
    QTest::newRow("the longest") << longest << longest;
    QTest::newRow("longer") << QByteArray(longest + "x") << QByteArray(longest + "...");
    QTest::newRow("cut inside a character")
        << QByteArray(199, 'x') + "\xc3\xa9" << QByteArray(199, 'x') + "\\xc3...";
}

void TestText::whatIsNotPlainIsShownByteByByte()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, shown);
    QCOMPARE(QByteArray::fromStdString(gate::printable(viewOf(bytes))), shown);
}

void TestText::numbersHaveOneForm_data()
{
    QTest::addColumn<QByteArray>("digits");
    QTest::addColumn<quint64>("largest");
    QTest::addColumn<qint64>("number"); // -1: none
    QTest::newRow("zero") << QByteArray("0") << quint64(0) << qint64(0);
    QTest::newRow("the largest") << QByteArray("120") << quint64(120) << qint64(120);
    QTest::newRow("one more") << QByteArray("121") << quint64(120) << qint64(-1);
    QTest::newRow("ten times more") << QByteArray("1200") << quint64(120) << qint64(-1);
    QTest::newRow("a digit above the largest") << QByteArray("5") << quint64(4) << qint64(-1);
    QTest::newRow("nothing") << QByteArray() << quint64(9) << qint64(-1);
    QTest::newRow("leading zero") << QByteArray("07") << quint64(9) << qint64(-1);
    QTest::newRow("a plus") << QByteArray("+7") << quint64(9) << qint64(-1);
    QTest::newRow("a blank") << QByteArray(" 7") << quint64(9) << qint64(-1);
    QTest::newRow("a letter") << QByteArray("7a") << quint64(999) << qint64(-1);
    QTest::newRow("more than 64 bits") << QByteArray("18446744073709551616") << ~quint64(0) << qint64(-1);
}

void TestText::numbersHaveOneForm()
{
    QFETCH(QByteArray, digits);
    QFETCH(quint64, largest);
    QFETCH(qint64, number);
    const std::optional<std::uint64_t> read = gate::readNumber(viewOf(digits), largest);
    QCOMPARE(read ? static_cast<qint64>(*read) : -1, number);
}

void TestText::aControllersNameIsShortAndPlain_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("usual") << QByteArray("zul,A-9_b.0+x") << true;
    QTest::newRow("the longest") << QByteArray(64, 'z') << true;
    QTest::newRow("longer") << QByteArray(65, 'z') << false;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("a slash") << QByteArray("a/b") << false;
    QTest::newRow("not ASCII") << QByteArray("\xc3\xa9") << false;
}

void TestText::aControllersNameIsShortAndPlain()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, allowed);
    QCOMPARE(gate::isControllersName(viewOf(name)), allowed);
}

void TestText::linesEndWhereTheyEnd()
{
    using Lines = std::vector<std::string_view>;
    QCOMPARE(gate::linesOf(""), Lines{});
    QCOMPARE(gate::linesOf("a\nb\n"), (Lines{"a", "b"}));
    QCOMPARE(gate::linesOf("a\n\nb"), (Lines{"a", "", "b"}));
    QCOMPARE(gate::linesOf("\n"), Lines{""});
}

QTEST_GUILESS_MAIN(TestText)
#include "tst_text.moc"
