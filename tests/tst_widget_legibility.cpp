// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/languages.h"
#include "support/legibility.h"
#include "support/sandboxed.h"
#include "support/screentour.h"

#include <QFile>
#include <QFontInfo>
#include <QHeaderView>
#include <QLabel>
#include <QScreen>
#include <QStyle>
#include <QTableView>
#include <QTextCodec>
#include <QXmlStreamReader>

#include <algorithm>

/// Whether the operator can read everything, in every language, with the fonts, the resolution and the style
/// that the tool is installed with: the form's sizes are fixed, the texts are not.
class TestWidgetLegibility : public QObject
{
    Q_OBJECT

private slots:
    void surroundingsAreTheInstalledOnes();
    void everyTextIsLookedAt();
    void everyLabelIsLookedAt();
    void everyCharacterHasAGlyph_data();
    void everyCharacterHasAGlyph();
    void nothingIsCut_data();
    void nothingIsCut();
    void nothingOverlaps_data();
    void nothingOverlaps();
    void fieldsStayAsTheyAre_data();
    void fieldsStayAsTheyAre();
    void windowsAreOnTheScreen_data();
    void windowsAreOnTheScreen();
    void textsStandOut_data();
    void textsStandOut();
    void onlyFixedColoursAreFainter();
    void catalogueInItsScriptHasItsGlyphs_data();
    void catalogueInItsScriptHasItsGlyphs();
    void statusTableNeedsNoScrollingWithDetails();
};

namespace
{

/// The titles of the window and of the box, which has no frame on the controller's screen.
const QStringList textsThatAreNotShown{"Widget", "Attention"};

void addLanguages()
{
    QTest::addColumn<QString>("language");
    for (const QString &code : shippedLanguages())
        QTest::newRow(qPrintable(code)) << code;
}

/// The sources of the template for translators.
QStringList textsOfTheTemplate()
{
    QFile file(ZUL_TEMPLATE);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", ZUL_TEMPLATE);
    QXmlStreamReader reader(&file);
    QStringList texts;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("source"))
            texts.append(reader.readElementText());
    }
    return texts;
}

/// The characters of a range, both ends included, but for some that stand for nothing.
QString characters(ushort first, ushort last, const QVector<ushort> &but = {})
{
    QString text;
    for (int number = first; number <= last; ++number) {
        if (!but.contains(static_cast<ushort>(number)))
            text += QChar(number);
    }
    return text;
}

/// The characters that a national standard writes with two bytes.
QString charactersOf(const char *standard)
{
    const QTextCodec *codec = QTextCodec::codecForName(standard);
    QString text;
    for (int first = 0xa1; codec && first <= 0xfe; ++first) {
        for (int second = 0x40; second <= 0xfe; ++second) {
            const char bytes[] = {static_cast<char>(first), static_cast<char>(second)};
            const QString character = codec->toUnicode(bytes, 2);
            if (character.size() == 1 && character.at(0).isLetter())
                text += character;
        }
    }
    return text;
}

/// All of them, because the test itself tells no more than a thousand characters.
void tell(const QStringList &faults)
{
    for (const QString &fault : faults)
        qWarning("%s", qPrintable(fault));
}

} // namespace

#define VERIFY_NO_FAULTS(find)                                                                               \
    QFETCH(const QString, language);                                                                         \
    const QStringList faults =                                                                               \
        faultsIn(language, screensIn(language), [](const Screen &screen) { return find; });                  \
    tell(faults);                                                                                            \
    QVERIFY2(faults.isEmpty(), qPrintable(faults.value(0)))

void TestWidgetLegibility::surroundingsAreTheInstalledOnes()
{
    QCOMPARE(QFontInfo(QApplication::font()).family(), QString("Liberation Sans"));
    QCOMPARE(QFontInfo(QFont("Arial")).family(), QString("Liberation Sans"));
    QCOMPARE(qRound(QGuiApplication::primaryScreen()->logicalDotsPerInch()), 83);
    QCOMPARE(QApplication::style()->objectName(), QString("windows"));
}

void TestWidgetLegibility::everyTextIsLookedAt()
{
    QStringList seen;
    for (const Screen &screen : screensIn("en")) {
        for (const ShownText &shown : screen.texts + screen.headings)
            seen.append(shown.text);
    }
    const QString all = seen.join('\n');
    for (const QString &text : textsOfTheTemplate()) {
        if (!textsThatAreNotShown.contains(text))
            QVERIFY2(all.contains(QString(text).remove('&')), qPrintable(text));
    }
}

void TestWidgetLegibility::everyLabelIsLookedAt()
{
    QStringList seen;
    for (const Screen &screen : screensIn("en")) {
        for (const ShownText &shown : screen.texts)
            seen.append(shown.field);
    }
    TestWindow window;
    for (const QLabel *label : window.widget.findChildren<QLabel *>())
        QVERIFY2(seen.contains(fieldOf(*label)), qPrintable(fieldOf(*label)));
}

