// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/files.h"
#include "support/markingtranslator.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QHeaderView>
#include <QListView>
#include <QScrollBar>
#include <QTableView>

/// The operator's taps on the two lists, and the status table.
class TestWidgetLists : public QObject
{
    Q_OBJECT

    QTemporaryDir directory;
    void offer(TestWindow &window, const QStringList &names);

private slots:
    void tappedOperationsAreCollectedInTappingOrder();
    void tappingAnOperationTwiceTakesItOutAgain();
    void tappingASelectedEntryRemovesIt();
    void tappingASelectedEntrySparesOneThatHoldsItsName();
    void removedOperationGoesToTheEndWhenTappedAgain();
    void equalNamesCanBeSelectedOnlyOnce();
    void namesAreMatchedExactly();
    void operationListIsNeverChangedByTaps();
    void selectedEntriesAreCentredTextOnly();
    void listsSelectAtMostOneRow();
    void logLinesQuoteTheNameAsItIs_data();
    void logLinesQuoteTheNameAsItIs();

    void firstTapMakesTheSelectionModel_data();
    void firstTapMakesTheSelectionModel();
    void tapOnAnEntryThatIsGoneChangesNothing();

    void tableHasThreeColumns();
    void tableHasTheCommandLinesWithDetails();
    void tableHeadersStayHidden();
    void tableIsReadOnly();
    void tableOfAnEmptyRunListHasNoRows();
    void tableShowsStateAndOutcome_data();
    void tableShowsStateAndOutcome();
    void tableShowsEveryRecordInOrderAndCentred();
    void tableIsRebuiltWhole();
    void tableTextsAreTranslated();
    void detailsButtonAddsAndRemovesTheCommandLines();
    void tableIsBuiltInTheOrderOfItsSteps();
    void tableIsTheSameAsOneBuiltCellByCell_data();
    void tableIsTheSameAsOneBuiltCellByCell();
    void rebuildKeepsTheRowsInSight_data();
    void rebuildKeepsTheRowsInSight();
    void rebuildOfAShorterTableShowsItsEnd();
    void newBatchBeginsAtTheTop();
};

void TestWidgetLists::offer(TestWindow &window, const QStringList &names)
{
    QStringList keys;
    QString commands = "[CMD]\n";
    for (const QString &name : names) {
        const QString key = QString("key%1").arg(keys.size());
        keys.append(key);
        commands += key + "=\"" + name + "@run " + key + "\"\n";
    }
    const QString path = directory.filePath("system.ini");
    writeCatalogue(path, "[system]\nCMD_List=\"" + keys.join(',').toUtf8() + "\"\n" + commands.toUtf8());
    window.widget.check_CMD(path);
    window.show();
    QCOMPARE(columnTexts(window.operationModel), names);
}

// --- The two lists ----------------------------------------------------------------------------------------

void TestWidgetLists::tappedOperationsAreCollectedInTappingOrder()
{
    TestWindow window;
    offer(window, {"A", "B", "C"});
    DebugLines log;
    window.tapRow("operationList", 2);
    window.tapRow("operationList", 0);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"C", "A"}));
    QCOMPARE(log.lines(),
             QStringList({"append item [C] to selected list", "append item [A] to selected list"}));
    QCOMPARE(window.child<QListView>("selectedList")->model(),
             static_cast<QAbstractItemModel *>(window.selectedModel));
}

void TestWidgetLists::tappingAnOperationTwiceTakesItOutAgain()
{
    TestWindow window;
    offer(window, {"A", "B"});
    DebugLines log;
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    window.tapRow("operationList", 0);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"B"}));
    QCOMPARE(log.lines(), QStringList({"append item [A] to selected list", "append item [B] to selected list",
                                       "remove item 0[A] in the selected list"}));
}

void TestWidgetLists::tappingASelectedEntryRemovesIt()
{
    TestWindow window;
    offer(window, {"A", "B", "C"});
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    window.tapRow("operationList", 2);
    DebugLines log;
    window.tapRow("selectedList", 1);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"A", "C"}));
    QCOMPARE(log.lines(), QStringList({"remove item 1[B] in the selected list"}));
}

