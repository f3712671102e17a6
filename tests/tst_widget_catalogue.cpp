// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/files.h"
#include "support/keysread.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QListView>
#include <QSettings>
#include <QTableView>
#include <QTextCodec>

namespace
{

const QByteArray example = "[system]\n"
                           "CMD_List=\"update,clean\"\n"
                           "ENDGAME=true\n"
                           "[CMD]\n"
                           "update=\"Update application@cp -f /mnt/upgrade/zul_install/app /opt/app\"\n"
                           "clean=Clear logs@rm -rf /var/log/app\n";

/// A catalogue that offers or runs item "a" alone, with this command line as it stands in the file.
QByteArray catalogueOfOne(const QByteArray &listKey, const QByteArray &line)
{
    return "[system]\n" + listKey + "=a\n[CMD]\na=" + line + "\n";
}

} // namespace

/// Reading the catalogue: which mode it asks for, and what becomes of each of its values.
class TestWidgetCatalogue : public QObject
{
    Q_OBJECT

    QTemporaryDir directory;
    void read(TestWindow &window, const QByteArray &content);

private slots:
    void exampleOffersItsOperations();
    void exampleFillsTheCommandMap();
    void exampleRunsAtOnceWithTheOtherKey();

    void choiceBindsReadOnlyLists();
    void choiceShowsCentredTextOnly();
    void choiceHandsNothingToTheWorker();
    void choiceWinsOverRunningAtOnce();
    void choiceShowsTheSelectionPageAgainAfterABatch();
    void choiceStartsTheCountdownOfOneSecondTicks();
    void secondCatalogueReusesModelsAndCountdown();
    void secondCatalogueDoublesTheTicks();
    void secondCatalogueReplacesTheFirst();

    void emptyItemIsSkippedWithALine();
    void emptyItemIsLookedUpInDirectModeOnly_data();
    void emptyItemIsLookedUpInDirectModeOnly();
    void emptyListValueGivesOneLineAndNoOperation();
    void itemsAreNotTrimmed();
    void itemWithoutCommandIsSkippedWithALine_data();
    void itemWithoutCommandIsSkippedWithALine();
    void equalNamesShowTwiceAndKeepTheLaterCommand();
    void unquotedCommaInTheListReadsAsEmpty();

    void endGameFollowsTheCatalogue_data();
    void endGameFollowsTheCatalogue();
    void endGameStaysWithoutTheKey_data();
    void endGameStaysWithoutTheKey();

    void commandLineIsSplitAtItsSeparators_data();
    void commandLineIsSplitAtItsSeparators();
    void textIsReencodedThroughTheLocalEncoding_data();
    void textIsReencodedThroughTheLocalEncoding();

    void runningAtOnceSwitchesToTheStatusPage();
    void runningAtOnceHandsTheRunListToTheWorker();
    void runningAtOnceShowsTheStatusTable();
    void runningAtOnceSkipsItemsWithoutCommandSilently();
    void runningAtOnceWithoutUsableItemStartsNothing();
    void runningAtOnceReplacesTheRunList();
    void runningAtOnceLeavesTheChoiceAlone();
    void runningAtOnceIgnoresEndGame();

    void catalogueWithoutAListIsUnrecognized_data();
    void catalogueWithoutAListIsUnrecognized();
    void unrecognizedCatalogueLeavesEverythingAsItWas();

    void stringIsReadFromItsKey_data();
    void stringIsReadFromItsKey();
    void stringIsWrittenUnderItsKey();
};

void TestWidgetCatalogue::read(TestWindow &window, const QByteArray &content)
{
    const QString path = directory.filePath("system.ini");
    writeCatalogue(path, content);
    window.widget.check_CMD(path);
}

// --- Selection mode ---------------------------------------------------------------------------------------

void TestWidgetCatalogue::exampleOffersItsOperations()
{
    TestWindow window;
    DebugLines log;
    read(window, example);
    QCOMPARE(columnTexts(window.operationModel), QStringList({"Update application", "Clear logs"}));
    QCOMPARE(columnTexts(window.selectedModel), QStringList());
    QCOMPARE(log.lines(), QStringList());
}

void TestWidgetCatalogue::exampleFillsTheCommandMap()
{
    TestWindow window;
    read(window, example);
    QCOMPARE(window.cmdMap.keys(), QStringList({"Clear logs", "Update application"}));
    const _system_CMD update = window.cmdMap.value("Update application");
    QCOMPARE(update.name, QString("Update application"));
    QCOMPARE(update.cmd, QString("cp -f /mnt/upgrade/zul_install/app /opt/app"));
    QCOMPARE(update.succeed, false);
    QCOMPARE(update.state, 0);
    QCOMPARE(window.cmdMap.value("Clear logs").cmd, QString("rm -rf /var/log/app"));
}

