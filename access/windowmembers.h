// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WINDOWMEMBERS_H
#define WINDOWMEMBERS_H

#include "widget.h"

// What the window and its worker keep to themselves, by reference and without a hook in them. As in the
// class: GUI thread only, and null where that says so.

QString &mountPathOf(Widget &window);
QTimer *&pollTimerOf(Widget &window);
WatchDogFeed *&watchDogOf(Widget &window);
bool &showDetailsOf(Widget &window);
bool &upgradingOf(Widget &window);
bool &spareFlagOf(Widget &window);
QTextCodec *&codecOf(Widget &window);
myThread *&workerOf(Widget &window);
QString &spareTextOf(Widget &window);
QStandardItemModel *&tableModelOf(Widget &window);
QStandardItemModel *&operationModelOf(Widget &window);
QStandardItemModel *&selectedModelOf(Widget &window);
QMessageBox *&msgBoxOf(Widget &window);
bool &endGameOf(Widget &window);
QTimer *&rebootTimerOf(Widget &window);
int &mediaTypeOf(Widget &window);
QMap<QString, _system_CMD> &cmdMapOf(Widget &window);
QVector<_system_CMD> &runListOf(Widget &window);

/// Runs the worker's batch on the calling thread.
void runBatchOf(myThread &worker);

#endif