void TestWidgetLists::tappingASelectedEntrySparesOneThatHoldsItsName()
{
    TestWindow window;
    offer(window, {"Update all", "Update"});
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    window.tapRow("selectedList", 1);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"Update all"}));
}

void TestWidgetLists::removedOperationGoesToTheEndWhenTappedAgain()
{
    TestWindow window;
    offer(window, {"A", "B"});
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    window.tapRow("selectedList", 0);
    window.tapRow("operationList", 0);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"B", "A"}));
}

void TestWidgetLists::equalNamesCanBeSelectedOnlyOnce()
{
    TestWindow window;
    offer(window, {"Same", "Other", "Same"});
    window.tapRow("operationList", 0);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"Same"}));
    window.tapRow("operationList", 2);
    QCOMPARE(columnTexts(window.selectedModel), QStringList());
}

void TestWidgetLists::namesAreMatchedExactly()
{
    TestWindow window;
    offer(window, {"Update", "update", "Update all", "Upd"});
    for (int row = 0; row < 4; ++row)
        window.tapRow("operationList", row);
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"Update", "update", "Update all", "Upd"}));
}

void TestWidgetLists::operationListIsNeverChangedByTaps()
{
    TestWindow window;
    offer(window, {"A", "B"});
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    window.tapRow("operationList", 0);
    window.tapRow("selectedList", 0);
    QCOMPARE(columnTexts(window.operationModel), QStringList({"A", "B"}));
}

void TestWidgetLists::selectedEntriesAreCentredTextOnly()
{
    TestWindow window;
    offer(window, {"A"});
    window.tapRow("operationList", 0);
    const QStandardItem *item = window.selectedModel->item(0);
    QCOMPARE(item->data(Qt::TextAlignmentRole).toInt(), static_cast<int>(Qt::AlignCenter));
    QVERIFY(!item->data(Qt::CheckStateRole).isValid());
    QVERIFY(!item->data(Qt::DecorationRole).isValid());
    QVERIFY(!item->data(Qt::UserRole).isValid());
}

void TestWidgetLists::listsSelectAtMostOneRow()
{
    TestWindow window;
    offer(window, {"A", "B"});
    const auto *list = window.child<QListView>("operationList");
    window.tapRow("operationList", 0);
    window.tapRow("operationList", 1);
    QCOMPARE(list->selectionModel()->selectedRows().size(), 1);
    QCOMPARE(list->selectionModel()->selectedRows().first().row(), 1);
}

void TestWidgetLists::logLinesQuoteTheNameAsItIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("with a placeholder in it") << "100%1 of %2";
    QTest::newRow("with brackets in it") << "A [beta]";
    QTest::newRow("with an apostrophe in it") << "operator's";
}

void TestWidgetLists::logLinesQuoteTheNameAsItIs()
{
    QFETCH(const QString, name);
    TestWindow window;
    offer(window, {name});
    DebugLines log;
    window.tapRow("operationList", 0);
    window.tapRow("selectedList", 0);
    QCOMPARE(log.lines(), QStringList({"append item [" + name + "] to selected list",
                                       "remove item 0[" + name + "] in the selected list"}));
}

void TestWidgetLists::firstTapMakesTheSelectionModel_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QString>("line");
    QTest::newRow("on the operation list")
        << QByteArray("on_operationList_clicked") << QStringList({"A"}) << "append item [A] to selected list";
    QTest::newRow("on the selected list")
        << QByteArray("on_selectedList_clicked") << QStringList() << "item [A] not in the selected list";
}

