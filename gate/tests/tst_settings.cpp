// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/settings.h"
#include "gate/text.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using gate::Settings;

/// What the owner has written, and above all what happens when that is damaged.
class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void whatIsNotSaidIsTheSafeSide_data();
    void whatIsNotSaidIsTheSafeSide();
    void everySettingIsRead();
    void sizesHaveUnits_data();
    void sizesHaveUnits();
    void commentsAndBlanksArePassedOver();
    void aDamagedLineIsToldAndLeavesNoSettings_data();
    void aDamagedLineIsToldAndLeavesNoSettings();
    void everyDamagedLineIsTold();
    void noSingleDamageTurnsARequiredSignatureOff();
    void aFileThatIsTooLongLeavesNoSettings();
    void theFileThatIsInstalledSaysWhatIsUsual();
};

namespace
{

std::optional<Settings> read(const QByteArray &text, std::vector<std::string> *errors)
{
    return gate::readSettings({text.constData(), static_cast<std::size_t>(text.size())}, errors);
}

Settings readWell(const QByteArray &text)
{
    std::vector<std::string> errors;
    const std::optional<Settings> settings = read(text, &errors);
    if (!settings)
        qFatal("%s", errors.front().c_str());
    return *settings;
}

} // namespace

void TestSettings::whatIsNotSaidIsTheSafeSide_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing at all") << QByteArray();
    QTest::newRow("comments") << QByteArray("# Signature=off\n#Signature=off\n");
    QTest::newRow("other settings") << QByteArray("Results=no\n");
}

void TestSettings::whatIsNotSaidIsTheSafeSide()
{
    QFETCH(QByteArray, text);
    const Settings settings = readWell(text);
    QCOMPARE(settings.signature, Settings::Signature::Required);
    QVERIFY(!settings.results);
    QVERIFY(!settings.rememberSerial);
    QCOMPARE(settings.minimumSerial, std::uint64_t(0));
    QCOMPARE(settings.maximumSize, std::uint64_t(256) * 1024 * 1024);
    QCOMPARE(settings.freeMemory, std::uint64_t(32) * 1024 * 1024);
    QVERIFY(settings.compatible.empty());
    QVERIFY(settings.onRefused.empty());
}

void TestSettings::everySettingIsRead()
{
    const Settings settings =
        readWell("Signature=off\nResults=yes\nRememberSerial=yes\nMinimumSerial=999999999999999999\n"
                 "MaximumSize=5\nFreeMemory=0\nCompatible=zul-800_b.2\nOnRefused=/usr/bin/beep -n\n");
    QCOMPARE(settings.signature, Settings::Signature::Off);
    QVERIFY(settings.results);
    QVERIFY(settings.rememberSerial);
    QCOMPARE(settings.minimumSerial, std::uint64_t(999999999999999999));
    QCOMPARE(settings.maximumSize, std::uint64_t(5));
    QCOMPARE(settings.freeMemory, std::uint64_t(0));
    QCOMPARE(settings.compatible, std::string("zul-800_b.2"));
    QCOMPARE(settings.onRefused, std::string("/usr/bin/beep -n"));
    QCOMPARE(readWell("Signature=required").signature, Settings::Signature::Required);
    QVERIFY(!readWell("Results=no\nRememberSerial=no\nCompatible=\nOnRefused=").results);
}

void TestSettings::sizesHaveUnits_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<quint64>("bytes");
    QTest::newRow("bytes") << QByteArray("1000") << quint64(1000);
    QTest::newRow("K") << QByteArray("3K") << quint64(3072);
    QTest::newRow("M") << QByteArray("2M") << quint64(2097152);
    QTest::newRow("G") << QByteArray("1G") << quint64(1073741824);
    QTest::newRow("the largest") << QByteArray("1024G") << quint64(1099511627776);
}

void TestSettings::sizesHaveUnits()
{
    QFETCH(QByteArray, text);
    QFETCH(quint64, bytes);
    QCOMPARE(quint64(readWell("MaximumSize=" + text).maximumSize), bytes);
    QCOMPARE(quint64(readWell("FreeMemory=" + text).freeMemory), bytes);
}

void TestSettings::commentsAndBlanksArePassedOver()
{
    const Settings settings = readWell("\n# a comment, ä\n   \t\n\t # another\n  Results=yes \t\n\n");
    QVERIFY(settings.results);
}

