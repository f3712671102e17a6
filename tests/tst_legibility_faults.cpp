// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/languages.h"
#include "support/legibility.h"
#include "support/questions.h"
#include "support/testwindow.h"

#include "debuglines.h"

#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableView>
#include <QTranslator>

#include <functional>

namespace
{

using Plant = std::function<void(TestWindow &)>;

/// A translation in which one text reads otherwise.
class PlantedTranslation : public QTranslator
{
public:
    PlantedTranslation(const QByteArray &source, const QString &translation)
        : planted(source)
        , text(translation)
    {
        QCoreApplication::installTranslator(this);
    }

    ~PlantedTranslation() override
    {
        QCoreApplication::removeTranslator(this);
    }

    QString translate(const char *, const char *source, const char *, int) const override
    {
        return planted == source ? text : QString();
    }

    bool isEmpty() const override
    {
        return false;
    }

private:
    const QByteArray planted;
    const QString text;
};

/// Everything that the gate finds on the screen that a window shows.
QStringList faultsOf(QWidget &window)
{
    QVector<ShownText> texts = textsOf(window);
    if (texts.isEmpty())
        return {"no text is to be seen"};
    QStringList faults =
        overlappingTexts(texts) + faintTexts(texts) + mnemonicFaults(window) + beyondTheScreen(window);
    const auto *table = window.findChild<QTableView *>();
    if (table && isInFront(*table))
        texts += headingsOf(*table);
    return cutTexts(texts) + missingGlyphs(texts) + faults;
}

/// What the gate finds in every screen of the tour.
QStringList faultsOfTheTour()
{
    return faultsIn("en", everyScreen(), [](const Screen &screen) {
        return cutTexts(screen.texts + screen.headings) + missingGlyphs(screen.texts) + screen.windowFaults;
    });
}

/// Whether one of the faults reads like this. Tells all of them when none does.
bool isTold(const QStringList &faults, const QString &pattern)
{
    const bool isOne = faults.indexOf(QRegularExpression("^" + pattern + "$")) >= 0;
    if (!isOne)
        qWarning("told was: %s", qPrintable(faults.join("; ")));
    return isOne;
}

} // namespace

Q_DECLARE_METATYPE(Plant)

/// That the gate tells each fault that it is there for, with the field, the text, what it needs and what it
/// has.
class TestLegibilityFaults : public QObject
{
    Q_OBJECT

    /// What the gate finds on the page with the list, on the one with the table, and in the question.
    static QStringList faultsOfTheList(const Plant &plant);
    static QStringList faultsOfTheTable(const Plant &plant);
    static QStringList faultsOfTheQuestion(const Plant &plant);

private slots:
    void withoutAFaultNothingIsTold();
    void faultOfTheListIsTold_data();
    void faultOfTheListIsTold();
    void faultOfTheTableIsTold_data();
    void faultOfTheTableIsTold();
    void faultOfTheQuestionIsTold_data();
    void faultOfTheQuestionIsTold();
    void faultOfATranslationIsTold_data();
    void faultOfATranslationIsTold();
    void fieldThatHasGrownIsTold();
};

QStringList TestLegibilityFaults::faultsOfTheList(const Plant &plant)
{
    const InLanguage english("en");
    TestWindow window;
    window.operationModel = new QStandardItemModel(&window.widget);
    window.operationModel->appendRow(new QStandardItem("Update application"));
    window.child<QListView>("operationList")->setModel(window.operationModel);
    window.show();
    plant(window);
    QCoreApplication::processEvents();
    return faultsOf(window.widget);
}

QStringList TestLegibilityFaults::faultsOfTheTable(const Plant &plant)
{
    const InLanguage english("en");
    const DebugLines unheard;
    TestWindow window;
    window.child<QWidget>("widget")->hide();
    window.runList = {{"Update application", "true", true, 2}, {"Clear logs", "true", false, 0}};
    window.widget.slotsStateChange("Clear logs");
    window.show();
    plant(window);
    QCoreApplication::processEvents();
    return faultsOf(window.widget);
}

QStringList TestLegibilityFaults::faultsOfTheQuestion(const Plant &plant)
{
    const InLanguage english("en");
    QStringList faults;
    TestWindow window;
    window.show();
    Questions questions([&](QMessageBox &box) {
        plant(window);
        QCoreApplication::processEvents();
        faults = faultsOf(box);
        box.reject();
    });
    window.tap("cancelPb");
    return faults;
}

void TestLegibilityFaults::withoutAFaultNothingIsTold()
{
    const Plant nothing = [](TestWindow &) {};
    QCOMPARE(faultsOfTheList(nothing), QStringList());
    QCOMPARE(faultsOfTheTable(nothing), QStringList());
    QCOMPARE(faultsOfTheQuestion(nothing), QStringList());
}