void TestWidgetLists::firstTapMakesTheSelectionModel()
{
    QFETCH(const QByteArray, slot);
    QFETCH(const QStringList, selected);
    QFETCH(const QString, line);
    TestWindow window;
    QStandardItemModel tapped;
    tapped.appendRow(new QStandardItem("A"));
    DebugLines log;

    QMetaObject::invokeMethod(&window.widget, slot.constData(), Q_ARG(QModelIndex, tapped.index(0, 0)));

    QVERIFY(window.selectedModel);
    QCOMPARE(window.selectedModel->parent(), static_cast<QObject *>(&window.widget));
    QCOMPARE(columnTexts(window.selectedModel), selected);
    QCOMPARE(log.lines(), QStringList({line}));
    QCOMPARE(window.child<QListView>("selectedList")->model(),
             static_cast<QAbstractItemModel *>(window.selectedModel));
}

void TestWidgetLists::tapOnAnEntryThatIsGoneChangesNothing()
{
    TestWindow window;
    offer(window, {"A", "B"});
    window.tapRow("operationList", 0);
    DebugLines log;
    QMetaObject::invokeMethod(&window.widget, "on_selectedList_clicked",
                              Q_ARG(QModelIndex, window.operationModel->index(1, 0)));
    QCOMPARE(log.lines(), QStringList({"item [B] not in the selected list"}));
    QCOMPARE(columnTexts(window.selectedModel), QStringList({"A"}));
}

// --- The status table -------------------------------------------------------------------------------------

namespace
{

QStringList headersOf(const QStandardItemModel *model)
{
    QStringList headers;
    for (int column = 0; column < model->columnCount(); ++column)
        headers.append(model->headerData(column, Qt::Horizontal).toString());
    return headers;
}

QList<int> widthsOf(const QTableView *view)
{
    QList<int> widths;
    for (int column = 0; column < view->model()->columnCount(); ++column)
        widths.append(view->columnWidth(column));
    return widths;
}

} // namespace

void TestWidgetLists::tableHasThreeColumns()
{
    TestWindow window;
    window.widget.createTabelview();
    QCOMPARE(headersOf(window.tableModel), QStringList({"Name", "Status", "Succeed?"}));
    QCOMPARE(widthsOf(window.child<QTableView>("tableView")), QList<int>({200, 150, 150}));
}

void TestWidgetLists::tableHasTheCommandLinesWithDetails()
{
    TestWindow window;
    window.runList = {{"A", "run a", false, 0}};
    window.showDetails = true;
    window.widget.createTabelview();
    QCOMPARE(headersOf(window.tableModel), QStringList({"Name", "Status", "Succeed?", "Operation"}));
    QCOMPARE(widthsOf(window.child<QTableView>("tableView")), QList<int>({200, 150, 150, 260}));
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"A", "Not executed", "", "run a"}));
}

void TestWidgetLists::tableHeadersStayHidden()
{
    TestWindow window;
    window.widget.createTabelview();
    QVERIFY(window.child<QTableView>("tableView")->horizontalHeader()->isHidden());
    QVERIFY(window.child<QTableView>("tableView")->verticalHeader()->isHidden());
}

void TestWidgetLists::tableIsReadOnly()
{
    TestWindow window;
    window.widget.createTabelview();
    const auto *view = window.child<QTableView>("tableView");
    QCOMPARE(view->model(), static_cast<QAbstractItemModel *>(window.tableModel));
    QCOMPARE(view->editTriggers(), QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
}

void TestWidgetLists::tableOfAnEmptyRunListHasNoRows()
{
    TestWindow window;
    window.widget.createTabelview();
    QCOMPARE(window.tableModel->rowCount(), 0);
    QCOMPARE(window.tableModel->columnCount(), 3);
}

void TestWidgetLists::tableShowsStateAndOutcome_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("succeed");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("not executed") << 0 << false << "Not executed"
                                  << "";
    QTest::newRow("not executed, with an outcome from before") << 0 << true << "Not executed"
                                                               << "";
    QTest::newRow("executing") << 1 << false << "Executing"
                               << "";
    QTest::newRow("completed with success") << 2 << true << "Completed"
                                            << "Succeed";
    QTest::newRow("completed without success") << 2 << false << "Completed"
                                               << "Failed";
}

