// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef ISOLATEDWINDOW_H
#define ISOLATEDWINDOW_H

#include "window/isolation.h"

#include "widget.h"

#include <QSize>

#include <memory>

/// A window of the tool that reaches nothing of this computer, and the finger of its operator: nothing polls,
/// counts down or runs by itself. Needs a QApplication; ends the program where the isolation does not hold.
class IsolatedWindow
{
public:
    IsolatedWindow();
    ~IsolatedWindow();
    Q_DISABLE_COPY(IsolatedWindow)

    Widget &widget()
    {
        return *window;
    }

    /// Lets it read a catalogue; once only.
    void read(const QString &path);
    /// The operations that it offers; null when it offers no choice.
    const QStandardItemModel *operations() const;
    /// What it has by this name, of its last catalogue.
    _system_CMD command(const QString &name) const;
    bool endGame() const;
    /// What the batch runs; empty as long as there is none.
    const QVector<_system_CMD> &runList() const;
    QVector<_system_CMD> &runList();
    myThread &worker();

    /// One turn of the countdown.
    void tick();
    /// Taps an operation on the list: chooses it, or takes it out again.
    void tap(int row);
    /// Taps "Confirm" and answers the question, if one comes, with Yes, after `look` has had a look at it.
    void confirm(const std::function<void(QMessageBox &question)> &look = {});
    /// Taps the button that shows the commands in the status table, or hides them.
    void tapDetails();
    /// Runs the batch, with `answer` in the place of every program.
    void runBatch(const Rehearsal &answer);

private:
    std::unique_ptr<Widget> window;
    // The window leaves these behind.
    std::unique_ptr<QTimer> pollTimer;
    std::unique_ptr<QMessageBox> question;
    std::unique_ptr<myThread> idleWorker;
};

#endif
