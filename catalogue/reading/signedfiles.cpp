// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/signedfiles.h"

#include "gate/copy.h"
#include "gate/listing.h"
#include "gate/settings.h"
#include "gate/signature.h"
#include "gate/text.h"

#include <QFile>

#include <algorithm>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

QString shown(const std::string &text)
{
    return QString::fromStdString(gate::printable(text));
}

gate::Descriptor openRoot(const QString &root)
{
    return gate::Descriptor(open(QFile::encodeName(root).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

/// A file that is read whole; otherwise why not, and whether there is one at all.
std::optional<std::string> readFrom(const gate::Descriptor &root, const char *path, std::size_t largest,
                                    bool *isThere, QString *why)
{
    gate::Failure failure;
    std::string bytes;
    const gate::Descriptor file = gate::openBelow(root, path, &failure);
    *isThere = file.isOpen() || !failure.isMissing;
    if (file.isOpen() && gate::readAll(file, largest, &bytes, &failure.why))
        return bytes;
    *why = failure.isMissing ? "is missing" : QString::fromStdString(failure.why);
    return std::nullopt;
}

/// The gate reads a manifest that somebody trusted has signed, and nothing else. At the author's desk nobody
/// is trusted and nothing is run because of it: signed with a key that is gone afterwards, it is read all
/// the same.
std::optional<gate::Manifest> readUnverified(const std::string &text, std::string *error)
{
    const gate::SecretKey key = gate::SecretKey::make();
    gate::PublicKeys keys;
    if (!keys.add(std::string(), key.publicPem(), error))
        return std::nullopt;
    const std::optional<gate::VerifiedText> verified = keys.verify(text, key.sign(text));
    return verified ? gate::readManifest(*verified, error) : std::nullopt;
}

bool mayBeRun(const gate::Descriptor &file)
{
    struct stat status = {};
    return fstat(file.number(), &status) == 0 && (status.st_mode & S_IXUSR) != 0;
}

/// What is wrong with a listed file; empty when nothing is. What is too big is not read.
QString difference(const gate::Descriptor &root, const gate::ListedFile &file, bool isRead)
{
    gate::Failure failure;
    std::string error;
    struct stat status = {};
    const gate::Descriptor opened = gate::openBelow(root, file.path, &failure);
    if (!opened.isOpen())
        return failure.isMissing ? "is missing" : QString::fromStdString(failure.why);
    if (fstat(opened.number(), &status) != 0 || static_cast<std::uint64_t>(status.st_size) != file.size)
        return QString("has %1 bytes, not %2").arg(status.st_size).arg(file.size);
    if (!isRead || gate::checkFile(root, file, &error))
        return QString();
    const QString why = QString::fromStdString(error.substr(file.path.size() + 2));
    return why.startsWith("cannot be read") ? why : "has another content";
}

void compareListed(const gate::Descriptor &root, const gate::Manifest &manifest, SignedFiles *files)
{
    for (const gate::ListedFile &file : manifest.files) {
        gate::Failure failure;
        const QString path = shown(file.path), wrong = difference(root, file, !files->isTooBig);
        files->modes.insert(path, file.mode);
        if (!wrong.isEmpty())
            files->outdated.append({path, wrong});
        else if ((file.mode & S_IXUSR) == 0) {
            const gate::Descriptor opened = gate::openBelow(root, file.path, &failure);
            if (opened.isOpen() && mayBeRun(opened) && gate::keepsRights(opened))
                files->withoutRun.append({path, QString()});
        }
    }
}

void findUnlisted(const gate::Descriptor &root, const gate::Manifest &manifest, SignedFiles *files)
{
    std::set<std::string> listed;
    for (const gate::ListedFile &file : manifest.files)
        listed.insert(file.path);
    std::vector<std::string> paths;
    std::string error;
    if (!gate::listPaths(root, &paths, &error))
        files->unlisted.append({QString(), QString::fromStdString(error)});
    for (const std::string &path : paths) {
        if (listed.count(path) > 0)
            continue;
        gate::Failure failure;
        const bool isFile = gate::openBelow(root, path, &failure).isOpen();
        files->unlisted.append({shown(path), isFile ? QString() : QString::fromStdString(failure.why)});
    }
}

} // namespace

SignedFiles readSignedFiles(const QString &root)
{
    SignedFiles files;
    const gate::Descriptor folder = openRoot(root);
    bool hasManifest = false, hasSignature = false;
    const auto text =
        readFrom(folder, gate::manifestPath, gate::largestManifest, &hasManifest, &files.noManifest);
    const auto signature =
        readFrom(folder, gate::signaturePath, gate::signatureLength, &hasSignature, &files.noSignature);
    files.isMeant = hasManifest || hasSignature;
    if (signature && signature->size() != gate::signatureLength)
        files.noSignature = QString("has %1 bytes, not %2").arg(signature->size()).arg(gate::signatureLength);
    if (!text)
        return files;
    std::string error;
    const std::optional<gate::Manifest> manifest = readUnverified(*text, &error);
    if (!manifest) {
        files.malformed = QString::fromStdString(error);
        return files;
    }
    files.compatible = QString::fromStdString(manifest->compatible.value_or(std::string()));
    files.serial = manifest->serial ? QString::number(*manifest->serial) : QString();
    files.size = manifest->size();
    files.isTooBig = files.size > gate::usualMaximumSize;
    compareListed(folder, *manifest, &files);
    findUnlisted(folder, *manifest, &files);
    return files;
}

bool isSignedToBeRun(const QString &root, const QString &path)
{
    gate::Failure failure;
    const gate::Descriptor file =
        gate::openBelow(openRoot(root), QFile::encodeName(path).toStdString(), &failure);
    char start[4] = {};
    const long count = file.isOpen() ? gate::readSome(file, start, sizeof start) : 0;
    return count >= 0 && file.isOpen() && gate::isToBeRun(file, {start, static_cast<std::size_t>(count)});
}

bool lacksRightToRun(const QString &root, const QString &path)
{
    gate::Failure failure;
    const gate::Descriptor file =
        gate::openBelow(openRoot(root), QFile::encodeName(path).toStdString(), &failure);
    return file.isOpen() && !mayBeRun(file) && gate::keepsRights(file);
}
