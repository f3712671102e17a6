// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef TESTWINDOW_H
#define TESTWINDOW_H

#include "widget.h"

#include <memory>

/// A window as main() makes it, with what the window keeps private by reference. Unless it is to stay as it
/// was made, it is in the test's hand: the poll timer stands still, and in the worker's place is one that
/// never starts, so that what it was handed can be read without a race and no command runs.
class TestWindow
{
    std::unique_ptr<Widget> owned;

public:
    enum Drive { ByHand, ByItself };

    explicit TestWindow(Drive drive = ByHand);
    ~TestWindow();
    TestWindow(const TestWindow &) = delete;
    TestWindow &operator=(const TestWindow &) = delete;

    Widget &widget;
    QString &mountPath;
    QTimer *&pollTimer;
    WatchDogFeed *&watchDog;
    bool &showDetails;
    bool &upgrading;
    bool &spareFlag;
    QTextCodec *&codec;
    myThread *&worker;
    QString &spareText;
    QStandardItemModel *&tableModel;
    QStandardItemModel *&operationModel;
    QStandardItemModel *&selectedModel;
    QMessageBox *&msgBox;
    bool &endGame;
    QTimer *&rebootTimer;
    int &mediaType;
    QMap<QString, _system_CMD> &cmdMap;
    QVector<_system_CMD> &runList;

    /// The worker that the window made and started, idle.
    myThread *const startedWorker;

    /// Ends the window alone, as the end of main() does.
    void endWindow();
    /// Shows the window, so that it can be tapped.
    void show();
    /// One turn of the poll timer.
    void poll();
    /// One turn of the countdown's timer, through its connections.
    void tick();
    /// Taps the button with this object name.
    void tap(const char *button);
    /// Taps an entry of the list with this object name.
    void tapRow(const char *list, int row);

    /// The widget of the form with this object name.
    template <class T>
    T *child(const char *name) const
    {
        T *found = widget.findChild<T *>(name);
        if (!found)
            qFatal("the form has no %s", name);
        return found;
    }

    /// The text of the label with this object name.
    QString labelText(const char *name) const;

private:
    QTimer *const leftTimer; // the window leaves these two behind
    QMessageBox *const leftBox;
    myThread idleWorker;
};

/// The texts of a model's column, top to bottom; empty without a model.
QStringList columnTexts(const QStandardItemModel *model, int column = 0);
/// The texts of a model's row, left to right.
QStringList rowTexts(const QStandardItemModel *model, int row);
/// The command lines of a run list, in order.
QStringList commandsOf(const QVector<_system_CMD> &list);
/// The display names of a run list, in order.
QStringList namesOf(const QVector<_system_CMD> &list);

#endif
