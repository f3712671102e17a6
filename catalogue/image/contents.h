// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef CONTENTS_H
#define CONTENTS_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

struct Failure;

/// A folder's names take so many of FAT's entries, of 32 bytes each; a file none.
struct CardItem {
    QString path; ///< from the medium's folder; empty for that itself
    bool isFolder = false;
    qint64 bytes = 0;
    qint64 entries = 0;
};

/// What is on a medium.
struct Contents {
    QVector<CardItem> items; ///< the medium's folder first
    qint64 longestName = 0;  ///< in entries of its folder
    QByteArray sum; ///< SHA-256 over all paths and contents, whatever the times and the order on the disk
};

/// Lists a medium's folder and all that is in it, and reads every file. Fails when something is there that a
/// FAT card cannot hold: links and devices, names with characters that it has not, names that differ in
/// capitals only, files of 4 GiB and more. All of them are told with path and reason, the last in `failure`
/// and the others, up to fifty, in `complaints`.
bool readContents(const QString &folder, Contents *contents, QStringList *complaints, Failure *failure);

#endif
