// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef MEDIUMFOLDER_H
#define MEDIUMFOLDER_H

#include "gate/files.h"
#include "gate/manifest.h"
#include "gate/signature.h"

#include <QByteArray>
#include <QScopedPointer>
#include <QStringList>
#include <QTemporaryDir>

/// A folder that stands for a medium, or for its copy.
class MediumFolder
{
public:
    /// One of its own, that goes with it.
    MediumFolder();
    /// One that is there.
    explicit MediumFolder(const QString &path);

    QString path(const QString &name = QString()) const;
    gate::Descriptor open() const;

    /// Writes a file, with the folders that it needs.
    void write(const QString &name, const QByteArray &bytes) const;
    QByteArray read(const QString &name) const;
    void remove(const QString &name) const;
    /// Every file, link and the like below, from the root on, in order.
    QStringList names() const;

    /// A file's line of the manifest, as it lies there.
    gate::ListedFile listed(const QString &name, unsigned int mode = 0644) const;
    /// Writes a manifest of all files, with what `manifest` says besides, and its signature.
    void sign(const gate::SecretKey &key, gate::Manifest manifest = gate::Manifest()) const;

private:
    QScopedPointer<QTemporaryDir> own;
    const QString root;
};

#endif
