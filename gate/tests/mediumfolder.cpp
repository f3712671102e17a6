// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "mediumfolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>

MediumFolder::MediumFolder()
    : own(new QTemporaryDir)
    , root(own->path())
{
}

MediumFolder::MediumFolder(const QString &path)
    : root(path)
{
}

QString MediumFolder::path(const QString &name) const
{
    return QDir(root).filePath(name);
}

gate::Descriptor MediumFolder::open() const
{
    return gate::Descriptor(::open(root.toLocal8Bit().constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

void MediumFolder::write(const QString &name, const QByteArray &bytes) const
{
    QDir(root).mkpath(QFileInfo(name).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%s cannot be written", qPrintable(name));
}

QByteArray MediumFolder::read(const QString &name) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qPrintable(name));
    return file.readAll();
}

void MediumFolder::remove(const QString &name) const
{
    if (!QFile::remove(path(name)))
        qFatal("%s cannot be removed", qPrintable(name));
}

QStringList MediumFolder::names() const
{
    QStringList found;
    QDirIterator entries(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        found.append(QDir(root).relativeFilePath(entries.next()));
    found.sort();
    return found;
}

gate::ListedFile MediumFolder::listed(const QString &name, unsigned int mode) const
{
    const QByteArray bytes = read(name);
    return {static_cast<std::uint64_t>(bytes.size()), mode,
            QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString(),
            name.toStdString()};
}

void MediumFolder::sign(const gate::SecretKey &key, gate::Manifest manifest) const
{
    QFile::remove(path(gate::manifestPath));
    QFile::remove(path(gate::signaturePath));
    for (const QString &name : names()) {
        if (QFileInfo(path(name)).isFile())
            manifest.files.push_back(listed(name));
    }
    std::string error;
    const auto text = gate::writeManifest(manifest, &error);
    if (!text)
        qFatal("%s", error.c_str());
    write(gate::manifestPath, QByteArray::fromStdString(*text));
    write(gate::signaturePath, QByteArray::fromStdString(key.sign(*text)));
}