void TestWidgetLegibility::everyCharacterHasAGlyph_data()
{
    addLanguages();
}

void TestWidgetLegibility::everyCharacterHasAGlyph()
{
    VERIFY_NO_FAULTS(missingGlyphs(screen.texts + screen.headings));
}

void TestWidgetLegibility::nothingIsCut_data()
{
    addLanguages();
}

void TestWidgetLegibility::nothingIsCut()
{
    VERIFY_NO_FAULTS(cutTexts(screen.texts + screen.headings));
}

void TestWidgetLegibility::nothingOverlaps_data()
{
    addLanguages();
}

void TestWidgetLegibility::nothingOverlaps()
{
    VERIFY_NO_FAULTS(overlappingTexts(screen.texts));
}

void TestWidgetLegibility::fieldsStayAsTheyAre_data()
{
    addLanguages();
}

void TestWidgetLegibility::fieldsStayAsTheyAre()
{
    QFETCH(const QString, language);
    const QVector<Screen> &english = screensIn("en");
    int number = 0;
    const QStringList faults = faultsIn(language, screensIn(language), [&](const Screen &screen) {
        return movedFields(screen, english.at(number++));
    });
    tell(faults);
    QVERIFY2(faults.isEmpty(), qPrintable(faults.value(0)));
}

void TestWidgetLegibility::windowsAreOnTheScreen_data()
{
    addLanguages();
}

void TestWidgetLegibility::windowsAreOnTheScreen()
{
    VERIFY_NO_FAULTS(screen.windowFaults);
}

void TestWidgetLegibility::textsStandOut_data()
{
    addLanguages();
}

void TestWidgetLegibility::textsStandOut()
{
    VERIFY_NO_FAULTS(faintTexts(screen.texts));
}

/// And exactly as faint as the form says, so that every change is told.
void TestWidgetLegibility::onlyFixedColoursAreFainter()
{
    QStringList contrasts;
    for (const Screen &screen : screensIn("en")) {
        for (const ShownText &shown : screen.texts) {
            if (!hasFixedColours(shown))
                continue;
            const QString state = screen.name.section(", ", 1);
            contrasts.append(QString("%1 %2").arg(shown.contrast, 0, 'f', 2).arg(state).trimmed());
        }
    }
    contrasts.removeDuplicates();
    contrasts.sort();
    QCOMPARE(contrasts, QStringList({"3.24", "4.27 pressed"}));
}

void TestWidgetLegibility::catalogueInItsScriptHasItsGlyphs_data()
{
    QTest::addColumn<QString>("characters");
    QTest::addColumn<int>("least"); // so that a standard that the toolkit does not know is told
    QTest::newRow("Greek") << characters(0x0386, 0x03ce, {0x038b, 0x038d, 0x03a2}) << 70;
    QTest::newRow("Cyrillic") << characters(0x0400, 0x045f) + "ҐґҒғҚқҢңҮүҰұҺһӘәӨө" << 112;
    QTest::newRow("Vietnamese") << "ĂăÂâĐđÊêÔôƠơƯư" + characters(0x1ea0, 0x1ef9) << 104;
    QTest::newRow("Chinese, simplified: all of GB 2312") << charactersOf("GB2312") << 6763;
    QTest::newRow("Chinese, traditional: all of Big5") << charactersOf("Big5") << 13053;
    QTest::newRow("Japanese: all of JIS X 0208") << charactersOf("EUC-JP") << 6355;
    QTest::newRow("Korean: all of KS X 1001") << charactersOf("EUC-KR") << 2350 + 4888;
    QTest::newRow("Korean: every syllable") << characters(0xac00, 0xd7a3) << 11172;
}

/// In each font in which the name of an operation is shown: in the lists, the table, and the line of what is
/// executing. And in that of the question, though no name is in it.
void TestWidgetLegibility::catalogueInItsScriptHasItsGlyphs()
{
    QFETCH(const QString, characters);
    QFETCH(const int, least);
    QVERIFY(characters.size() >= least);
    const InLanguage set("en");
    TestWindow window;
    window.show();
    QVector<QFont> fonts{window.msgBox->font()};
    for (const char *field : {"operationList", "selectedList", "tableView", "information"})
        fonts.append(window.child<QWidget>(field)->font());
    std::sort(fonts.begin(), fonts.end());
    fonts.erase(std::unique(fonts.begin(), fonts.end()), fonts.end());
    for (const QFont &font : qAsConst(fonts))
        QCOMPARE(missingCharacters(characters, font), QString());
}

void TestWidgetLegibility::statusTableNeedsNoScrollingWithDetails()
{
    TestWindow window;
    window.showDetails = true;
    window.runList = {{"A", "a", false, 0}};
    window.widget.createTabelview();
    window.show();
    const auto *table = window.child<QTableView>("tableView");
    QVERIFY(table->horizontalHeader()->length() <= table->viewport()->width());
}

SHIPPED_TEST_MAIN(TestWidgetLegibility)
#include "tst_widget_legibility.moc"