void TestWidgetCatalogue::exampleRunsAtOnceWithTheOtherKey()
{
    TestWindow window;
    read(window, QByteArray(example).replace("CMD_List", "CMD_Type"));
    QCOMPARE(namesOf(window.runList), QStringList({"Update application", "Clear logs"}));
    QCOMPARE(commandsOf(window.runList),
             QStringList({"cp -f /mnt/upgrade/zul_install/app /opt/app", "rm -rf /var/log/app"}));
    for (const _system_CMD &record : qAsConst(window.runList)) {
        QCOMPARE(record.succeed, false);
        QCOMPARE(record.state, 0);
    }
}

void TestWidgetCatalogue::choiceBindsReadOnlyLists()
{
    TestWindow window;
    read(window, example);
    const auto *operationList = window.child<QListView>("operationList");
    const auto *selectedList = window.child<QListView>("selectedList");
    QCOMPARE(operationList->model(), static_cast<QAbstractItemModel *>(window.operationModel));
    QCOMPARE(selectedList->model(), static_cast<QAbstractItemModel *>(window.selectedModel));
    QCOMPARE(operationList->editTriggers(),
             QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
    QCOMPARE(selectedList->editTriggers(),
             QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
    QCOMPARE(window.operationModel->parent(), static_cast<QObject *>(&window.widget));
    QCOMPARE(window.selectedModel->parent(), static_cast<QObject *>(&window.widget));
}

void TestWidgetCatalogue::choiceShowsCentredTextOnly()
{
    TestWindow window;
    read(window, example);
    const QStandardItem *item = window.operationModel->item(0);
    QCOMPARE(item->data(Qt::TextAlignmentRole).toInt(), static_cast<int>(Qt::AlignCenter));
    QVERIFY(!item->data(Qt::CheckStateRole).isValid());
    QVERIFY(!item->data(Qt::DecorationRole).isValid());
    QVERIFY(!item->data(Qt::UserRole).isValid());
}

void TestWidgetCatalogue::choiceHandsNothingToTheWorker()
{
    TestWindow window;
    read(window, example);
    QCOMPARE(window.runList.size(), 0);
    QCOMPARE(window.worker->suspended, true);
    QVERIFY(!window.worker->cmdList);
}

void TestWidgetCatalogue::choiceWinsOverRunningAtOnce()
{
    TestWindow window;
    read(window, "[system]\nCMD_Type=clean\nCMD_List=update\n[CMD]\nupdate=Update@up\nclean=Clean@cl\n");
    QCOMPARE(columnTexts(window.operationModel), QStringList({"Update"}));
    QCOMPARE(window.runList.size(), 0);
    QCOMPARE(window.worker->suspended, true);
}

void TestWidgetCatalogue::choiceShowsTheSelectionPageAgainAfterABatch()
{
    TestWindow window;
    window.show();
    read(window, catalogueOfOne("CMD_Type", "Clean@cl"));
    QVERIFY(!window.child<QWidget>("widget")->isVisible());
    read(window, example);
    QVERIFY(window.child<QWidget>("widget")->isVisible());
    // The list page is above the status page, also when both are shown.
    QCOMPARE(window.widget.childAt(400, 460)->window(), static_cast<QWidget *>(&window.widget));
    QVERIFY(window.child<QWidget>("widget")->isAncestorOf(window.widget.childAt(400, 200)));
}

void TestWidgetCatalogue::choiceStartsTheCountdownOfOneSecondTicks()
{
    TestWindow window;
    read(window, example);
    QVERIFY(window.rebootTimer);
    QVERIFY(window.rebootTimer->isActive());
    QVERIFY(!window.rebootTimer->isSingleShot());
    QCOMPARE(window.rebootTimer->interval(), 1000);
    QCOMPARE(window.rebootTimer->parent(), static_cast<QObject *>(&window.widget));
    window.tick();
    QVERIFY(!window.labelText("timeout").isEmpty());
}

void TestWidgetCatalogue::secondCatalogueReusesModelsAndCountdown()
{
    TestWindow window;
    read(window, example);
    const auto *operations = window.operationModel;
    const auto *selected = window.selectedModel;
    const auto *timer = window.rebootTimer;
    read(window, example);
    QCOMPARE(window.operationModel, operations);
    QCOMPARE(window.selectedModel, selected);
    QCOMPARE(window.rebootTimer, timer);
}

void TestWidgetCatalogue::secondCatalogueDoublesTheTicks()
{
    const auto seconds = [](const TestWindow &window) {
        const QStringList parts = window.labelText("timeout").split(':');
        return parts.at(0).toInt() * 60 + parts.at(1).toInt();
    };
    TestWindow window;
    read(window, example);
    window.tick();
    const int before = seconds(window);
    window.tick();
    QCOMPARE(seconds(window), before - 1);
    read(window, example);
    window.tick();
    QCOMPARE(seconds(window), before - 3);
}

void TestWidgetCatalogue::secondCatalogueReplacesTheFirst()
{
    TestWindow window;
    window.show();
    read(window, example);
    window.tapRow("operationList", 0);
    window.runList.append({"left", "over", true, 2});
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"Update application"}));

    read(window, catalogueOfOne("CMD_List", "Other@other"));

    QCOMPARE(columnTexts(window.operationModel), QStringList({"Other"}));
    QCOMPARE(columnTexts(window.selectedModel), QStringList());
    QCOMPARE(window.cmdMap.keys(), QStringList({"Other"}));
    QCOMPARE(window.runList.size(), 0);
}

