// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "watchdogfeed.h"

#include <QCoreApplication>
#include <QDebug>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/ipc.h>
#include <sys/msg.h>

namespace
{

constexpr size_t receiveLimit = 8192;

/// Room for everything that msgrcv(2) may deliver under the receive limit.
struct ReceiveBuffer {
    long mtype;
    char mtext[receiveLimit];
};

} // namespace

MyMessageType::MyMessageType(QObject *parent)
    : QObject(parent)
{
}

int MyMessageType::createMessageId(int id)
{
    const QByteArray path = QString("%1/zul_watchdog").arg(QCoreApplication::applicationDirPath()).toUtf8();
    // Not checked: without the watchdog's file the key is -1, and the queue of that key is used.
    const key_t key = ftok(path.constData(), id % 256);
    qDebug() << "key =" << key;

    msqid = msgget(key, IPC_CREAT | 0666);
    receiveType = 0;
    return msqid;
}

int MyMessageType::write(QString text, int type)
{
    if (!isUsable(type))
        return -1;

    message.mtype = 1; // every command travels as type 1; the argument is never the message's type
    const QByteArray bytes = text.toUtf8();
    const int length = std::min(bytes.size(), WatchdogMessage::textSize - 1);
    std::memcpy(message.mtext, bytes.constData(), static_cast<size_t>(length));
    message.mtext[length] = '\0'; // the rest stays as it is: the receiver reads up to the zero byte

    if (msgsnd(msqid, &message, WatchdogMessage::textSize, IPC_NOWAIT) == -1) {
        qDebug() << "msgsnd failed: ";
        return -1;
    }
    return 0;
}

QString MyMessageType::read(int type)
{
    if (!isUsable(type))
        return QString();

    // The limit is sixteen times the text area, so the call must not fill the record itself.
    ReceiveBuffer buffer;
    const ssize_t received = msgrcv(msqid, &buffer, receiveLimit, receiveType, IPC_NOWAIT);
    if (received == -1)
        return QString();

    message.mtype = buffer.mtype;
    const size_t kept = std::min(static_cast<size_t>(received), sizeof message.mtext);
    std::memcpy(message.mtext, buffer.mtext, kept);
    return QString::fromUtf8(message.mtext, static_cast<int>(qstrnlen(message.mtext, sizeof message.mtext)));
}

bool MyMessageType::isCreate()
{
    return msqid != -1;
}

bool MyMessageType::isUsable(int type) const
{
    const int error = errno; // as it stands now; nothing older is remembered, and logging may change it
    if (type != -1 && msqid != -1)
        return true;
    qDebug() << "msgget failed with error:" << error;
    return false;
}

WatchDogFeed::WatchDogFeed(QObject *parent)
    : QObject(parent)
    , messenger(new MyMessageType(this))
{
    messenger->createMessageId(watchdogQueueId);
}

void WatchDogFeed::onSuspend(unsigned int n)
{
    send(QString("syscmd_suspend@%1").arg(n));
}

void WatchDogFeed::onStop()
{
    send("syscmd_stop");
}

void WatchDogFeed::onResume()
{
    send("syscmd_resume");
}

void WatchDogFeed::onRestartApp()
{
    send("syscmd_apprestart");
}

void WatchDogFeed::send(const QString &command)
{
    if (!messenger->isCreate())
        messenger->createMessageId(watchdogQueueId);
    messenger->write(command, 0);
}
