// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SIGNEDFILES_H
#define SIGNEDFILES_H

#include <QHash>
#include <QString>
#include <QVector>

/// A medium's manifest beside what lies on the medium. There is no key here: whether the right one has
/// signed it, nobody asks.
struct SignedFiles {
    /// A file, from the medium's root on, and what is to be said of it.
    struct Remark {
        QString path;
        QString what;
    };

    bool isMeant = false; ///< there is a manifest or a signature
    QString noManifest;   ///< why the manifest cannot be read; empty when it can be
    QString noSignature;  ///< why the signature is none; empty when it could be one
    QString malformed;    ///< what is wrong with the manifest's text
    QString compatible;   ///< the controller that it is for; empty for any
    QString serial;       ///< empty for none

    QVector<Remark> outdated;   ///< what is not there as it is listed
    QVector<Remark> unlisted;   ///< what is there, and not listed; `what` is empty for a file
    QVector<Remark> withoutRun; ///< listed without the right to be run, which the file has

    QHash<QString, unsigned int> modes; ///< permissions of what is listed, by path
    quint64 size = 0;                   ///< of what is listed, bytes
    bool isTooBig = false;              ///< for a controller's usual settings; then only sizes were compared
};

/// Reads the manifest of the medium below `root`, and every file that it lists: not the content of links,
/// pipes and devices. Without a manifest and a signature, nothing is read.
SignedFiles readSignedFiles(const QString &root);

/// Whether signMedium() would let the file be run; `path` is from the medium's root on.
bool isSignedToBeRun(const QString &root, const QString &path);

/// Whether the file may not be run, and that is so because somebody wanted it, not because of FAT.
bool lacksRightToRun(const QString &root, const QString &path);

#endif
