// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/heldprogram.h"

#include "support/waiting.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

HeldProgram::HeldProgram()
    : path(directory.filePath("pipe"))
{
    if (mkfifo(QFile::encodeName(path).constData(), 0600) == -1)
        qFatal("cannot make %s", qPrintable(path));
}

HeldProgram::~HeldProgram()
{
    release();
}

QString HeldProgram::commandLine() const
{
    return "cat " + path;
}

bool HeldProgram::isRunning()
{
    // Can only be opened for writing once the program has opened it for reading.
    return waitUntil([this] {
        if (writer == -1)
            writer = open(QFile::encodeName(path).constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return writer != -1;
    });
}

void HeldProgram::release()
{
    if (writer != -1)
        close(writer);
    writer = -1;
}
