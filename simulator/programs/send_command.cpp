// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Sends one command to the simulated controller's watchdog, as the tool does, for trying the watchdog by
// itself.
//
// Usage: send_command TEXT     the text, a zero byte, and rubbish behind it
//        send_command --long   a record full of "x", without a zero byte, with 100 more bytes behind it
//        send_command --fill   records of a word that is no command, until the queue is full
//        send_command --close  takes all rights to the queue from everybody
//
// Stands in the watchdog's directory, whose file gives the queue its key.

#include "watchdogfeed.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace
{

constexpr size_t surplus = 100;

struct Oversized {
    long mtype;
    char mtext[WatchdogMessage::textSize + surplus];
};

int fill(int queue)
{
    WatchdogMessage message{};
    message.mtype = 1;
    std::strcpy(message.mtext, "rubbish");
    while (msgsnd(queue, &message, WatchdogMessage::textSize, IPC_NOWAIT) == 0) {
    }
    return errno == EAGAIN ? 0 : 1;
}

int takeRights(int queue)
{
    msqid_ds properties{};
    if (msgctl(queue, IPC_STAT, &properties) != 0) {
        return 1;
    }
    properties.msg_perm.mode = 0;
    return msgctl(queue, IPC_SET, &properties) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        return 64;
    }
    const std::string text = argv[1];
    const std::string directory(argv[0], std::strrchr(argv[0], '/') + 1);
    const int queue = msgget(ftok((directory + "zul_watchdog").c_str(), watchdogQueueId % 256), 0);
    if (text == "--fill") {
        return fill(queue);
    }
    if (text == "--close") {
        return takeRights(queue);
    }
    Oversized message{};
    message.mtype = 1;
    std::memset(message.mtext, 'x', sizeof(message.mtext));
    size_t size = sizeof(message.mtext);
    if (text != "--long") {
        std::memcpy(message.mtext, text.c_str(), text.size() + 1);
        size = WatchdogMessage::textSize;
    }
    if (msgsnd(queue, &message, size, IPC_NOWAIT) != 0) {
        std::perror("send_command");
        return 1;
    }
    return 0;
}
