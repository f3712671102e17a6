// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "windowmembers.h"

#include "privatemember.h"

using CommandMap = QMap<QString, _system_CMD>;

PRIVATE_MEMBER(Widget, QString, mountPath)
PRIVATE_MEMBER(Widget, QTimer *, pollTimer)
PRIVATE_MEMBER(Widget, WatchDogFeed *, watchDog)
PRIVATE_MEMBER(Widget, bool, showDetails)
PRIVATE_MEMBER(Widget, bool, upgrading)
PRIVATE_MEMBER(Widget, bool, spareFlag)
PRIVATE_MEMBER(Widget, QTextCodec *, codec)
PRIVATE_MEMBER(Widget, myThread *, worker)
PRIVATE_MEMBER(Widget, QString, spareText)
PRIVATE_MEMBER(Widget, QStandardItemModel *, tableModel)
PRIVATE_MEMBER(Widget, QStandardItemModel *, operationModel)
PRIVATE_MEMBER(Widget, QStandardItemModel *, selectedModel)
PRIVATE_MEMBER(Widget, QMessageBox *, msgBox)
PRIVATE_MEMBER(Widget, bool, endGame)
PRIVATE_MEMBER(Widget, QTimer *, rebootTimer)
PRIVATE_MEMBER(Widget, int, mediaType)
PRIVATE_MEMBER(Widget, CommandMap, cmdMap)
PRIVATE_MEMBER(Widget, QVector<_system_CMD>, runList)

// The same for the one function that is called, which the macro does not fit.
static void (myThread::*placeOfRunBatch())();
template <void (myThread::*Pointer)()>
struct AccessRunBatch {
    friend void (myThread::*placeOfRunBatch())()
    {
        return Pointer;
    }
};
template struct AccessRunBatch<&myThread::runBatch>;

void runBatchOf(myThread &worker)
{
    (worker.*placeOfRunBatch())();
}
