// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WRITING_H
#define WRITING_H

#include <QByteArray>
#include <QString>

struct Failure;

/// Puts `now` in the place of a file that holds `before`, and keeps that beside it, as `kept`, which was not
/// there. At each moment the file is whole, the old one or the new one, with the permissions that it had.
/// False, and nothing has changed but perhaps a copy beside it, where that cannot be, or where the file does
/// not hold `before` any more.
bool replaceFile(const QString &path, const QByteArray &before, const QByteArray &now, QString *kept,
                 Failure *failure);

#endif
