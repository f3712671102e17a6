// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/isolatedwindow.h"

#include "windowmembers.h"

#include <QAbstractButton>
#include <QApplication>
#include <QListView>
#include <QMouseEvent>

IsolatedWindow::IsolatedWindow()
{
    requireIsolation();
    window.reset(new Widget);
    pollTimer.reset(pollTimerOf(*window));
    question.reset(msgBoxOf(*window));
    idleWorker.reset(workerOf(*window));
    pollTimer->stop();
}

IsolatedWindow::~IsolatedWindow()
{
    window.reset(); // before what it knows
}

void IsolatedWindow::read(const QString &path)
{
    window->check_CMD(path);
    if (QTimer *countdown = rebootTimerOf(*window))
        countdown->stop();
}

const QStandardItemModel *IsolatedWindow::operations() const
{
    return operationModelOf(*window);
}

_system_CMD IsolatedWindow::command(const QString &name) const
{
    return cmdMapOf(*window).value(name);
}

bool IsolatedWindow::endGame() const
{
    return endGameOf(*window);
}

QVector<_system_CMD> &IsolatedWindow::runList()
{
    return runListOf(*window);
}

const QVector<_system_CMD> &IsolatedWindow::runList() const
{
    return runListOf(*window);
}

myThread &IsolatedWindow::worker()
{
    return *idleWorker;
}

void IsolatedWindow::tick()
{
    QMetaObject::invokeMethod(window.get(), "slot_rebootTimeout");
}

void IsolatedWindow::tap(int row)
{
    auto *list = window->findChild<QListView *>("operationList");
    const QModelIndex index = list->model()->index(row, 0);
    list->scrollTo(index);
    const QPointF place = list->visualRect(index).center();
    QMouseEvent press(QEvent::MouseButtonPress, place, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, place, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(list->viewport(), &press);
    QApplication::sendEvent(list->viewport(), &release);
}

void IsolatedWindow::confirm(const std::function<void(QMessageBox &question)> &look)
{
    QTimer::singleShot(0, window.get(), [this, look] {
        if (!question->isVisible())
            return; // nothing was chosen
        if (look)
            look(*question);
        question->button(QMessageBox::Yes)->click();
    });
    window->findChild<QAbstractButton *>("confirmPb")->click();
}

void IsolatedWindow::tapDetails()
{
    window->findChild<QAbstractButton *>("pushButton")->click();
}

void IsolatedWindow::runBatch(const Rehearsal &answer)
{
    rehearseCommands(answer);
    runBatchOf(*idleWorker);
    rehearseCommands(Rehearsal());
}