// --- Odd lists --------------------------------------------------------------------------------------------

void TestWidgetCatalogue::emptyItemIsSkippedWithALine()
{
    TestWindow window;
    DebugLines log;
    read(window, "[system]\nCMD_List=\"a,,b\"\n[CMD]\na=A@one\nb=B@two\n");
    QCOMPARE(log.lines(), QStringList({"empty command name in the list"}));
    QCOMPARE(columnTexts(window.operationModel), QStringList({"A", "B"}));
}

void TestWidgetCatalogue::emptyItemIsLookedUpInDirectModeOnly_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QStringList>("keysRead");
    QTest::newRow("selection") << QByteArray("CMD_List")
                               << QStringList{"/system/CMD_List", "/CMD/a", "/CMD/b"};
    QTest::newRow("direct") << QByteArray("CMD_Type")
                            << QStringList{"/system/CMD_Type", "/CMD/a", "/CMD/", "/CMD/b"};
}

void TestWidgetCatalogue::emptyItemIsLookedUpInDirectModeOnly()
{
    QFETCH(const QByteArray, key);
    QFETCH(const QStringList, keysRead);
    TestWindow window;
    const KeysRead keys;
    read(window, "[system]\n" + key + "=\"a,,b\"\n[CMD]\na=A@run a\nb=B@run b\n");
    QCOMPARE(keys.list(), keysRead);
}

void TestWidgetCatalogue::emptyListValueGivesOneLineAndNoOperation()
{
    TestWindow window;
    DebugLines log;
    read(window, "[system]\nCMD_List=\n[CMD]\na=A@one\n");
    QCOMPARE(log.lines(), QStringList({"empty command name in the list"}));
    QVERIFY(window.operationModel);
    QCOMPARE(window.operationModel->rowCount(), 0);
    QVERIFY(window.cmdMap.isEmpty());
    QVERIFY(window.rebootTimer->isActive());
}

void TestWidgetCatalogue::itemsAreNotTrimmed()
{
    TestWindow window;
    DebugLines log;
    read(window, "[system]\nCMD_List=\"a, b, c\"\n[CMD]\na=A@one\nb=B@wrong\n%20b=Blank B@two\nc=C@wrong\n");
    QCOMPARE(columnTexts(window.operationModel), QStringList({"A", "Blank B"}));
    QCOMPARE(window.cmdMap.value("Blank B").cmd, QString("two"));
    QCOMPARE(log.lines(), QStringList({"empty command"}));
}

void TestWidgetCatalogue::itemWithoutCommandIsSkippedWithALine_data()
{
    QTest::addColumn<QByteArray>("lineOfB");
    QTest::newRow("key missing") << QByteArray();
    QTest::newRow("value empty") << QByteArray("b=\n");
    QTest::newRow("value with an unquoted comma") << QByteArray("b=B@echo one, two\n");
    QTest::newRow("key in another case") << QByteArray("B=B@two\n");
}

