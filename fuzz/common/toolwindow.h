// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef TOOLWINDOW_H
#define TOOLWINDOW_H

#include "windowmembers.h"

#include <QStandardItemModel>

#include <memory>

/// A window of the tool's in a target's hand: its poll timer stands still, its worker's thread was never
/// started, and what it leaves behind by design goes with this. Only with zul_fuzz_outside.
class ToolWindow
{
public:
    ToolWindow();
    ~ToolWindow();
    ToolWindow(const ToolWindow &) = delete;
    ToolWindow &operator=(const ToolWindow &) = delete;

    Widget &widget()
    {
        return *owned;
    }

    /// One turn of the poll timer.
    void poll();
    /// The widget of the form with this object name.
    template <class T>
    T *child(const char *name) const
    {
        return owned->findChild<T *>(name);
    }

private:
    std::unique_ptr<Widget> owned;
    std::unique_ptr<QTimer> pollTimer;
    std::unique_ptr<QMessageBox> question;
    std::unique_ptr<myThread> worker;
};

/// The texts of a model's column, top to bottom; empty without a model.
QStringList textsOf(const QStandardItemModel *model, int column = 0);

/// Requires the status table to show these records, with the command lines when `details`.
void requireTable(Widget &window, const QVector<_system_CMD> &records, bool details);

/// Whether two records say the same.
bool sameRecord(const _system_CMD &one, const _system_CMD &other);

#endif