void TestWidgetLists::tableShowsStateAndOutcome()
{
    QFETCH(const int, state);
    QFETCH(const bool, succeed);
    QFETCH(const QString, status);
    QFETCH(const QString, outcome);
    TestWindow window;
    window.runList = {{"A", "run a", succeed, state}};
    window.widget.createTabelview();
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"A", status, outcome}));
}

void TestWidgetLists::tableShowsEveryRecordInOrderAndCentred()
{
    TestWindow window;
    window.runList = {{"B", "b", true, 2}, {"A", "a", false, 1}, {"C", "c", false, 0}};
    window.showDetails = true;
    window.widget.createTabelview();
    QCOMPARE(columnTexts(window.tableModel), QStringList({"B", "A", "C"}));
    QCOMPARE(columnTexts(window.tableModel, 3), QStringList({"b", "a", "c"}));
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column)
            QCOMPARE(window.tableModel->index(row, column).data(Qt::TextAlignmentRole).toInt(),
                     static_cast<int>(Qt::AlignCenter));
    }
}

void TestWidgetLists::tableIsRebuiltWhole()
{
    TestWindow window;
    window.runList = {{"A", "a", false, 0}, {"B", "b", false, 0}};
    window.showDetails = true;
    window.widget.createTabelview();
    window.runList = {{"C", "c", true, 2}};
    window.showDetails = false;
    window.widget.createTabelview();
    QCOMPARE(window.tableModel->rowCount(), 1);
    QCOMPARE(headersOf(window.tableModel), QStringList({"Name", "Status", "Succeed?"}));
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"C", "Completed", "Succeed"}));
}

void TestWidgetLists::tableTextsAreTranslated()
{
    TestWindow window;
    const MarkingTranslator translator;
    window.runList = {{"A", "a", false, 0}, {"B", "b", false, 1}, {"C", "c", false, 2}, {"D", "d", true, 2}};
    window.showDetails = true;
    window.widget.createTabelview();
    QCOMPARE(headersOf(window.tableModel), QStringList({"<Name>", "<Status>", "<Succeed?>", "<Operation>"}));
    QCOMPARE(columnTexts(window.tableModel), QStringList({"A", "B", "C", "D"}));
    QCOMPARE(columnTexts(window.tableModel, 1),
             QStringList({"<Not executed>", "<Executing>", "<Completed>", "<Completed>"}));
    QCOMPARE(columnTexts(window.tableModel, 2), QStringList({"", "", "<Failed>", "<Succeed>"}));
    QCOMPARE(columnTexts(window.tableModel, 3), QStringList({"a", "b", "c", "d"}));
}

void TestWidgetLists::detailsButtonAddsAndRemovesTheCommandLines()
{
    TestWindow window;
    window.show();
    window.runList = {{"A", "run a", false, 0}};
    window.tap("pushButton");
    QCOMPARE(window.showDetails, true);
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"A", "Not executed", "", "run a"}));
    window.tap("pushButton");
    QCOMPARE(window.showDetails, false);
    QCOMPARE(rowTexts(window.tableModel, 0), QStringList({"A", "Not executed", ""}));
}

void TestWidgetLists::tableIsBuiltInTheOrderOfItsSteps()
{
    TestWindow window;
    window.runList = {{"A", "run a", false, 0}};
    window.showDetails = true;
    QStringList steps;
    connect(window.tableModel, &QAbstractItemModel::modelReset, [&] { steps.append("clear"); });
    connect(window.tableModel, &QAbstractItemModel::columnsInserted,
            [&] { steps.append(QString("%1 columns").arg(window.tableModel->columnCount())); });
    connect(window.tableModel, &QAbstractItemModel::headerDataChanged,
            [&](Qt::Orientation, int column) { steps.append(QString("header %1").arg(column)); });
    connect(window.tableModel, &QAbstractItemModel::rowsInserted,
            [&](const QModelIndex &, int row) { steps.append(QString("row %1").arg(row)); });
    connect(
        window.child<QTableView>("tableView")->horizontalHeader(), &QHeaderView::sectionResized,
        [&](int column, int, int width) { steps.append(QString("width %1: %2").arg(column).arg(width)); });

    window.widget.createTabelview();

    steps.removeAll("row 0"); // may come as the row is appended, and again as its cells are
    QCOMPARE(steps, QStringList({"clear", "4 columns", "header 3", "header 0", "header 1", "header 2",
                                 "width 0: 200", "width 1: 150", "width 2: 150", "width 3: 260"}));
}