void TestWidgetCatalogue::itemWithoutCommandIsSkippedWithALine()
{
    QFETCH(const QByteArray, lineOfB);
    TestWindow window;
    DebugLines log;
    read(window, "[system]\nCMD_List=\"a,b,c\"\n[CMD]\na=A@one\n" + lineOfB + "c=C@three\n");
    QCOMPARE(log.lines(), QStringList({"empty command"}));
    QCOMPARE(columnTexts(window.operationModel), QStringList({"A", "C"}));
    QCOMPARE(window.cmdMap.keys(), QStringList({"A", "C"}));
}

void TestWidgetCatalogue::equalNamesShowTwiceAndKeepTheLaterCommand()
{
    TestWindow window;
    read(window, "[system]\nCMD_List=\"a,b\"\n[CMD]\na=Same@earlier\nb=Same@later\n");
    QCOMPARE(columnTexts(window.operationModel), QStringList({"Same", "Same"}));
    QCOMPARE(window.cmdMap.size(), 1);
    QCOMPARE(window.cmdMap.value("Same").cmd, QString("later"));
}

void TestWidgetCatalogue::unquotedCommaInTheListReadsAsEmpty()
{
    TestWindow window;
    DebugLines log;
    read(window, "[system]\nCMD_List=a,b\n[CMD]\na=A@one\nb=B@two\n");
    QCOMPARE(log.lines(), QStringList({"empty command name in the list"}));
    QCOMPARE(window.operationModel->rowCount(), 0);
}

// --- ENDGAME ----------------------------------------------------------------------------------------------

void TestWidgetCatalogue::endGameFollowsTheCatalogue_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("expected");
    QTest::newRow("true") << QByteArray("true") << true;
    QTest::newRow("false") << QByteArray("false") << false;
    QTest::newRow("False, any case") << QByteArray("False") << false;
    QTest::newRow("FALSE, any case") << QByteArray("FALSE") << false;
    QTest::newRow("1") << QByteArray("1") << true;
    QTest::newRow("0") << QByteArray("0") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("empty in quotes") << QByteArray("\"\"") << false;
    QTest::newRow("no counts as true") << QByteArray("no") << true;
    QTest::newRow("off counts as true") << QByteArray("off") << true;
}

void TestWidgetCatalogue::endGameFollowsTheCatalogue()
{
    QFETCH(const QByteArray, value);
    QFETCH(const bool, expected);
    TestWindow window;
    window.endGame = !expected;
    read(window, catalogueOfOne("ENDGAME=" + value + "\nCMD_List", "A@one"));
    QCOMPARE(window.endGame, expected);
}

void TestWidgetCatalogue::endGameStaysWithoutTheKey_data()
{
    QTest::addColumn<bool>("before");
    QTest::newRow("true from before") << true;
    QTest::newRow("false from before") << false;
}

void TestWidgetCatalogue::endGameStaysWithoutTheKey()
{
    QFETCH(const bool, before);
    TestWindow window;
    window.endGame = before;
    read(window, catalogueOfOne("CMD_List", "A@one"));
    QCOMPARE(window.endGame, before);
}

// --- Command lines ----------------------------------------------------------------------------------------

void TestWidgetCatalogue::commandLineIsSplitAtItsSeparators_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("command");
    QTest::newRow("one separator") << QByteArray("Name@run it") << "Name"
                                   << "run it";
    QTest::newRow("two separators") << QByteArray("Name@run@extra") << "Name"
                                    << "run";
    QTest::newRow("no separator") << QByteArray("NoSeparator") << "NoSeparator"
                                  << "";
    QTest::newRow("nothing after the separator") << QByteArray("Name@") << "Name"
                                                 << "";
    QTest::newRow("nothing before the separator") << QByteArray("@run") << ""
                                                  << "run";
    QTest::newRow("blanks around the separator stay") << QByteArray("Name @ run") << "Name "
                                                      << " run";
    QTest::newRow("comma in quotes") << QByteArray("\"One, two@run a,b\"") << "One, two"
                                     << "run a,b";
    QTest::newRow("semicolon in quotes") << QByteArray("\"Name@run a;b\"") << "Name"
                                         << "run a;b";
    QTest::newRow("semicolon without quotes begins a comment") << QByteArray("Name@run a;b") << "Name"
                                                               << "run a";
    QTest::newRow("zero byte ends the text") << QByteArray("Na\\0me@run") << "Na"
                                             << "";
    QTest::newRow("zero byte at the start leaves an empty record") << QByteArray("\\0Name@run") << ""
                                                                   << "";
}

