// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef DEVIOUSCALLS_H
#define DEVIOUSCALLS_H

#include <QByteArray>

/// A device that answers as it likes: as long as one of these lives, read(), write() and fstatfs() of this
/// program are its.
class DeviousCalls
{
public:
    DeviousCalls();
    ~DeviousCalls();
    DeviousCalls(const DeviousCalls &) = delete;
    DeviousCalls &operator=(const DeviousCalls &) = delete;

    /// Bytes of a file that are read a second time, from the same place, come with `from` replaced by `to`,
    /// which is as long.
    void answerOtherwiseAtTheSecondRead(const QByteArray &from, const QByteArray &to);
    /// After so many bytes, every read() fails with EIO, as of a device that has been pulled.
    void pullAfter(long long bytes);
    /// Every call is interrupted the first time, and does only a part of its work the second.
    void interrupt();
    /// Every write() fails with ENOSPC.
    void leaveNoRoom();
    /// It has a file system of this kind, a number of <linux/magic.h>.
    void haveFileSystem(long kind);
};

#endif
