// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/sentcommands.h"

#include "watchdogfeed.h"

#include <sys/ipc.h>
#include <sys/msg.h>

namespace
{

QStringList takeMessages(int queue)
{
    QStringList texts;
    WatchdogMessage message;
    for (;;) {
        const ssize_t size = msgrcv(queue, &message, sizeof message.mtext, 0, IPC_NOWAIT);
        if (size == -1)
            break;
        const uint length = qstrnlen(message.mtext, static_cast<uint>(size));
        texts.append(QString::fromUtf8(message.mtext, static_cast<int>(length)));
    }
    return texts;
}

} // namespace

QStringList takeSentCommands()
{
    msqid_ds status;
    const int highest = msgctl(0, MSG_INFO, &status);
    QStringList texts;
    for (int index = 0; index <= highest; ++index) {
        const int queue = msgctl(index, MSG_STAT, &status);
        if (queue >= 0)
            texts += takeMessages(queue);
    }
    return texts;
}