void TestWidgetCatalogue::commandLineIsSplitAtItsSeparators()
{
    QFETCH(const QByteArray, line);
    QFETCH(const QString, name);
    QFETCH(const QString, command);
    TestWindow window;

    read(window, catalogueOfOne("CMD_List", line));
    QCOMPARE(columnTexts(window.operationModel), QStringList({name}));
    QCOMPARE(window.cmdMap.keys(), QStringList({name}));
    QCOMPARE(window.cmdMap.value(name).cmd, command);

    read(window, catalogueOfOne("CMD_Type", line));
    QCOMPARE(namesOf(window.runList), QStringList({name}));
    QCOMPARE(commandsOf(window.runList), QStringList({command}));
}

void TestWidgetCatalogue::textIsReencodedThroughTheLocalEncoding_data()
{
    QTest::addColumn<QByteArray>("localEncoding");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("name");
    const QByteArray raw = "\xe4\xb8\xad@run";
    const QByteArray escaped = "\\x4e2d@run";
    QTest::newRow("raw UTF-8 under UTF-8 shows byte by byte") << QByteArray("UTF-8") << raw << "ä¸\u00ad";
    QTest::newRow("escape under UTF-8 shows the character") << QByteArray("UTF-8") << escaped << "中";
    QTest::newRow("raw UTF-8 under one byte a character shows the character")
        << QByteArray("ISO-8859-1") << raw << "中";
    QTest::newRow("escape under one byte a character is lost") << QByteArray("ISO-8859-1") << escaped << "?";
}

void TestWidgetCatalogue::textIsReencodedThroughTheLocalEncoding()
{
    QFETCH(const QByteArray, localEncoding);
    QFETCH(const QByteArray, line);
    QFETCH(const QString, name);
    TestWindow window;

    QTextCodec::setCodecForLocale(QTextCodec::codecForName(localEncoding));
    read(window, catalogueOfOne("CMD_List", line));
    read(window, catalogueOfOne("CMD_Type", line));
    QTextCodec::setCodecForLocale(nullptr);

    QCOMPARE(columnTexts(window.operationModel), QStringList({name}));
    QCOMPARE(window.cmdMap.value(name).cmd, QString("run"));
    QCOMPARE(namesOf(window.runList), QStringList({name}));
}

// --- Direct mode ------------------------------------------------------------------------------------------

void TestWidgetCatalogue::runningAtOnceSwitchesToTheStatusPage()
{
    TestWindow window;
    window.show();
    read(window, catalogueOfOne("CMD_Type", "Clean@cl"));
    QVERIFY(!window.child<QWidget>("widget")->isVisible());
    QVERIFY(window.child<QWidget>("widget_2")->isVisible());
}

void TestWidgetCatalogue::runningAtOnceHandsTheRunListToTheWorker()
{
    TestWindow window;
    read(window, catalogueOfOne("CMD_Type", "Clean@cl"));
    QCOMPARE(window.worker->cmdList, &window.runList);
    QCOMPARE(window.worker->suspended, false);
    QCOMPARE(window.worker->running, false);
}

void TestWidgetCatalogue::runningAtOnceShowsTheStatusTable()
{
    TestWindow window;
    read(window, "[system]\nCMD_Type=\"a,b\"\n[CMD]\na=A@one\nb=B@two\n");
    QCOMPARE(window.child<QTableView>("tableView")->model(),
             static_cast<QAbstractItemModel *>(window.tableModel));
    QCOMPARE(columnTexts(window.tableModel), QStringList({"A", "B"}));
    QCOMPARE(columnTexts(window.tableModel, 1), QStringList({"Not executed", "Not executed"}));
}

void TestWidgetCatalogue::runningAtOnceSkipsItemsWithoutCommandSilently()
{
    TestWindow window;
    DebugLines log;
    read(window, "[system]\nCMD_Type=\"a,,missing,void,b\"\n[CMD]\nb=B@two\nvoid=\na=A@one\n");
    QCOMPARE(commandsOf(window.runList), QStringList({"one", "two"}));
    QCOMPARE(log.lines(), QStringList());
}

void TestWidgetCatalogue::runningAtOnceWithoutUsableItemStartsNothing()
{
    TestWindow window;
    DebugLines log;
    window.runList.append({"left", "over", true, 2});
    read(window, "[system]\nCMD_Type=\",missing\"\n[CMD]\na=A@one\n");
    QCOMPARE(window.runList.size(), 0);
    QVERIFY(!window.child<QWidget>("widget")->isHidden());
    QVERIFY(!window.worker->cmdList);
    QCOMPARE(window.worker->suspended, true);
    QCOMPARE(window.tableModel->columnCount(), 0);
    QCOMPARE(log.lines(), QStringList());
}

