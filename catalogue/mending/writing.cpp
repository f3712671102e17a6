// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "mending/writing.h"

#include "common/failure.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace
{

bool writeAll(int file, const QByteArray &bytes)
{
    for (int at = 0; at < bytes.size();) {
        const ssize_t written = write(file, bytes.constData() + at, static_cast<size_t>(bytes.size() - at));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        at += static_cast<int>(written);
    }
    return true;
}

/// A new file, on the disk when this is true; taken away again when it is not. A file that is there is
/// EEXIST. Owner and permissions are those of another one, as far as the user and the file system can.
bool makeFile(const QString &path, const QByteArray &bytes, const struct stat &as)
{
    const QByteArray name = QFile::encodeName(path);
    const int file = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    if (as.st_uid != geteuid() || as.st_gid != getegid())
        std::ignore = fchown(file, as.st_uid, as.st_gid);
    const bool written = writeAll(file, bytes) && (fchmod(file, as.st_mode & 07777) == 0 || errno == EPERM);
    const bool isSaved = written && fsync(file) == 0;
    const int reason = errno;
    const bool isClosed = close(file) == 0;
    if (isSaved && isClosed)
        return true;
    const int closing = isSaved ? errno : reason;
    unlink(name.constData());
    errno = closing;
    return false;
}

/// The first of path.old, path.old2, ... that is free.
bool keepOld(const QString &path, const QByteArray &before, const struct stat &as, QString *kept)
{
    constexpr int most = 1000;
    for (int number = 1; number < most; ++number) {
        *kept = path + ".old" + (number > 1 ? QString::number(number) : QString());
        if (makeFile(*kept, before, as))
            return true;
        if (errno != EEXIST)
            return false;
    }
    return false;
}

void saveFolder(const QString &path)
{
    const int folder =
        open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder); // not every file system can; the file itself is saved
    close(folder);
}

bool fail(Failure *failure, const QString &path)
{
    *failure = {ExitNoOutput,
                QString("%1: cannot be written: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)))};
    return false;
}

} // namespace

bool replaceFile(const QString &path, const QByteArray &before, const QByteArray &now, QString *kept,
                 Failure *failure)
{
    // Of a link, what it points at is replaced, in its own folder.
    const QFileInfo info(path);
    const QString target = info.isSymLink() ? info.canonicalFilePath() : path;
    QFile file(target);
    struct stat state = {};
    if (!file.open(QIODevice::ReadOnly) || fstat(file.handle(), &state) != 0) {
        errno = ENOENT;
        return fail(failure, path);
    }
    if (file.readAll() != before) {
        *failure = {ExitNoOutput, path + ": has changed since it was read; nothing is written"};
        return false;
    }
    const QString fresh = target + ".new" + QString::number(getpid());
    if (!makeFile(fresh, now, state))
        return fail(failure, fresh);
    const bool isKept = keepOld(target, before, state, kept);
    if (isKept
        && std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(target).constData()) == 0) {
        saveFolder(target);
        return true;
    }
    const int reason = errno;
    QFile::remove(fresh);
    errno = reason;
    return fail(failure, isKept ? path : *kept);
}
