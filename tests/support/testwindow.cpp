// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/testwindow.h"

#include "windowmembers.h"

#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QTest>

TestWindow::TestWindow(Drive drive)
    : owned(new Widget)
    , widget(*owned)
    , mountPath(mountPathOf(widget))
    , pollTimer(pollTimerOf(widget))
    , watchDog(watchDogOf(widget))
    , showDetails(showDetailsOf(widget))
    , upgrading(upgradingOf(widget))
    , spareFlag(spareFlagOf(widget))
    , codec(codecOf(widget))
    , worker(workerOf(widget))
    , spareText(spareTextOf(widget))
    , tableModel(tableModelOf(widget))
    , operationModel(operationModelOf(widget))
    , selectedModel(selectedModelOf(widget))
    , msgBox(msgBoxOf(widget))
    , endGame(endGameOf(widget))
    , rebootTimer(rebootTimerOf(widget))
    , mediaType(mediaTypeOf(widget))
    , cmdMap(cmdMapOf(widget))
    , runList(runListOf(widget))
    , startedWorker(worker)
    , leftTimer(pollTimer)
    , leftBox(msgBox)
{
    if (drive == ByItself)
        return;
    pollTimer->stop();
    worker = &idleWorker;
}

TestWindow::~TestWindow()
{
    owned.reset(); // before the idle worker, which it knows
    delete leftTimer;
    delete leftBox;
}

void TestWindow::endWindow()
{
    owned.reset();
}

void TestWindow::show()
{
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
}

void TestWindow::poll()
{
    QMetaObject::invokeMethod(&widget, "slotsTimerout", Qt::DirectConnection);
}

void TestWindow::tick()
{
    QMetaObject::invokeMethod(rebootTimer, "timeout", Qt::DirectConnection);
}

void TestWindow::tap(const char *button)
{
    QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton);
}

void TestWindow::tapRow(const char *list, int row)
{
    auto *view = child<QListView>(list);
    const QRect place = view->visualRect(view->model()->index(row, 0));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, place.center());
}

QString TestWindow::labelText(const char *name) const
{
    return child<QLabel>(name)->text();
}

QStringList columnTexts(const QStandardItemModel *model, int column)
{
    QStringList texts;
    for (int row = 0; model && row < model->rowCount(); ++row)
        texts.append(model->index(row, column).data().toString());
    return texts;
}

QStringList rowTexts(const QStandardItemModel *model, int row)
{
    QStringList texts;
    for (int column = 0; column < model->columnCount(); ++column)
        texts.append(model->index(row, column).data().toString());
    return texts;
}

QStringList commandsOf(const QVector<_system_CMD> &list)
{
    QStringList commands;
    for (const _system_CMD &record : list)
        commands.append(record.cmd);
    return commands;
}

QStringList namesOf(const QVector<_system_CMD> &list)
{
    QStringList names;
    for (const _system_CMD &record : list)
        names.append(record.name);
    return names;
}
