// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/questions.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QAbstractButton>
#include <QFontInfo>
#include <QGlyphRun>
#include <QHeaderView>
#include <QLabel>
#include <QListView>
#include <QScreen>
#include <QTableView>
#include <QTextLayout>

#include <algorithm>

namespace
{

const QStringList operationNames{"Update application", "Clear logs", "Calibrate touch screen", "Save data",
                                 "Reboot system"};

/// Every text, with the widget that shows it.
const QVector<QPair<QByteArray, QString>> shownTexts{
    {"label_2", "Operations list"},
    {"label_4", "→\n←"},
    {"label1", "Selected operations"},
    {"label_3", "Please select operation(s) in the list to execute"},
    {"label_5", "Remaining: "},
    {"timeout", "05:00"},
    {"timeout", "06:00"},
    {"label", "Ver2.0.1"},
    {"information", "Executing："},
    {"information", "Executing：Update application"},
    {"information", "Executing：Calibrate touch screen"},
    {"information", "Executing：Reboot system"},
    {"information", "Executing：更新应用程序"},
    {"information", "Operation completed，please unplug SD card！"},
    {"information", "Operation completed，please unplug USB drive！"},
    {"information", "Operation completed，please unplug storage device！"},
};

/// How many characters of the text have no glyph in the font and those behind it.
int missingGlyphs(const QString &text, const QFont &font)
{
    QTextLayout layout(QString(text).remove('\n'), font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    int missing = 0;
    for (const QGlyphRun &run : layout.glyphRuns())
        missing += run.glyphIndexes().count(0);
    return missing;
}

QByteArray describe(const QString &text, const QSize &needed, const QSize &given)
{
    return QString("\"%1\" needs %2 x %3, has %4 x %5")
        .arg(text)
        .arg(needed.width())
        .arg(needed.height())
        .arg(given.width())
        .arg(given.height())
        .toUtf8();
}

/// What the text takes: its lines' width with the space around the letters, and the height of its ink.
QSize neededSize(const QString &text, const QFont &font)
{
    const QFontMetrics metrics(font);
    const QStringList lines = text.split('\n');
    return {metrics.size(0, text).width(),
            metrics.tightBoundingRect(lines.first()).height() + (lines.size() - 1) * metrics.lineSpacing()};
}

} // namespace

#define COMPARE_FITS(text, needed, given)                                                                    \
    QVERIFY2((needed).width() <= (given).width() && (needed).height() <= (given).height(),                   \
             describe(text, needed, given).constData())

/// Whether the operator can read everything, with the font and the resolution that the tool is installed
/// with: the form's sizes are fixed, the fonts' are not.
class TestWidgetLegibility : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fontAndResolutionAreTheInstalledOnes();
    void labelHoldsItsText_data();
    void labelHoldsItsText();
    void messagesOfTheBatchFit_data();
    void messagesOfTheBatchFit();
    void labelsDoNotReachBeyondTheWindow();
    void everyLabelOfTheFormIsLookedAt();
    void buttonHoldsItsCaption_data();
    void buttonHoldsItsCaption();
    void listEntriesFitTheirList_data();
    void listEntriesFitTheirList();
    void statusTableElidesNothing();
    void statusTableNeedsNoScrollingWithDetails();
    void questionFitsTheScreen_data();
    void questionFitsTheScreen();
    void everyCharacterHasAGlyph_data();
    void everyCharacterHasAGlyph();
};

void TestWidgetLegibility::initTestCase()
{
    qApp->setStyleSheet("file:///" ZUL_ENGLISH_SHEET);
}

void TestWidgetLegibility::fontAndResolutionAreTheInstalledOnes()
{
    QCOMPARE(QFontInfo(QApplication::font()).family(), QString("Liberation Sans"));
    QCOMPARE(QFontInfo(QFont("Arial")).family(), QString("Liberation Sans"));
    QCOMPARE(qRound(QGuiApplication::primaryScreen()->logicalDotsPerInch()), 83);
}

