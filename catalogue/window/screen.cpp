// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/screen.h"

#include "window/isolatedwindow.h"

#include <QFontMetrics>
#include <QListView>
#include <QScrollBar>
#include <QTableView>

namespace
{

constexpr int nameColumn = 0;
constexpr int detailsColumn = 3;
constexpr int gridLine = 1;
constexpr int amplePadding = 16;    // more than any view leaves around a text
constexpr int latinLetters = 0x100; // none of which changes the form of another
constexpr int unknown = -1;

} // namespace

Screen::Screen()
    : window(new IsolatedWindow)
{
    Widget &widget = window->widget();
    auto *listView = widget.findChild<QListView *>("operationList");
    auto *model = new QStandardItemModel(1, 1, &widget);
    model->setItem(0, new QStandardItem("A"));
    listView->setModel(model);
    window->runList().append({QString(), QString(), false, 0});
    window->tapDetails();
    widget.show();

    scrollBarWidth = listView->verticalScrollBar()->sizeHint().width();
    visibleRows = listView->viewport()->height() / listView->sizeHintForRow(0);
    list = cellOf(listView, model->index(0, 0), listView->viewport()->width());
    auto *table = widget.findChild<QTableView *>("tableView");
    name = cellOf(table, table->model()->index(0, nameColumn), table->columnWidth(nameColumn) - gridLine);
    details =
        cellOf(table, table->model()->index(0, detailsColumn), table->columnWidth(detailsColumn) - gridLine);
}

Screen::~Screen() = default;

Screen::Cell Screen::cellOf(QAbstractItemView *view, const QModelIndex &index, int width)
{
    Cell cell{view, index, width, QVector<int>(latinLetters, unknown)};
    return cell;
}

bool Screen::fitsList(const QString &text, bool withScrollBar) const
{
    return fits(list, text, withScrollBar ? list.width - scrollBarWidth : list.width);
}

bool Screen::fitsTable(const QString &text) const
{
    return fits(name, text, name.width);
}

bool Screen::fitsDetails(const QString &command) const
{
    return fits(details, command, details.width);
}

int Screen::advanceOf(const Cell &cell, QChar character)
{
    const ushort code = character.unicode();
    const bool isInvisible = (code >= 0x7f && code < 0xa0) || code == 0xad;
    if (code >= latinLetters || isInvisible)
        return cell.width;
    int &advance = cell.advances[code];
    if (advance == unknown) {
        const QFontMetrics metrics = cell.view->fontMetrics();
        advance = metrics.boundingRect('A' + QString(character) + 'A').width()
                  - metrics.boundingRect("AA").width() + 1;
    }
    return advance;
}

bool Screen::fits(const Cell &cell, const QString &text, int width)
{
    int atMost = amplePadding;
    for (const QChar character : text) {
        atMost += advanceOf(cell, character);
        if (atMost > width)
            break;
    }
    if (atMost <= width)
        return true;
    cell.view->model()->setData(cell.index, text);
    return cell.view->sizeHintForIndex(cell.index).width() <= width;
}
