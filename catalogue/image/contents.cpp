// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "image/contents.h"

#include "common/failure.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

namespace
{

constexpr qint64 largestFile = 0xffffffff;
constexpr qint64 mostEntries = 65536; ///< of a folder
constexpr int longestName = 255;      ///< in units of UTF-16
constexpr int unitsOfEntry = 13;      ///< of a long name

/// Empty when FAT, and what else cards are read with, knows such a name.
QString wrongWithName(const QByteArray &bytes)
{
    const QString name = QString::fromUtf8(bytes);
    static const QRegularExpression forbidden(R"([\x00-\x1f\x7f"*/:<>?\\|])");
    static const QRegularExpression device(R"(^(con|prn|aux|nul|clock\$|com[0-9]|lpt[0-9])(\..*)?$)",
                                           QRegularExpression::CaseInsensitiveOption);
    if (name.toUtf8() != bytes)
        return "its name is not UTF-8";
    if (name.size() > longestName)
        return QString("its name is longer than %1 letters").arg(longestName);
    const QRegularExpressionMatch match = forbidden.match(name);
    if (match.hasMatch()) {
        const ushort code = match.captured().at(0).unicode();
        return code < ' ' || code == 0x7f
                   ? "there is a control character in its name, which FAT does not know"
                   : QString("there is a %1 in its name, which FAT does not know").arg(match.captured());
    }
    if (std::any_of(name.begin(), name.end(), [](QChar letter) { return letter.isSurrogate(); }))
        return "there is a letter in its name that not everything knows that writes FAT";
    if (name.endsWith('.') || name.endsWith(' '))
        return "FAT drops the dot or blank at the end of its name";
    if (device.match(name).hasMatch())
        return "its name is that of a device where cards are written";
    return QString();
}

/// Whether FAT has the name without a long one beside it.
bool isShort(const QString &name)
{
    static const QRegularExpression form(
        R"(^([a-z0-9_-]{1,8}(\.[a-z0-9_-]{1,3})?|[A-Z0-9_-]{1,8}(\.[A-Z0-9_-]{1,3})?)$)");
    return form.match(name).hasMatch();
}

/// Lists and reads one medium.
class Lister
{
public:
    Lister(const QString &root, Contents *target, Failure *whyNot)
        : folder(root)
        , contents(target)
        , failure(whyNot)
    {
    }

    bool list()
    {
        contents->items.append({QString(), true, 0, 1}); // the entry is the label's
        for (int next = 0; next < contents->items.size(); ++next) {
            if (contents->items.at(next).isFolder && !listFolder(next))
                return false;
        }
        std::sort(contents->items.begin(), contents->items.end(),
                  [](const CardItem &a, const CardItem &b) { return a.path.toUtf8() < b.path.toUtf8(); });
        QCryptographicHash sum(QCryptographicHash::Sha256);
        for (const CardItem &item : contents->items) {
            sum.addData(item.path.toUtf8() + (item.isFolder ? "/" : "") + '\0'
                        + QByteArray::number(item.bytes) + '\0');
            if (!item.isFolder && !addFile(item.path, &sum))
                return false;
        }
        contents->sum = sum.result();
        return true;
    }

private:
    bool fail(int exitCode, const QString &path, const QString &why)
    {
        *failure = {exitCode, folder + '/' + path + ": " + why};
        return false;
    }

    bool listFolder(int index)
    {
        const QString path = contents->items.at(index).path;
        const QString prefix = path.isEmpty() ? path : path + '/';
        const std::unique_ptr<DIR, int (*)(DIR *)> listing(
            opendir(QFile::encodeName(folder + '/' + path).constData()), closedir);
        if (!listing)
            return fail(ExitNoInput, path, "cannot be read");
        qint64 entries = contents->items.at(index).entries;
        QHash<QString, QString> spelled;
        while (const dirent *entry = readdir(listing.get())) {
            const QByteArray bytes = entry->d_name;
            if (bytes == "." || bytes == "..")
                continue;
            const QString name = QString::fromUtf8(bytes), wrong = wrongWithName(bytes);
            if (!wrong.isEmpty())
                return fail(ExitData, prefix + name, wrong);
            const QString other = spelled.value(name.toUpper());
            if (!other.isEmpty())
                return fail(ExitData, prefix + std::max(name, other),
                            "FAT takes it for " + std::min(name, other) + ", which differs in capitals only");
            spelled.insert(name.toUpper(), name);
            if (!addItem(prefix + name))
                return false;
            const qint64 needed = 1 + (isShort(name) ? 0 : (name.size() + unitsOfEntry - 1) / unitsOfEntry);
            entries += needed;
            contents->longestName = std::max(contents->longestName, needed);
        }
        contents->items[index].entries = entries;
        return entries <= mostEntries || fail(ExitData, path, "has more names than a folder of a FAT card");
    }

    bool addItem(const QString &path)
    {
        struct stat status = {};
        if (lstat(QFile::encodeName(folder + '/' + path).constData(), &status) != 0)
            return fail(ExitNoInput, path, "cannot be read");
        if (S_ISLNK(status.st_mode))
            return fail(ExitData, path, "a link, which FAT does not know; put the file itself there");
        const bool isFolder = S_ISDIR(status.st_mode);
        if (!isFolder && !S_ISREG(status.st_mode))
            return fail(ExitData, path, "neither a file nor a folder");
        if (!isFolder && status.st_size > largestFile)
            return fail(ExitData, path,
                        QString("%1 bytes, and a file on a FAT card has %2 at most")
                            .arg(status.st_size)
                            .arg(largestFile));
        contents->items.append({path, isFolder, isFolder ? 0 : qint64(status.st_size), isFolder ? 2 : 0});
        return true;
    }

    bool addFile(const QString &path, QCryptographicHash *sum)
    {
        QFile file(folder + '/' + path);
        return (file.open(QIODevice::ReadOnly) && sum->addData(&file))
               || fail(ExitNoInput, path, "cannot be read: " + file.errorString());
    }

    const QString folder;
    Contents *contents;
    Failure *failure;
};

} // namespace

bool readContents(const QString &folder, Contents *contents, Failure *failure)
{
    return Lister(folder, contents, failure).list();
}