void TestWidgetLegibility::labelHoldsItsText_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");
    for (const auto &shown : shownTexts)
        QTest::newRow(QByteArray(shown.first + ": " + shown.second.toUtf8()).replace('\n', ' ').constData())
            << shown.first << shown.second;
}

void TestWidgetLegibility::labelHoldsItsText()
{
    QFETCH(const QByteArray, name);
    QFETCH(const QString, text);
    TestWindow window;
    window.show();
    auto *label = window.child<QLabel>(name.constData());
    label->setText(text);
    COMPARE_FITS(text, neededSize(text, label->font()), label->contentsRect().size());
}

void TestWidgetLegibility::messagesOfTheBatchFit_data()
{
    QTest::addColumn<int>("mediaType");
    QTest::newRow("SD card") << 0;
    QTest::newRow("USB drive") << 1;
    QTest::newRow("storage device") << 2;
}

void TestWidgetLegibility::messagesOfTheBatchFit()
{
    QFETCH(const int, mediaType);
    TestWindow window;
    window.show();
    window.mediaType = mediaType;
    const auto *label = window.child<QLabel>("information");
    for (const QString &name : operationNames) {
        window.widget.slotsStateChange(name);
        COMPARE_FITS(label->text(), neededSize(label->text(), label->font()), label->contentsRect().size());
    }
    window.widget.slotsState_end();
    COMPARE_FITS(label->text(), neededSize(label->text(), label->font()), label->contentsRect().size());
    QCOMPARE(missingGlyphs(label->text(), label->font()), 0);
}

void TestWidgetLegibility::labelsDoNotReachBeyondTheWindow()
{
    TestWindow window;
    window.show();
    for (const QLabel *label : window.widget.findChildren<QLabel *>()) {
        const QRect place(label->mapTo(&window.widget, QPoint()), label->size());
        QVERIFY2(QRect(0, 0, 800, 480).contains(place), qPrintable(label->objectName()));
    }
}

void TestWidgetLegibility::everyLabelOfTheFormIsLookedAt()
{
    TestWindow window;
    for (const QLabel *label : window.widget.findChildren<QLabel *>()) {
        const QByteArray name = label->objectName().toUtf8();
        const bool isListed = std::any_of(shownTexts.begin(), shownTexts.end(), [&](const auto &shown) {
            return shown.first == name && (label->text().isEmpty() || shown.second == label->text());
        });
        QVERIFY2(isListed, name.constData());
    }
}

void TestWidgetLegibility::buttonHoldsItsCaption_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("Confirm") << QByteArray("confirmPb");
    QTest::newRow("Cancel") << QByteArray("cancelPb");
    QTest::newRow("Details") << QByteArray("pushButton");
}

void TestWidgetLegibility::buttonHoldsItsCaption()
{
    QFETCH(const QByteArray, name);
    TestWindow window;
    window.show();
    const auto *button = window.child<QAbstractButton>(name.constData());
    QCOMPARE(button->text(), QString(QTest::currentDataTag()));
    COMPARE_FITS(button->text(), neededSize(button->text(), button->font()), button->contentsRect().size());
    QCOMPARE(missingGlyphs(button->text(), button->font()), 0);
}

void TestWidgetLegibility::listEntriesFitTheirList_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("operations") << QByteArray("operationList");
    QTest::newRow("selected operations") << QByteArray("selectedList");
}

void TestWidgetLegibility::listEntriesFitTheirList()
{
    QFETCH(const QByteArray, name);
    TestWindow window;
    QStandardItemModel entries;
    for (int copy = 0; copy < 4; ++copy) { // enough for the scroll bar, which takes its part
        for (const QString &operation : operationNames)
            entries.appendRow(new QStandardItem(operation));
    }
    auto *list = window.child<QListView>(name.constData());
    list->setModel(&entries);
    window.show();
    const QAbstractItemView *entry = list;
    COMPARE_FITS(name, QSize(entry->sizeHintForColumn(0), 0), list->viewport()->size());
    for (const QString &operation : operationNames)
        COMPARE_FITS(operation, neededSize(operation, list->font()),
                     list->visualRect(entries.index(0, 0)).size());
}