void TestLegibilityFaults::faultOfTheListIsTold_data()
{
    QTest::addColumn<Plant>("plant");
    QTest::addColumn<QString>("told");
    QTest::newRow("text too long") << Plant([](TestWindow &window) {
        window.child<QLabel>("label_3")->setText(
            "Please select all of the operations that you want in the list to have them executed");
    }) << "instruction: \"Please .*\" needs \\d+ x \\d+ pixels, has 625 x 45 pixels";
    QTest::newRow("text too high") << Plant([](TestWindow &window) {
        window.child<QLabel>("timeout")->setText("05:00\n05:00\n05:00\n05:00");
    }) << "countdown: \".*\" needs \\d+ x \\d+ pixels, has 60 x 45 pixels";
    QTest::newRow("caption of a button too long") << Plant([](TestWindow &window) {
        window.child<QPushButton>("confirmPb")->setText("Confirm them all");
    }) << "button Confirm: \".*\" needs 1\\d\\d x .*, has 121 x 41 pixels";
    QTest::newRow("entry too long") << Plant([](TestWindow &window) {
        window.operationModel->item(0)->setText(QString("Update application ").repeated(3));
    }) << "left list: \"Update .*\" needs \\d+ x \\d+ pixels, has 356 x 35 pixels";
    QTest::newRow("character without a glyph") << Plant([](TestWindow &window) {
        window.child<QLabel>("label_2")->setText("Operations \u0e01");
    }) << "caption of the left list: \"Operations .\" needs a glyph for . \\(U\\+0e01\\), no font of the tool has one";
    QTest::newRow("colour too light") << Plant([](TestWindow &window) {
        window.child<QLabel>("label_3")->setStyleSheet("font-size:18pt; color:lightgray;");
    }) << "instruction: \"Please .*\" needs a contrast of 4.5 : 1, has 1\\.\\d\\d : 1";
    QTest::newRow("entry's colour too light") << Plant([](TestWindow &window) {
        window.operationModel->item(0)->setForeground(QColor(119, 136, 153));
    }) << "left list: \"Update application\" needs a contrast of 4.5 : 1, has 3\\.\\d\\d : 1";
    QTest::newRow("invisible") << Plant([](TestWindow &window) {
        window.child<QLabel>("label_3")->setStyleSheet("font-size:18pt; color:transparent;");
    }) << "instruction: \"Please .*\" needs \\d+ x \\d+ pixels for its letters, 0 x 0 pixels are to be seen";
    QTest::newRow("half covered") << Plant([](TestWindow &window) {
        auto *cover = new QPushButton(window.child<QLabel>("label_3")->parentWidget());
        cover->setGeometry(400, 5, 230, 45);
        cover->show();
    }) << "instruction: \"Please .*\" needs \\d+ x \\d+ pixels for its letters, \\d+ x \\d+ pixels are to be seen";
    QTest::newRow("two in one place")
        << Plant([](TestWindow &window) { window.child<QLabel>("label_5")->move(200, 5); })
        << "instruction: \"Please .*\" and remaining: \"Remaining:\" share \\d+ x \\d+ pixels";
    QTest::newRow("mnemonic that nobody can use")
        << Plant([](TestWindow &window) { window.child<QPushButton>("confirmPb")->setText("&Confirm"); })
        << "\"&Confirm\" needs no mnemonic, has one";
    QTest::newRow("beyond the window")
        << Plant([](TestWindow &window) { window.child<QLabel>("label_5")->move(735, 470); })
        << "label_5 reaches beyond its window";
}

void TestLegibilityFaults::faultOfTheListIsTold()
{
    QFETCH(const Plant, plant);
    QFETCH(const QString, told);
    QVERIFY(isTold(faultsOfTheList(plant), told));
}

void TestLegibilityFaults::faultOfTheTableIsTold_data()
{
    QTest::addColumn<Plant>("plant");
    QTest::addColumn<QString>("told");
    QTest::newRow("shortened in its column")
        << Plant([](TestWindow &window) { window.tableModel->item(1, 1)->setText("Not-yet-executed-here"); })
        << "status column: \"Not-yet-executed-here\" needs \\d+ x \\d+ pixels, has 149 x \\d+ pixels";
    QTest::newRow("wrapped in its column") << Plant([](TestWindow &window) {
        window.tableModel->item(0, 0)->setText("Update application and data");
    }) << "name column: \"Update .*\" needs \\d+ x \\d+ pixels, has 199 x \\d+ pixels";
    QTest::newRow("heading too long") << Plant([](TestWindow &window) {
        window.tableModel->setHeaderData(2, Qt::Horizontal, "Did it succeed or not?");
    }) << "heading of the outcome column: \"Did .*\" needs \\d+ x \\d+ pixels, has 150 x \\d+ pixels";
    QTest::newRow("announcement too long") << Plant([](TestWindow &window) {
        window.child<QLabel>("information")
            ->setText("Executing：Update the application and then all of its data");
    }) << "information line: \"Executing.*\" needs \\d+ x \\d+ pixels, has 661 x 61 pixels";
    QTest::newRow("in another font than is measured")
        << Plant([](TestWindow &window) { window.tableModel->item(0, 0)->setFont(QFont("Arial", 12)); })
        << "name column: \"Update application\" needs \\d+ x \\d+ pixels for its letters, .* are to be seen";
    QTest::newRow("colour too light")
        << Plant([](TestWindow &window) { window.tableModel->item(0, 1)->setForeground(Qt::lightGray); })
        << "status column: \"Completed\" needs a contrast of 4.5 : 1, has 1\\.\\d\\d : 1";
}

