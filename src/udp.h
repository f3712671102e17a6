// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef UDP_H
#define UDP_H

#include <QByteArray>

#include <netinet/in.h>

#include <string>

/// Sends datagrams to other processes of the controller. Nothing in this program uses it.
class Udp
{
public:
    Udp();

    /// Sends all bytes of `data` as one datagram to `addr`. Returns false when sendto(2) failed, errno then
    /// says why; a partial send is not detected. Any thread.
    bool send_date(QByteArray data, sockaddr_in addr);

private:
    int socketFd; ///< 0 on purpose: the class opens no socket, so sending works only where descriptor 0 is
                  ///< one
    std::string text;
};

#endif