void TestSettings::aDamagedLineIsToldAndLeavesNoSettings_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QByteArray &line, const char *error) {
        QTest::newRow(name) << line << QString(error);
    };
    row("no equals sign", "Results yes", "line 2: not NAME=value: Results yes");
    row("nothing but a value", "=yes", "line 2: no setting is called ");
    row("blank before the equals sign", "Results =yes", "line 2: no setting is called Results ");
    row("blank behind the equals sign", "Results= yes", "line 2: Results is yes or no, not \" yes\"");
    row("a name that is not quite one", "Signatures=required", "line 2: no setting is called Signatures");
    row("a name in small letters", "signature=off", "line 2: no setting is called signature");
    row("a value in capitals", "Results=YES", "line 2: Results is yes or no, not \"YES\"");
    row("a value in quotes", "Results=\"yes\"", "line 2: Results is yes or no, not \"\"yes\"\"");
    row("a comment behind", "Results=yes # or no", "line 2: Results is yes or no, not \"yes # or no\"");
    row("an empty value", "Results=", "line 2: Results is yes or no, not \"\"");
    row("a line's end of another system", "Results=yes\r", "line 2: not NAME=value: Results=yes\\x0d");
    row("a zero byte", QByteArray("Results=yes\0", 12), "line 2: not NAME=value: Results=yes\\x00");
    row("half a character", "OnRefused=/\xc3", "line 2: not NAME=value: OnRefused=/\\xc3");
    row("the signature twice", "Signature=off", "line 2: Signature is there twice");
    row("a size without a number", "MaximumSize=M",
        "line 2: MaximumSize is a size, such as 256M, up to 1024G, not \"M\"");
    row("a size without anything",
        "MaximumSize=", "line 2: MaximumSize is a size, such as 256M, up to 1024G, not \"\"");
    row("a unit that is none", "FreeMemory=1T",
        "line 2: FreeMemory is a size, such as 32M, up to 1024G, not \"1T\"");
    row("a size too large", "FreeMemory=1025G",
        "line 2: FreeMemory is a size, such as 32M, up to 1024G, not \"1025G\"");
    row("a size that overflows", "MaximumSize=18446744073709551617",
        "line 2: MaximumSize is a size, such as 256M, up to 1024G, not \"18446744073709551617\"");
    row("a negative number", "MinimumSerial=-1",
        "line 2: MinimumSerial is a number of up to 18 digits, not \"-1\"");
    row("a leading zero", "MinimumSerial=01",
        "line 2: MinimumSerial is a number of up to 18 digits, not \"01\"");
    row("a number too long", "MinimumSerial=1000000000000000000",
        "line 2: MinimumSerial is a number of up to 18 digits, not \"1000000000000000000\"");
    row("neither yes nor no", "RememberSerial=1", "line 2: RememberSerial is yes or no, not \"1\"");
    row("a controller's name with a blank", "Compatible=a b",
        "line 2: Compatible is a name of letters, digits and . _ - , +, not \"a b\"");
    row("a program that would be looked for", "OnRefused=beep",
        "line 2: OnRefused is the path of a program from / on, not \"beep\"");
}

void TestSettings::aDamagedLineIsToldAndLeavesNoSettings()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, error);
    std::vector<std::string> errors;
    QVERIFY(!read("Signature=off\n" + line + "\n", &errors));
    QCOMPARE(errors.size(), std::size_t(1));
    QCOMPARE(QString::fromStdString(errors.front()), error);
}

void TestSettings::everyDamagedLineIsTold()
{
    std::vector<std::string> errors{"an older one"};
    QVERIFY(!read("Signature=maybe\n\nBeep=1\n", &errors));
    QCOMPARE(errors, (std::vector<std::string>{"line 1: Signature is off or required, not \"maybe\"",
                                               "line 3: no setting is called Beep"}));
}

/// Every byte of the file replaced by any other, left out, and the file cut off before it.
void TestSettings::noSingleDamageTurnsARequiredSignatureOff()
{
    const QByteArray whole = "# zul\nResults=yes\nSignature=required\nMinimumSerial=7\n";
    std::vector<std::string> errors;
    const auto isOff = [&](const QByteArray &text) {
        const std::optional<Settings> settings = read(text, &errors);
        return settings && settings->signature != Settings::Signature::Required;
    };
    for (int i = 0; i < whole.size(); ++i) {
        QVERIFY(!isOff(whole.left(i)));
        QVERIFY(!isOff(QByteArray(whole).remove(i, 1)));
        for (int byte = 0; byte < 256; ++byte)
            QVERIFY(!isOff(QByteArray(whole).replace(i, 1, QByteArray(1, static_cast<char>(byte)))));
    }
}

void TestSettings::aFileThatIsTooLongLeavesNoSettings()
{
    std::vector<std::string> errors;
    const QByteArray longest =
        "Signature=off\n#" + QByteArray(static_cast<int>(gate::largestSettings) - 15, 'x');
    QVERIFY(read(longest, &errors));
    QVERIFY(!read(longest + 'x', &errors));
    QCOMPARE(errors.front(), std::string("longer than 65536 bytes"));
}

/// As it is, and with every setting that it only mentions.
void TestSettings::theFileThatIsInstalledSaysWhatIsUsual()
{
    QFile file(ZUL_SETTINGS);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QString text = QString::fromUtf8(file.readAll());
    QCOMPARE(readWell(text.toUtf8()).signature, Settings::Signature::Off);
    const QRegularExpression mention("^#(?=[A-Z][A-Za-z]+=)", QRegularExpression::MultilineOption);
    QCOMPARE(text.count(mention), 7);
    const Settings mentioned = readWell(text.remove(mention).toUtf8());
    const Settings usual;
    QCOMPARE(mentioned.results, usual.results);
    QCOMPARE(mentioned.rememberSerial, usual.rememberSerial);
    QCOMPARE(mentioned.minimumSerial, usual.minimumSerial);
    QCOMPARE(mentioned.maximumSize, usual.maximumSize);
    QCOMPARE(mentioned.freeMemory, usual.freeMemory);
    QCOMPARE(mentioned.compatible, usual.compatible);
    QCOMPARE(mentioned.onRefused, usual.onRefused);
}

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
