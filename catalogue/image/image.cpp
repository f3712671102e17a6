// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "image/image.h"

#include "common/failure.h"
#include "image/geometry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVector>

#include <cstring>
#include <unistd.h>

namespace
{

// FAT tells times from 1980 to 2107.
constexpr qint64 firstSecond = 315532800;
constexpr qint64 lastSecond = 4354819199;
constexpr qint64 secondsOfContents = qint64(1) << 29; ///< seventeen years from 2000 on
constexpr qint64 firstOfContents = 946684800;

bool fail(Failure *failure, int exitCode, const QString &message)
{
    *failure = {exitCode, message};
    return false;
}

/// Eight hexadecimal digits of the sum, from the byte `first` on.
QString digitsOf(const QByteArray &sum, int first)
{
    return QString::fromLatin1(sum.mid(first, 4).toHex());
}

/// Never the same for different contents, as far as that can be had: a catalogue of the same size and time as
/// the one before, on a card that is plugged in next, would be taken for that by the controller's reader.
bool readTime(const QByteArray &sum, QString *seconds, Failure *failure)
{
    const QByteArray given = qgetenv("SOURCE_DATE_EPOCH");
    bool isNumber = true;
    const qint64 time = given.isEmpty()
                            ? firstOfContents + digitsOf(sum, 8).toLongLong(nullptr, 16) % secondsOfContents
                            : given.toLongLong(&isNumber);
    if (!isNumber || time < firstSecond || time > lastSecond)
        return fail(failure, ExitUsage, "SOURCE_DATE_EPOCH is no time that FAT can tell, from 1980 to 2107");
    *seconds = QString::number(time - time % 2); // which it does in steps of two seconds
    return true;
}

bool checkOutput(const QString &folder, const QString &output, Failure *failure)
{
    const QFileInfo info(output);
    if ((info.exists() || info.isSymLink()) && !info.isFile())
        return fail(failure, ExitNoOutput,
                    output + ": is there, and not a file; an imager writes it to a card");
    if (!QFileInfo(info.absolutePath()).isDir())
        return fail(failure, ExitNoOutput, output + ": there is no such folder");
    const QString place = QFileInfo(info.absolutePath()).canonicalFilePath() + '/';
    if (place.startsWith(QFileInfo(folder).canonicalFilePath() + '/'))
        return fail(failure, ExitNoOutput, output + ": in the medium itself");
    return true;
}

bool plan(const Contents &contents, const QString &size, Geometry *geometry, Failure *failure)
{
    *geometry = smallestFor(contents);
    if (size.isEmpty())
        return true;
    const std::optional<qint64> bytes = readSize(size);
    if (!bytes)
        return fail(
            failure, ExitUsage,
            "--size takes bytes, in 512s, or a number with K, M, G (of 1024), KB, MB or GB (of 1000), not "
                + size);
    const std::optional<Geometry> wanted = geometryOf(*bytes, contents);
    if (!wanted)
        return fail(failure, ExitData,
                    QString("%1 is too small, %2 are needed").arg(size).arg(geometry->imageBytes()));
    *geometry = *wanted;
    return true;
}

void become(const QString &program, const QStringList &arguments)
{
    QVector<QByteArray> words;
    QVector<char *> pointers;
    for (const QString &word : QStringList(program) + arguments)
        words.append(QFile::encodeName(word));
    for (QByteArray &word : words)
        pointers.append(word.data());
    pointers.append(nullptr);
    qputenv("LC_ALL", "C.UTF-8"); // its shell would complain of one that is not installed
    execv(pointers.first(), pointers.data());
}

} // namespace

bool becomeImageMaker(const QString &folder, const QString &output, const QString &size,
                      QStringList *complaints, Failure *failure)
{
    Contents contents;
    Geometry geometry;
    QString seconds;
    if (!checkOutput(folder, output, failure)
        || !readContents(QDir::cleanPath(folder), &contents, complaints, failure)
        || !plan(contents, size, &geometry, failure) || !readTime(contents.sum, &seconds, failure))
        return false;
    const qint64 bytes = size.isEmpty() ? geometry.imageBytes() : *readSize(size);
    const QString program =
        QFileInfo("/proc/self/exe").canonicalPath() + "/../libexec/zul-catalogue/make-image";
    become(program, {folder, output, QString::number(bytes), QString::number(geometry.sectors),
                     QString::number(geometry.clusterSectors), digitsOf(contents.sum, 0),
                     digitsOf(contents.sum, 4), seconds});
    return fail(failure, ExitSoftware,
                program + ": cannot be started: " + QString::fromLocal8Bit(std::strerror(errno)));
}
