// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/files.h"
#include "support/questions.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QFile>
#include <QLabel>
#include <QListView>
#include <QRegularExpression>
#include <QTableView>
#include <QTranslator>
#include <QXmlStreamReader>

#include <functional>

namespace
{

/// What the catalogue says, which nobody translates.
const QStringList catalogueTexts{"operation 1", "operation 2", "command 1", "command 2", "sync", "reboot"};

/// The translations of a .ts file.
QStringList translationsIn(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QStringList translations;
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement
            && reader.name() == QLatin1String("translation"))
            translations << reader.readElementText();
    }
    return translations;
}

/// What a view has to show: its cells, and a table's headings, which the form hides.
QStringList textsOf(const QAbstractItemView *view)
{
    QStringList texts;
    const QAbstractItemModel *model = view->model();
    for (int column = 0; model && column < model->columnCount(); ++column) {
        if (qobject_cast<const QTableView *>(view))
            texts << model->headerData(column, Qt::Horizontal).toString();
        for (int row = 0; row < model->rowCount(); ++row)
            texts << model->index(row, column).data().toString();
    }
    return texts;
}

/// Every text that a widget and those in it show or could show, by whatever property.
QStringList textsOf(QWidget *top)
{
    QStringList texts;
    for (const QWidget *widget : QList<QWidget *>{top} + top->findChildren<QWidget *>()) {
        for (const char *property : {"text", "title", "windowTitle", "placeholderText", "toolTip",
                                     "statusTip", "whatsThis", "accessibleName", "accessibleDescription"})
            texts << widget->property(property).toString();
        if (const auto *view = qobject_cast<const QAbstractItemView *>(widget))
            texts << textsOf(view);
    }
    texts.removeAll(QString());
    return texts;
}

/// Whether a text consists of one translation of the pseudo-language a line, or is the catalogue's or the
/// clock's. What is announced is followed by the name of an operation, as its comment tells translators.
bool isTranslated(const QString &text, const QString &announcement)
{
    static const QRegularExpression translated("&?\\[[^\\[\\]]*\\] ?");
    static const QRegularExpression glued("\\][^\n]*\\[");
    static const QRegularExpression clock("^\\d\\d:\\d\\d$");
    QString rest = text.startsWith(announcement) ? text.mid(announcement.size()) : text;
    if (glued.match(rest).hasMatch())
        return false;
    rest = rest.remove(translated).trimmed();
    return rest.isEmpty() || catalogueTexts.contains(rest) || clock.match(rest).hasMatch();
}

/// Puts a text somewhere into a window.
using Plant = std::function<void(TestWindow &, const QString &)>;

} // namespace

Q_DECLARE_METATYPE(Plant)

/// Whether an operator who reads a translation reads nothing else.
class TestWidgetLanguages : public QObject
{
    Q_OBJECT

    QTemporaryDir directory;
    QTranslator translator;
    QString announcement;

    /// Goes through all screens, and calls `look` at each, the question in front where one is asked.
    void goThroughAllScreens(TestWindow &window, const std::function<void()> &look);
    /// What is wrong on the screen that the window shows, and in its question.
    QStringList untranslated(const TestWindow &window) const;

private slots:
    void init();
    void cleanup();

    void everyTextOnEveryScreenIsTranslated();
    void everyTranslationIsOnAScreen();
    void everythingElseIsFound_data();
    void everythingElseIsFound();

    void eachLanguageIsTaken_data();
    void eachLanguageIsTaken();
};

void TestWidgetLanguages::init()
{
    QVERIFY(translator.load(ZUL_PSEUDO_LANGUAGE));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    announcement = Widget::tr("Executing：");
}

void TestWidgetLanguages::cleanup()
{
    QCoreApplication::removeTranslator(&translator);
}

QStringList TestWidgetLanguages::untranslated(const TestWindow &window) const
{
    QStringList found;
    for (const QString &text : textsOf(&window.widget) + textsOf(window.msgBox)) {
        if (!isTranslated(text, announcement))
            found << text;
    }
    return found;
}

void TestWidgetLanguages::goThroughAllScreens(TestWindow &window, const std::function<void()> &look)
{
    const QString path = directory.filePath("system.ini");
    writeCatalogue(path, "[system]\nCMD_List=\"a,b\"\n"
                         "[CMD]\na=operation 1@command 1\nb=operation 2@command 2\n");
    window.widget.check_CMD(path);
    window.show();
    look();
    window.tick();
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    look();

    bool isAgreed = false;
    const Questions questions([&](QMessageBox &box) {
        look();
        box.button(isAgreed ? QMessageBox::Yes : QMessageBox::No)->click();
    });
    window.tap("cancelPb");
    window.tap("confirmPb");
    isAgreed = true;
    window.tap("confirmPb");
    QCOMPARE(questions.asked().size(), 3);
    QCOMPARE(window.runList.size(), 4);

    window.runList[0].state = 2; // has failed
    window.runList[1].state = 2;
    window.runList[1].succeed = true;
    window.runList[2].state = 1; // the fourth one has still to come
    for (const _system_CMD &record : qAsConst(window.runList)) {
        window.widget.slotsStateChange(record.name);
        look();
        window.tap("pushButton"); // the details, shown and hidden by turns
        look();
    }
    window.widget.slotsStateChange("");
    look();
    for (window.mediaType = 0; window.mediaType < 3; ++window.mediaType) {
        window.widget.slotsState_end();
        look();
    }
}

