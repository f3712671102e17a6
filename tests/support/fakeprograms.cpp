// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/fakeprograms.h"

#include <QFile>
#include <QSaveFile>

FakePrograms::FakePrograms()
    : pathBefore(qgetenv("PATH"))
{
    if (!directory.isValid())
        qFatal("no temporary directory: %s", qPrintable(directory.errorString()));
    qputenv("PATH", QFile::encodeName(directory.path()) + ':' + pathBefore);
}

FakePrograms::~FakePrograms()
{
    qputenv("PATH", pathBefore);
}

QString FakePrograms::add(const QString &name, const QString &shellLines)
{
    // Put in place by a rename: a running shell goes on reading the old file.
    QSaveFile file(filePath(name));
    file.open(QIODevice::WriteOnly);
    file.write("#!/bin/sh\n" + shellLines.toUtf8() + '\n');
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (!file.commit())
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return filePath(name);
}

QString FakePrograms::filePath(const QString &name) const
{
    return directory.filePath(name);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}
