// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef MEDIUM_H
#define MEDIUM_H

#include <QByteArray>
#include <QHash>
#include <QString>

struct Failure;

constexpr qint64 largestCatalogue = qint64(8) * 1024 * 1024; ///< bytes; some 50,000 operations

/// A medium as it lies on the author's computer.
struct Medium {
    QString root;           ///< its folder; empty when only the catalogue itself was named, outside a medium
    QString catalogue;      ///< path of the catalogue
    QString mountDirectory; ///< where the controller mounts it; empty when that is not known
    QByteArray bytes;       ///< the catalogue's content
    bool isForShellcheck = false; ///< it is to be asked about the scripts, where it is installed
    bool isToBeSigned = false;    ///< so that a manifest that is there does not count any more

    /// The path here of what a command names below /mnt/upgrade; empty for any other path.
    QString local(const QString &pathOnController) const;
};

/// Finds and reads the catalogue of `argument`, a medium's folder or a catalogue.
bool openMedium(const QString &argument, Medium *medium, Failure *failure);

/// The folder of the medium that this catalogue is in; empty where it is in none.
QString rootOf(const QString &catalogue);

/// The files below a folder, for finding out how they are spelled. Each folder is listed once.
class SpelledFiles
{
public:
    explicit SpelledFiles(const QString &root);

    /// `path`, relative to the root, as it is spelled on the disk: itself if there is such a file, otherwise
    /// one that differs in capitals; empty when there is none.
    QString spelling(const QString &path);

private:
    using Names = QMultiHash<QString, QString>; ///< by the name in small letters

    const Names &namesIn(const QString &folder);

    const QString root;
    QHash<QString, Names> listed;
};

#endif