namespace
{

/// What can be seen of a table, cell by cell.
QStringList appearanceOf(const QTableView *view)
{
    const QAbstractItemModel *model = view->model();
    QStringList cells;
    for (int row = -1; row < model->rowCount(); ++row) {
        for (int column = 0; column < model->columnCount(); ++column) {
            const QVariant text =
                row < 0 ? model->headerData(column, Qt::Horizontal) : model->index(row, column).data();
            const int alignment = row < 0 ? 0 : model->index(row, column).data(Qt::TextAlignmentRole).toInt();
            const QRect place = row < 0 ? QRect() : view->visualRect(model->index(row, column));
            cells.append(QString("%1,%2: %3, %4, %5 at %6,%7 size %8x%9")
                             .arg(row)
                             .arg(column)
                             .arg(text.toString())
                             .arg(alignment)
                             .arg(view->columnWidth(column))
                             .arg(place.x())
                             .arg(place.y())
                             .arg(place.width())
                             .arg(place.height()));
        }
        if (row >= 0)
            cells.append(model->headerData(row, Qt::Vertical).toString());
    }
    return cells;
}

QStandardItem *cell(const QString &text)
{
    auto *item = new QStandardItem(text);
    item->setTextAlignment(Qt::AlignCenter);
    return item;
}

/// The same table, built in the plainest way.
void buildCellByCell(QTableView *view, QStandardItemModel *model, const QVector<_system_CMD> &records,
                     bool details)
{
    const QStringList heads{"Name", "Status", "Succeed?", "Operation"};
    const QList<int> widths{200, 150, 150, 260};
    model->clear();
    model->setColumnCount(details ? 4 : 3);
    view->setModel(model);
    for (int column = 0; column < model->columnCount(); ++column) {
        model->setHeaderData(column, Qt::Horizontal, heads.at(column));
        view->setColumnWidth(column, widths.at(column));
    }
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int row = 0; row < records.size(); ++row) {
        const _system_CMD &record = records.at(row);
        const QStringList states{"Not executed", "Executing", "Completed"};
        model->setItem(row, 0, cell(record.name));
        model->setItem(row, 1, cell(states.at(record.state)));
        model->setItem(row, 2, cell(record.state < 2 ? "" : record.succeed ? "Succeed" : "Failed"));
        if (details)
            model->setItem(row, 3, cell(record.cmd));
    }
}

QVector<_system_CMD> records(int count)
{
    QVector<_system_CMD> list;
    for (int row = 0; row < count; ++row)
        list.append({QString("operation %1").arg(row), QString("run %1").arg(row), row % 2 == 0, row % 3});
    return list;
}

} // namespace

void TestWidgetLists::tableIsTheSameAsOneBuiltCellByCell_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("details");
    for (const int rows : {0, 1, 12, 13, 1000}) {
        for (const bool details : {false, true})
            QTest::addRow("%d rows%s", rows, details ? " with details" : "") << rows << details;
    }
}

