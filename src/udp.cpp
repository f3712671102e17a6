// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "udp.h"

#include <sys/socket.h>

Udp::Udp()
    : socketFd(0)
{
}

bool Udp::send_date(QByteArray data, sockaddr_in addr)
{
    return sendto(socketFd, data.data(), static_cast<size_t>(data.size()), 0,
                  reinterpret_cast<const sockaddr *>(&addr), sizeof addr)
           != -1;
}
