// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FRESHFILE_H
#define FRESHFILE_H

#include <QByteArray>
#include <QString>

/// Puts the bytes into a file and returns its path. It is the same file each time, in memory only and gone
/// with the process, and each time one that the settings reader has not seen: that serves a file of the same
/// path, size and time from its memory, which so holds no more than one of them.
QString freshFile(const QByteArray &bytes);

#endif
