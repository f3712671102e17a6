// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SCREEN_H
#define SCREEN_H

#include <QModelIndex>
#include <QString>
#include <QVector>

#include <memory>

class QAbstractItemView;
class IsolatedWindow;

/// The controller's screen, for measuring: a window of the tool's own.
class Screen
{
public:
    Screen();
    ~Screen();

    /// Rows of the operations list that can be seen at once.
    int listRows() const
    {
        return visibleRows;
    }
    /// Whether a name fits the operations list; its scroll bar takes space from it.
    bool fitsList(const QString &name, bool withScrollBar) const;
    /// Whether a name fits its column of the status table.
    bool fitsTable(const QString &name) const;
    /// Whether a command fits the details column.
    bool fitsDetails(const QString &command) const;

private:
    /// A place where a text stands.
    struct Cell {
        QAbstractItemView *view = nullptr;
        QModelIndex index;
        int width = 0;
        mutable QVector<int> advances; ///< of the letters measured so far, for a quick yes
    };

    static Cell cellOf(QAbstractItemView *view, const QModelIndex &index, int width);
    static int advanceOf(const Cell &cell, QChar character);
    static bool fits(const Cell &cell, const QString &text, int width);

    std::unique_ptr<IsolatedWindow> window;
    Cell list;
    Cell name;
    Cell details;
    int scrollBarWidth;
    int visibleRows;
};

#endif
