// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/sandboxed.h"

#include <QFile>
#include <QStandardPaths>

#include <cstdio>

namespace
{

const char markerFile[] = "/mnt/.zul-sandbox";
const char standInPrefix[] = "/mnt/.zul-stand-ins/";

QStringList logLines()
{
    QFile log(QString::fromLocal8Bit(qgetenv("ZUL_SANDBOX_LOG")));
    if (!log.open(QIODevice::ReadOnly))
        return QStringList();
    return QString::fromLocal8Bit(log.readAll()).split('\n', QString::SkipEmptyParts);
}

bool refuse(const char *why)
{
    std::fprintf(stderr, "Not in the sandbox (%s). Run it as: simulator/sandbox TEST\n", why);
    return false;
}

const int callsBefore = logLines().size();

} // namespace

bool isSandboxed()
{
    if (!QFile::exists(markerFile))
        return refuse("/mnt is not its own");
    if (!QStandardPaths::findExecutable("reboot").startsWith(standInPrefix))
        return refuse("reboot is not the stand-in");
    return true;
}

QStringList recordedCalls()
{
    QStringList calls;
    for (const QString &line : logLines().mid(callsBefore))
        calls.append(line.section(' ', 1)); // without the time
    return calls;
}
