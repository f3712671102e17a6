// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/medium.h"

#include "common/controller.h"
#include "common/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>

namespace
{

bool fail(Failure *failure, int exitCode, const QString &message)
{
    *failure = {exitCode, message};
    return false;
}

/// More than a stray control character; UTF-16 has zero bytes everywhere.
bool isBinary(const QByteArray &bytes)
{
    const QByteArray start = bytes.left(8192);
    const auto isControl = [](unsigned char byte) {
        return (byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7f;
    };
    return std::count_if(start.begin(), start.end(), isControl) * 8 > start.size();
}

bool findCatalogue(const QString &argument, Medium *medium, Failure *failure)
{
    const QFileInfo info(argument);
    if (!info.exists())
        return fail(failure, ExitNoInput,
                    argument
                        + (argument.contains(QChar::ReplacementCharacter)
                               ? ": not found; its name may be of bytes that are not UTF-8"
                               : ": there is no such file or folder"));
    if (info.isDir()) {
        medium->root = QDir::cleanPath(argument); // as a shell completes it, it ends with a slash
        medium->catalogue = QDir::cleanPath(argument + '/' + catalogueName);
        if (QFileInfo::exists(medium->catalogue))
            return true;
        const QString other = SpelledFiles(argument).spelling(catalogueName);
        return fail(failure, ExitNoInput,
                    QString("%1: not a medium, it has no %2%3")
                        .arg(argument, catalogueName, other.isEmpty() ? "" : " (but " + other + ')'));
    }
    medium->catalogue = argument;
    medium->root = rootOf(argument);
    return true;
}

bool readCatalogue(Medium *medium, Failure *failure)
{
    const QFileInfo info(medium->catalogue);
    if (!info.isFile())
        return fail(failure, ExitNoInput, medium->catalogue + ": not a file");
    if (info.size() > largestCatalogue)
        return fail(
            failure, ExitData,
            QString("%1: too big for a catalogue (%2 bytes, at most %3)")
                .arg(medium->catalogue, QString::number(info.size()), QString::number(largestCatalogue)));
    QFile file(medium->catalogue);
    if (!file.open(QIODevice::ReadOnly))
        return fail(failure, ExitNoInput,
                    QString("%1: cannot be read: %2").arg(medium->catalogue, file.errorString()));
    medium->bytes = file.read(largestCatalogue);
    if (isBinary(medium->bytes))
        return fail(failure, ExitData,
                    medium->catalogue + ": not a text file, or not in a byte encoding such as UTF-8");
    return true;
}

QString mountDirectoryOf(const QString &root)
{
    const QString folder = QFileInfo(root).canonicalFilePath();
    return !root.isEmpty() && folder != "/" && QStorageInfo(folder).rootPath() == folder ? folder : QString();
}

} // namespace

QString Medium::local(const QString &pathOnController) const
{
    if (root.isEmpty() || !pathOnController.startsWith(mediumFolder))
        return QString();
    return QDir::cleanPath(root + '/' + pathOnController.mid(static_cast<int>(sizeof mediumFolder) - 1));
}

QString rootOf(const QString &catalogue)
{
    const QFileInfo info(catalogue);
    const bool isInMedium = QFileInfo(info.absolutePath()).fileName() == installFolder();
    return isInMedium ? QDir::cleanPath(info.path() + "/..") : QString();
}

bool openMedium(const QString &argument, Medium *medium, Failure *failure)
{
    if (!findCatalogue(argument, medium, failure) || !readCatalogue(medium, failure))
        return false;
    medium->mountDirectory = mountDirectoryOf(medium->root);
    return true;
}

SpelledFiles::SpelledFiles(const QString &itsRoot)
    : root(itsRoot)
{
}

const SpelledFiles::Names &SpelledFiles::namesIn(const QString &folder)
{
    if (!listed.contains(folder)) {
        Names names;
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
        for (const QString &name : QDir(root + '/' + folder).entryList(all))
            names.insert(name.toLower(), name);
        listed.insert(folder, names);
    }
    return listed[folder];
}

QString SpelledFiles::spelling(const QString &path)
{
    QString found;
    for (const QString &name : path.split('/', QString::SkipEmptyParts)) {
        const QStringList candidates = namesIn(found).values(name.toLower());
        if (candidates.isEmpty())
            return QString();
        if (!found.isEmpty())
            found += '/';
        found += candidates.contains(name) ? name : candidates.first();
    }
    return found;
}