void TestWidgetLegibility::statusTableElidesNothing()
{
    TestWindow window;
    window.showDetails = true;
    window.runList = {
        {"", "sync", false, 0}, {"", "sync", false, 1}, {"", "sync", true, 2}, {"", "sync", false, 2}};
    for (const QString &name : operationNames)
        window.runList.append({name, "", false, 0});
    window.widget.createTabelview();
    window.show();
    window.child<QWidget>("widget")->hide();

    const auto *table = window.child<QTableView>("tableView");
    const QAbstractItemView *cells = table;
    for (int column = 0; column < 4; ++column) {
        const QByteArray which = "column " + QByteArray::number(column);
        COMPARE_FITS(which, QSize(cells->sizeHintForColumn(column), 0), QSize(table->columnWidth(column), 0));
        QVERIFY2(table->horizontalHeader()->sectionSizeHint(column) <= table->columnWidth(column),
                 which.constData());
    }
    for (int row = 0; row < window.runList.size(); ++row)
        QVERIFY(neededSize("Äg", table->font()).height() <= table->rowHeight(row));
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

void TestWidgetLegibility::questionFitsTheScreen_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("question to continue") << QByteArray("confirmPb");
    QTest::newRow("question to abort") << QByteArray("cancelPb");
}

void TestWidgetLegibility::questionFitsTheScreen()
{
    QFETCH(const QByteArray, button);
    TestWindow window;
    window.selectedModel = new QStandardItemModel(&window.widget);
    window.selectedModel->appendRow(new QStandardItem("A"));
    window.show();
    Questions questions([](QMessageBox &box) {
        QTimer::singleShot(0, &box, &QDialog::reject); // behind the measuring, whatever that finds
        COMPARE_FITS(QString("the box"), box.frameGeometry().size(), QSize(800, 480));
        const auto *label = box.findChild<QLabel *>("qt_msgbox_label");
        QVERIFY(label);
        COMPARE_FITS(label->text(), label->fontMetrics().size(0, label->text()),
                     label->contentsRect().size());
        QVERIFY(box.rect().contains(QRect(label->mapTo(&box, QPoint()), label->size())));
        QCOMPARE(missingGlyphs(label->text(), label->font()), 0);
        for (QAbstractButton *answer : box.buttons()) {
            const QString caption = answer->text().remove('&');
            COMPARE_FITS(caption, neededSize(caption, answer->font()), answer->contentsRect().size());
            QVERIFY(box.rect().contains(QRect(answer->mapTo(&box, QPoint()), answer->size())));
            QCOMPARE(missingGlyphs(caption, answer->font()), 0);
        }
    });
    window.tap(button);
    QCOMPARE(questions.asked().size(), 1);
}

void TestWidgetLegibility::everyCharacterHasAGlyph_data()
{
    labelHoldsItsText_data();
    for (const char *word : {"Name", "Status", "Succeed?", "Operation", "Not executed", "Executing",
                             "Completed", "Succeed", "Failed", "Save data", "Reboot system"})
        QTest::newRow(word) << QByteArray("tableView") << QString(word);
    QTest::newRow("Chinese operation in the list") << QByteArray("operationList") << "更新应用程序";
}

void TestWidgetLegibility::everyCharacterHasAGlyph()
{
    QFETCH(const QByteArray, name);
    QFETCH(const QString, text);
    TestWindow window;
    window.show();
    QCOMPARE(missingGlyphs(text, window.child<QWidget>(name.constData())->font()), 0);
}

SANDBOXED_TEST_MAIN(TestWidgetLegibility)
#include "tst_widget_legibility.moc"
