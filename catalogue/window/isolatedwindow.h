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
    using Look = std::function<void(QMessageBox &question)>;

    IsolatedWindow();
    ~IsolatedWindow();
    Q_DISABLE_COPY(IsolatedWindow)

    Widget &widget()
    {
        return *window;
    }

    /// Shows it as on the controller's screen, where no window has a frame. To be done before it reads, as
    /// the tool does: the focus depends on it.
    void show();
    /// Tells it the kind of its medium by where that is mounted, as the tool does; empty when it is not
    /// known.
    void mountAt(const QString &directory);
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
    void confirm(const Look &look = {});
    /// Taps "Cancel" and answers the question with No, after `look` has had a look at it.
    void startToAbort(const Look &look);
    /// Taps the button that shows the commands in the status table, or hides them.
    void tapDetails();
    /// Runs the batch, with `answer` in the place of every program.
    void runBatch(const Rehearsal &answer);

private:
    void tapAndAnswer(const char *button, QMessageBox::StandardButton answer, const Look &look);
    QWidget *child(const char *name) const;

    std::unique_ptr<Widget> window;
    // The window leaves these behind.
    std::unique_ptr<QTimer> pollTimer;
    std::unique_ptr<QMessageBox> question;
    std::unique_ptr<myThread> idleWorker;
};

#endif