// --- The pseudo-language
// ------------------------------------------------------------------------------------

void TestWidgetLanguages::everyTextOnEveryScreenIsTranslated()
{
    TestWindow window;
    int screens = 0;
    QStringList found;
    goThroughAllScreens(window, [&] {
        ++screens;
        found << untranslated(window);
    });
    QVERIFY2(found.isEmpty(), qPrintable(found.join("\n")));
    QCOMPARE(screens, 17);
}

void TestWidgetLanguages::everyTranslationIsOnAScreen()
{
    TestWindow window;
    QString seen;
    goThroughAllScreens(window,
                        [&] { seen += (textsOf(&window.widget) + textsOf(window.msgBox)).join('\n'); });
    for (const QString &translation : translationsIn(ZUL_PSEUDO_TEXTS))
        QVERIFY2(seen.contains(translation), qPrintable(translation));
}

void TestWidgetLanguages::everythingElseIsFound_data()
{
    QTest::addColumn<Plant>("plant");
    QTest::addColumn<QString>("text");
    const auto onLabel = [](TestWindow &window, const QString &text) {
        window.child<QLabel>("label_3")->setText(text);
    };
    QTest::newRow("text of a label") << Plant(onLabel) << "Please select";
    QTest::newRow("text behind a translation") << Plant(onLabel) << Widget::tr("Name") + " and more";
    QTest::newRow("text before a translation") << Plant(onLabel) << "more: " + Widget::tr("Name");
    QTest::newRow("translations glued together")
        << Plant(onLabel) << Widget::tr("Name") + Widget::tr("Status");
    QTest::newRow("translations on a line")
        << Plant(onLabel) << Widget::tr("Name") + " " + Widget::tr("Status");
    QTest::newRow("translation that is cut off") << Plant(onLabel) << Widget::tr("Name").section(']', 0, 0);
    QTest::newRow("caption of a button") << Plant([](TestWindow &window, const QString &text) {
        window.child<QAbstractButton>("confirmPb")->setText(text);
    }) << "Confirm";
    QTest::newRow("caption of the question's button") << Plant([](TestWindow &window, const QString &text) {
        window.msgBox->button(QMessageBox::Yes)->setText(text);
    }) << "&Yes";
    QTest::newRow("question") << Plant([](TestWindow &window, const QString &text) {
        window.msgBox->setText(text);
    }) << QString("\n %1 \n will be executed. \n").arg(Widget::tr("Selected operations"));
    QTest::newRow("title of the window")
        << Plant([](TestWindow &window, const QString &text) { window.widget.setWindowTitle(text); })
        << "Widget";
    QTest::newRow("title of the question")
        << Plant([](TestWindow &window, const QString &text) { window.msgBox->setWindowTitle(text); })
        << "Attention";
    QTest::newRow("heading of the table") << Plant([](TestWindow &window, const QString &text) {
        window.tableModel->setHeaderData(2, Qt::Horizontal, text);
    }) << "Succeed?";
    QTest::newRow("cell of the table") << Plant([](TestWindow &window, const QString &text) {
        window.tableModel->setItem(0, 1, new QStandardItem(text));
    }) << "Completed";
    QTest::newRow("entry of a list") << Plant([](TestWindow &window, const QString &text) {
        window.operationModel->appendRow(new QStandardItem(text));
    }) << "Save data";
    QTest::newRow("tip") << Plant([](TestWindow &window, const QString &text) {
        window.child<QAbstractButton>("pushButton")->setToolTip(text);
    }) << "Shows the commands";
}

void TestWidgetLanguages::everythingElseIsFound()
{
    QFETCH(const Plant, plant);
    QFETCH(const QString, text);
    TestWindow window;
    goThroughAllScreens(window, [] {});
    QCOMPARE(untranslated(window), QStringList());
    plant(window, text);
    const QStringList found = untranslated(window);
    QVERIFY(!found.isEmpty());
    for (const QString &one : found)
        QCOMPARE(one, text);
}

// --- The languages
// ------------------------------------------------------------------------------------------

void TestWidgetLanguages::eachLanguageIsTaken_data()
{
    QTest::addColumn<QString>("language");
    for (const QString &language : QString(ZUL_LANGUAGES).split(','))
        QTest::newRow(qPrintable(language)) << language;
    QVERIFY(QString(ZUL_LANGUAGES).split(',').size() > 1);
}

void TestWidgetLanguages::eachLanguageIsTaken()
{
    QFETCH(const QString, language);
    QCoreApplication::removeTranslator(&translator);
    QVERIFY(translator.load(QString("%1/%2.qm").arg(ZUL_TRANSLATIONS, language)));
    QVERIFY(QCoreApplication::installTranslator(&translator));

    TestWindow window;
    QString seen;
    goThroughAllScreens(window,
                        [&] { seen += (textsOf(&window.widget) + textsOf(window.msgBox)).join('\n'); });
    const QStringList translations =
        translationsIn(QString("%1/%2.ts").arg(ZUL_TRANSLATION_SOURCES, language));
    QVERIFY(!translations.isEmpty());
    for (const QString &translation : translations)
        QVERIFY2(seen.contains(translation), qPrintable(translation));
    QVERIFY(!seen.contains("Please select"));
}

SANDBOXED_TEST_MAIN(TestWidgetLanguages)
#include "tst_widget_languages.moc"