void TestWidgetCatalogue::runningAtOnceReplacesTheRunList()
{
    TestWindow window;
    window.runList.append({"left", "over", true, 2});
    read(window, catalogueOfOne("CMD_Type", "Clean@cl"));
    QCOMPARE(namesOf(window.runList), QStringList({"Clean"}));
}

void TestWidgetCatalogue::runningAtOnceLeavesTheChoiceAlone()
{
    TestWindow window;
    window.show();
    read(window, example);
    window.tapRow("operationList", 1);
    window.rebootTimer->start(123456);

    read(window, catalogueOfOne("ENDGAME=false\nCMD_Type", "Other@other"));

    QCOMPARE(window.cmdMap.keys(), QStringList({"Clear logs", "Update application"}));
    QCOMPARE(columnTexts(window.operationModel), QStringList({"Update application", "Clear logs"}));
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"Clear logs"}));
    QCOMPARE(window.rebootTimer->interval(), 123456);
}

void TestWidgetCatalogue::runningAtOnceIgnoresEndGame()
{
    TestWindow window;
    read(window, catalogueOfOne("ENDGAME=false\nCMD_Type", "Other@other"));
    QCOMPARE(window.endGame, true);
    QCOMPARE(commandsOf(window.runList), QStringList({"other"}));
    QVERIFY(!window.rebootTimer);
    QVERIFY(!window.operationModel);
}

// --- No catalogue at all ----------------------------------------------------------------------------------

void TestWidgetCatalogue::catalogueWithoutAListIsUnrecognized_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("commands only") << QByteArray("[CMD]\na=A@one\n");
    QTest::newRow("list outside its section") << QByteArray("CMD_List=a\n[CMD]\na=A@one\n");
    QTest::newRow("list in another case") << QByteArray("[system]\ncmd_list=a\n[CMD]\na=A@one\n");
    QTest::newRow("not a catalogue") << QByteArray("\x7f"
                                                   "ELF\x02\x01\x01\x00\x00",
                                                   9);
    QTest::newRow("nothing in it") << QByteArray("");
}

void TestWidgetCatalogue::catalogueWithoutAListIsUnrecognized()
{
    QFETCH(const QByteArray, content);
    TestWindow window;
    DebugLines log;
    read(window, content);
    QCOMPARE(log.lines(), QStringList({"unrecognized command line"}));
}

void TestWidgetCatalogue::unrecognizedCatalogueLeavesEverythingAsItWas()
{
    TestWindow window;
    window.show();
    read(window, example);
    window.tapRow("operationList", 0);
    window.runList.append({"left", "over", true, 2});
    window.child<QWidget>("widget")->hide();
    DebugLines log;

    window.widget.check_CMD(directory.filePath("missing.ini"));

    QCOMPARE(log.lines(), QStringList({"unrecognized command line"}));
    QCOMPARE(window.cmdMap.size(), 2);
    QCOMPARE(window.operationModel->rowCount(), 2);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"Update application"}));
    QCOMPARE(namesOf(window.runList), QStringList({"left"}));
    QVERIFY(window.child<QWidget>("widget")->isHidden());
    QVERIFY(!window.worker->cmdList);
}

// --- Single values ----------------------------------------------------------------------------------------

void TestWidgetCatalogue::stringIsReadFromItsKey_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected");
    QTest::newRow("text") << "/section/text"
                          << "some text";
    QTest::newRow("number") << "/section/number"
                            << "42";
    QTest::newRow("list") << "/section/list" << QString();
    QTest::newRow("missing key") << "/section/missing" << QString();
}

void TestWidgetCatalogue::stringIsReadFromItsKey()
{
    QFETCH(const QString, key);
    QFETCH(const QString, expected);
    TestWindow window;
    const QString path = directory.filePath("values.ini");
    writeCatalogue(path, "[section]\ntext=some text\nnumber=42\nlist=a,b\n");
    QSettings settings(path, QSettings::IniFormat);
    QString text = "from before";
    window.widget.get_string(&settings, key, &text);
    QCOMPARE(text, expected);
}

void TestWidgetCatalogue::stringIsWrittenUnderItsKey()
{
    TestWindow window;
    const QString path = directory.filePath("written.ini");
    QSettings settings(path, QSettings::IniFormat);
    QString text = "new text";
    window.widget.set_string(&settings, "/section/key", &text);
    settings.sync();
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("[section]\nkey=new text\n"));
}

SANDBOXED_TEST_MAIN(TestWidgetCatalogue)
#include "tst_widget_catalogue.moc"
