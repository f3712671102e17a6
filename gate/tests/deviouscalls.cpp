// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "deviouscalls.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <utility>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace
{

/// What to do with the calls of one device.
struct Behaviour {
    QByteArray from, to;
    std::map<std::pair<ino_t, off_t>, int> reads;
    long long bytesLeft = -1; ///< -1: it is not pulled
    bool interrupts = false, isInterrupted = false, isFull = false;
    long fileSystem = 0; ///< 0: its own
};

Behaviour *behaviour = nullptr;

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

bool isFile(int descriptor, ino_t *inode)
{
    struct stat status = {};
    const bool isRegular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    *inode = status.st_ino;
    return isRegular;
}

/// Whether this call fails; otherwise it may be cut short.
bool isInterrupted(size_t *size)
{
    if (!behaviour->interrupts)
        return false;
    behaviour->isInterrupted = !behaviour->isInterrupted;
    if (behaviour->isInterrupted)
        errno = EINTR;
    *size = std::max<size_t>(*size / 2, std::min<size_t>(*size, 1));
    return behaviour->isInterrupted;
}

} // namespace

extern "C" ssize_t read(int descriptor, void *buffer, size_t size)
{
    static const auto realRead = real<ssize_t(int, void *, size_t)>("read");
    ino_t inode = 0;
    if (!behaviour || !isFile(descriptor, &inode))
        return realRead(descriptor, buffer, size);
    if (isInterrupted(&size))
        return -1;
    if (behaviour->bytesLeft == 0) {
        errno = EIO;
        return -1;
    }
    if (behaviour->bytesLeft > 0)
        size = std::min(size, static_cast<size_t>(behaviour->bytesLeft));
    const off_t place = lseek(descriptor, 0, SEEK_CUR);
    const ssize_t count = realRead(descriptor, buffer, size);
    if (behaviour->bytesLeft > 0)
        behaviour->bytesLeft -= std::max<ssize_t>(count, 0);
    if (count > 0 && ++behaviour->reads[{inode, place}] == 2 && !behaviour->from.isEmpty()) {
        QByteArray answer(static_cast<const char *>(buffer), static_cast<int>(count));
        answer.replace(behaviour->from, behaviour->to);
        std::copy(answer.cbegin(), answer.cend(), static_cast<char *>(buffer));
    }
    return count;
}

extern "C" ssize_t write(int descriptor, const void *buffer, size_t size)
{
    static const auto realWrite = real<ssize_t(int, const void *, size_t)>("write");
    ino_t inode = 0;
    if (!behaviour || !isFile(descriptor, &inode))
        return realWrite(descriptor, buffer, size);
    if (isInterrupted(&size))
        return -1;
    if (behaviour->isFull) {
        errno = ENOSPC;
        return -1;
    }
    return realWrite(descriptor, buffer, size);
}

extern "C" int fstatfs(int descriptor, struct statfs *status)
{
    // The real one's name is not the same everywhere, so it is not asked.
    ino_t inode = 0;
    if (!isFile(descriptor, &inode)) {
        errno = EBADF;
        return -1;
    }
    *status = {};
    status->f_type = behaviour ? behaviour->fileSystem : 0;
    return 0;
}

DeviousCalls::DeviousCalls()
{
    behaviour = new Behaviour;
}

DeviousCalls::~DeviousCalls()
{
    delete std::exchange(behaviour, nullptr);
}

void DeviousCalls::answerOtherwiseAtTheSecondRead(const QByteArray &from, const QByteArray &to)
{
    behaviour->from = from;
    behaviour->to = to;
}

void DeviousCalls::pullAfter(long long bytes)
{
    behaviour->bytesLeft = bytes;
}

void DeviousCalls::interrupt()
{
    behaviour->interrupts = true;
}

void DeviousCalls::leaveNoRoom()
{
    behaviour->isFull = true;
}

void DeviousCalls::haveFileSystem(long kind)
{
    behaviour->fileSystem = kind;
}
