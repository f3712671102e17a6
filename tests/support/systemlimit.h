// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SYSTEMLIMIT_H
#define SYSTEMLIMIT_H

#include <QByteArray>
#include <QString>

/// A limit of the System V message queues, changed while this lives. Only in the sandbox, whose limits are
/// its own. `name` is a file of /proc/sys/kernel: "msgmni" (queues), "msgmax" (bytes of a message).
class SystemLimit
{
public:
    SystemLimit(const QString &name, int value);
    ~SystemLimit();
    SystemLimit(const SystemLimit &) = delete;
    SystemLimit &operator=(const SystemLimit &) = delete;

private:
    void set(const QByteArray &value);

    QString path;
    QByteArray valueBefore;
};

#endif
