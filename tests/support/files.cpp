// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/files.h"

#include "support/sandboxed.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <utime.h>

namespace
{

/// A time that no earlier catalogue had.
time_t freshTime()
{
    static time_t last = 1500000000;
    return ++last;
}

} // namespace

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}

void writeCatalogue(const QString &path, const QByteArray &content)
{
    writeFile(path, content);
    const time_t time = freshTime();
    const utimbuf times{time, time};
    if (utime(path.toUtf8().constData(), &times) != 0)
        qFatal("cannot set the time of %s", qPrintable(path));
}

void makeMedium(const QString &mountPath, const QByteArray &catalogue)
{
    QDir().mkpath(mountPath);
    if (!catalogue.isEmpty())
        writeCatalogue(mountPath + "/zul_install/system.ini", catalogue);
}

void emptyMnt()
{
    if (!isSandboxed())
        qFatal("this /mnt is not to be emptied");
    const QDir mnt("/mnt");
    for (const QFileInfo &entry : mnt.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.filePath()).removeRecursively();
        else
            QFile::remove(entry.filePath());
    }
}