void TestWidgetLists::tableIsTheSameAsOneBuiltCellByCell()
{
    QFETCH(const int, rows);
    QFETCH(const bool, details);
    TestWindow window;
    window.show();
    window.child<QWidget>("widget")->hide();
    auto *view = window.child<QTableView>("tableView");
    QStandardItemModel plain;
    // Not the first build, and something is selected.
    window.runList = records(5);
    window.widget.createTabelview();
    view->selectRow(2);
    window.runList = records(rows);
    window.showDetails = details;

    window.widget.createTabelview();
    QCoreApplication::processEvents();
    QVERIFY(!view->selectionModel()->hasSelection());
    QVERIFY(!view->currentIndex().isValid());
    QVERIFY(view->horizontalHeader()->isHidden());
    QVERIFY(view->verticalHeader()->isHidden());
    QCOMPARE(view->verticalHeader()->count(), rows);
    const QStringList appearance = appearanceOf(view);
    const QImage picture = view->grab().toImage();
    const int scrollRange = view->verticalScrollBar()->maximum();

    buildCellByCell(view, &plain, window.runList, details);
    QCoreApplication::processEvents();
    QCOMPARE(appearance, appearanceOf(view));
    QCOMPARE(picture, view->grab().toImage());
    QCOMPARE(scrollRange, view->verticalScrollBar()->maximum());
    view->setModel(nullptr);
}

namespace
{

/// The status page with so many rows on the screen.
const QTableView *showTable(TestWindow &window, int rows)
{
    window.show();
    window.child<QWidget>("widget")->hide();
    window.runList = records(rows);
    window.widget.createTabelview();
    QCoreApplication::processEvents();
    return window.child<QTableView>("tableView");
}

} // namespace

void TestWidgetLists::rebuildKeepsTheRowsInSight_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("the first") << 0;
    QTest::newRow("one in the middle") << 14;
    QTest::newRow("the last that can be at the top") << 1000;
}

void TestWidgetLists::rebuildKeepsTheRowsInSight()
{
    QFETCH(const int, row);
    TestWindow window;
    const auto *view = showTable(window, 40);
    view->verticalScrollBar()->setValue(row);
    const int firstInSight = view->rowAt(0);
    QVERIFY(firstInSight == row || firstInSight > 20);

    QMetaObject::invokeMethod(&window.widget, "slotsStateChange", Q_ARG(QString, "next"));
    QCOMPARE(view->rowAt(0), firstInSight);
    QCoreApplication::processEvents();
    QCOMPARE(view->rowAt(0), firstInSight);
    for (const int columns : {4, 3}) {
        window.tap("pushButton");
        QCoreApplication::processEvents();
        QCOMPARE(window.tableModel->columnCount(), columns);
        QCOMPARE(view->rowAt(0), firstInSight);
    }
}

void TestWidgetLists::rebuildOfAShorterTableShowsItsEnd()
{
    TestWindow window;
    const auto *view = showTable(window, 40);
    view->verticalScrollBar()->setValue(1000);

    window.runList.resize(20);
    window.widget.createTabelview();
    QCoreApplication::processEvents();

    QCOMPARE(view->verticalScrollBar()->value(), view->verticalScrollBar()->maximum());
    QVERIFY(view->visualRect(window.tableModel->index(19, 0)).isValid());
    QVERIFY(view->viewport()->rect().contains(view->visualRect(window.tableModel->index(19, 0)).center()));
    window.runList.resize(3);
    window.widget.createTabelview();
    QCoreApplication::processEvents();
    QCOMPARE(view->rowAt(0), 0);
}

void TestWidgetLists::newBatchBeginsAtTheTop()
{
    TestWindow window;
    QString keys;
    QByteArray lines;
    for (int row = 0; row < 40; ++row) {
        keys += (row ? "," : "") + QString("k%1").arg(row);
        lines += "k" + QByteArray::number(row) + "=Operation " + QByteArray::number(row) + "@true\n";
    }
    const QString path = directory.filePath("long.ini");
    writeCatalogue(path, "[system]\nCMD_Type=\"" + keys.toUtf8() + "\"\n[CMD]\n" + lines);
    window.show();
    window.widget.check_CMD(path);
    const auto *view = window.child<QTableView>("tableView");
    QCoreApplication::processEvents();
    view->verticalScrollBar()->setValue(14);
    QCOMPARE(view->rowAt(0), 14);

    window.widget.check_CMD(path);
    QCoreApplication::processEvents();

    QCOMPARE(window.tableModel->rowCount(), 40);
    QCOMPARE(view->rowAt(0), 0);
}

SANDBOXED_TEST_MAIN(TestWidgetLists)
#include "tst_widget_lists.moc"
