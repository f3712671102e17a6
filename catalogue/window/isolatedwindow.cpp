// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/isolatedwindow.h"

#include "common/controller.h"
#include "windowmembers.h"

#include <QAbstractButton>
#include <QApplication>
#include <QListView>
#include <QMouseEvent>

namespace
{

enum MediaType { SdCard = 0, UsbDrive = 1 }; // as the window has them

/// A finger on a place of a widget, and away: the focus goes where a real one takes it, then come the events
/// that Qt makes of a touch.
void touch(QWidget *widget, const QPointF &place)
{
    for (QWidget *one = widget; one && !one->isWindow(); one = one->parentWidget()) {
        if (one->focusPolicy() & Qt::ClickFocus) {
            one->setFocus(Qt::MouseFocusReason);
            break;
        }
    }
    QMouseEvent press(QEvent::MouseButtonPress, place, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, place, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &press);
    QApplication::sendEvent(widget, &release);
}

void touchMiddle(QWidget *widget)
{
    touch(widget, widget->rect().center());
}

} // namespace

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

void IsolatedWindow::show()
{
    question->setWindowFlags(question->windowFlags() | Qt::FramelessWindowHint);
    window->showFullScreen();
}

void IsolatedWindow::mountAt(const QString &directory)
{
    if (directory.contains(cardMark))
        mediaTypeOf(*window) = SdCard;
    else if (directory.contains(driveMark))
        mediaTypeOf(*window) = UsbDrive;
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
    auto *list = static_cast<QListView *>(child("operationList"));
    const QModelIndex index = list->model()->index(row, 0);
    list->scrollTo(index);
    touch(list->viewport(), list->visualRect(index).center());
}

void IsolatedWindow::confirm(const Look &look)
{
    tapAndAnswer("confirmPb", QMessageBox::Yes, look);
}

void IsolatedWindow::startToAbort(const Look &look)
{
    tapAndAnswer("cancelPb", QMessageBox::No, look);
}

void IsolatedWindow::tapAndAnswer(const char *button, QMessageBox::StandardButton answer, const Look &look)
{
    QTimer::singleShot(0, window.get(), [this, answer, look] {
        if (!question->isVisible())
            return; // nothing was chosen
        if (look)
            look(*question);
        touchMiddle(question->button(answer));
    });
    touchMiddle(child(button));
}

void IsolatedWindow::tapDetails()
{
    touchMiddle(child("pushButton"));
}

QWidget *IsolatedWindow::child(const char *name) const
{
    return window->findChild<QWidget *>(name);
}

void IsolatedWindow::runBatch(const Rehearsal &answer)
{
    rehearseCommands(answer);
    runBatchOf(*idleWorker);
    rehearseCommands(Rehearsal());
}
