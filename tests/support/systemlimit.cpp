// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/systemlimit.h"

#include "support/fakeprograms.h"

#include <QFile>

SystemLimit::SystemLimit(const QString &name, int value)
    : path("/proc/sys/kernel/" + name)
    , valueBefore(contentOf(path))
{
    set(QByteArray::number(value));
}

SystemLimit::~SystemLimit()
{
    set(valueBefore);
}

void SystemLimit::set(const QByteArray &value)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(value) != value.size())
        qFatal("cannot write %s: %s", qPrintable(path), qPrintable(file.errorString()));
}
