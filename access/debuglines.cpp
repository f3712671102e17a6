// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"

#include <QMutex>

namespace
{

QMutex mutex;
QStringList collected;
QtMessageHandler previous = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type != QtDebugMsg) {
        previous(type, context, text);
        return;
    }
    const QMutexLocker locker(&mutex);
    collected.append(text);
}

} // namespace

DebugLines::DebugLines()
{
    const QMutexLocker locker(&mutex);
    collected.clear();
    previous = qInstallMessageHandler(collect);
}

DebugLines::~DebugLines()
{
    qInstallMessageHandler(previous);
}

QStringList DebugLines::lines() const
{
    const QMutexLocker locker(&mutex);
    return collected;
}