void TestLegibilityFaults::faultOfTheTableIsTold()
{
    QFETCH(const Plant, plant);
    QFETCH(const QString, told);
    QVERIFY(isTold(faultsOfTheTable(plant), told));
}

void TestLegibilityFaults::faultOfTheQuestionIsTold_data()
{
    QTest::addColumn<Plant>("plant");
    QTest::addColumn<QString>("told");
    QTest::newRow("line too long") << Plant([](TestWindow &window) {
        window.msgBox->setText("Are you really sure that you want to abort now?");
    }) << "question: \"Are .*\" needs \\d+ x \\d+ pixels, has \\d+ x \\d+ pixels";
    QTest::newRow("box larger than the screen")
        << Plant([](TestWindow &window) { window.msgBox->setText(QString("Are you sure?\n").repeated(25)); })
        << "the window needs \\d+ x \\d+ pixels, the screen has 800 x 480 pixels";
    QTest::newRow("answer without a mnemonic")
        << Plant([](TestWindow &window) { window.msgBox->button(QMessageBox::Yes)->setText("Yes"); })
        << "\"Yes\" needs a mnemonic, has none";
    QTest::newRow("answers with the same mnemonic")
        << Plant([](TestWindow &window) { window.msgBox->button(QMessageBox::No)->setText("Not &yet"); })
        << "\"Not &yet\" has the mnemonic of another button";
    QTest::newRow("colour too light") << Plant([](TestWindow &window) {
        window.msgBox->button(QMessageBox::No)->setStyleSheet("color: gray;");
    }) << "button No: \"No\" needs a contrast of 4.5 : 1, has \\d\\.\\d\\d : 1";
}

void TestLegibilityFaults::faultOfTheQuestionIsTold()
{
    QFETCH(const Plant, plant);
    QFETCH(const QString, told);
    QVERIFY(isTold(faultsOfTheQuestion(plant), told));
}

void TestLegibilityFaults::faultOfATranslationIsTold_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("translation");
    QTest::addColumn<QString>("told");
    QTest::newRow("outcome too long")
        << QByteArray("Failed") << "Did not succeed at all"
        << "en, status page: outcome column: \"Did not succeed at all\" needs \\d+ x .*, has 149 x .*";
    QTest::newRow("heading too long")
        << QByteArray("Succeed?") << "Did it succeed or not?"
        << "en, status page: heading of the outcome column: .* needs .*, has 150 x .*";
    QTest::newRow("request too long")
        << QByteArray("Operation completed，please unplug SD card！")
        << "The operation is completed，please unplug the SD card！"
        << "en, request to unplug: information line: \"The .*\" needs \\d+ x .*, has 661 x 61 pixels";
    QTest::newRow("question too long")
        << QByteArray("Are you sure to abort?") << "Are you really sure that you want to abort?"
        << "en, question to abort: question: \"Are .*\" needs \\d+ x .*, has \\d+ x \\d+ pixels";
    QTest::newRow("no glyph") << QByteArray("Cancel") << "\u0e22\u0e01"
                              << "en, list: button Cancel: .* needs a glyph for . \\(U\\+0e22\\), no font .*";
    QTest::newRow("mnemonic twice") << QByteArray("&No") << "No &Y"
                                    << "en, question to abort: \"No &Y\" has the mnemonic of another button";
}

void TestLegibilityFaults::faultOfATranslationIsTold()
{
    QFETCH(const QByteArray, source);
    QFETCH(const QString, translation);
    QFETCH(const QString, told);
    const InLanguage english("en");
    const PlantedTranslation planted(source, translation);
    QVERIFY(isTold(faultsOfTheTour(), told));
}

/// It fits, because the layout has given it the room of the list beside it.
void TestLegibilityFaults::fieldThatHasGrownIsTold()
{
    const InLanguage english("en");
    const QVector<Screen> before = everyScreen();
    const PlantedTranslation planted("Operations list",
                                     "List of the operations that this medium offers to you");
    const QVector<Screen> after = everyScreen();
    QCOMPARE(cutTexts(after.first().texts), QStringList());
    const QStringList faults = movedFields(after.first(), before.first());
    QVERIFY(isTold(
        faults,
        "caption of the left list: \"List .*\" has 4\\d\\d x 41 pixels, its field is 3\\d\\d x 41 pixels"));
    QVERIFY(isTold(faults,
                   "left list: \"Update application\" has \\d+ x 35 pixels, its field is \\d+ x 35 pixels"));
    QCOMPARE(movedFields(before.first(), before.first()), QStringList());
}

SHIPPED_TEST_MAIN(TestLegibilityFaults)
#include "tst_legibility_faults.moc"
