// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Sends one command to the simulated controller's watchdog, as the tool does, for trying the watchdog by
// itself.
//
// Usage: send_command TEXT     the text, a zero byte, and rubbish behind it
//        send_command --long   a record full of "x", without a zero byte, with 100 more bytes behind it
//
// Stands in the watchdog's directory, whose file gives the queue its key.

#include "watchdogfeed.h"

#include <sys/ipc.h>
#include <sys/msg.h>

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

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        return 64;
    }
    const std::string text = argv[1];
    const std::string directory(argv[0], std::strrchr(argv[0], '/') + 1);
    const int queue = msgget(ftok((directory + "zul_watchdog").c_str(), watchdogQueueId % 256), 0);
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
