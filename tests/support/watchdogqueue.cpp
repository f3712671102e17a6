// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/watchdogqueue.h"

#include <QCoreApplication>
#include <QFile>

#include <cstring>
#include <vector>

#include <sys/ipc.h>
#include <sys/msg.h>

namespace
{

constexpr int textSize = 512;
constexpr size_t longestMessage = 65536;

} // namespace

WatchdogQueue::WatchdogQueue()
    : WatchdogQueue(ftok(QFile::encodeName(WatchdogFile::path()).constData(), projectId))
{
}

WatchdogQueue::WatchdogQueue(key_t key)
    : queueId(msgget(key, IPC_CREAT | 0666))
{
}

int WatchdogQueue::id() const
{
    return queueId;
}

int WatchdogQueue::length() const
{
    msqid_ds status;
    if (msgctl(queueId, IPC_STAT, &status) == -1)
        return -1;
    return static_cast<int>(status.msg_qnum);
}

QByteArray WatchdogQueue::take()
{
    std::vector<char> buffer(sizeof lastType + longestMessage);
    const ssize_t size = msgrcv(queueId, buffer.data(), longestMessage, 0, IPC_NOWAIT);
    if (size == -1)
        return QByteArray();
    std::memcpy(&lastType, buffer.data(), sizeof lastType);
    return QByteArray(buffer.data() + sizeof lastType, static_cast<int>(size));
}

long WatchdogQueue::takenType() const
{
    return lastType;
}

bool WatchdogQueue::put(const QByteArray &bytes, long type)
{
    std::vector<char> buffer(sizeof type + static_cast<size_t>(bytes.size()));
    std::memcpy(buffer.data(), &type, sizeof type);
    std::memcpy(buffer.data() + sizeof type, bytes.constData(), static_cast<size_t>(bytes.size()));
    return msgsnd(queueId, buffer.data(), static_cast<size_t>(bytes.size()), IPC_NOWAIT) == 0;
}

void WatchdogQueue::fill()
{
    while (put(QByteArray(textSize, 'x')))
        continue;
}

void WatchdogQueue::remove()
{
    msgctl(queueId, IPC_RMID, nullptr);
}

WatchdogFile::WatchdogFile()
{
    QFile file(path());
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path()));
}

WatchdogFile::~WatchdogFile()
{
    QFile::remove(path());
}

QString WatchdogFile::path()
{
    return QCoreApplication::applicationDirPath() + "/zul_watchdog";
}
