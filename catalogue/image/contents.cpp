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
#include <unistd.h>

namespace
{

constexpr qint64 largestFile = 0xffffffff;
constexpr qint64 mostEntries = 65536; ///< of a folder
constexpr int longestName = 255;      ///< in units of UTF-16
constexpr int unitsOfEntry = 13;      ///< of a long name
constexpr int mostComplaints = 50;    ///< that are told one by one

/// Empty when FAT, and what else cards are read with, knows such a name.
QString wrongWithName(const QByteArray &bytes)
{
    const QString name = QString::fromUtf8(bytes);
    static const QRegularExpression forbidden(R"([\x00-\x1f\x7f"*/:<>?\\|])");
    static const QRegularExpression device(
        "^(con|prn|aux|nul|clock\\$|conin\\$|conout\\$|(com|lpt)[0-9\u00b9\u00b2\u00b3])(\\..*)?$",
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

struct Complaint {
    QString path; ///< from the medium's folder
    int exitCode;
    QString why;
};

/// Lists and reads one medium.
class Lister
{
public:
    Lister(const QString &root, Contents *target)
        : folder(root)
        , contents(target)
    {
    }

    bool list()
    {
        contents->items.append({QString(), true, 0, 1}); // the entry is the label's
        for (int next = 0; next < contents->items.size(); ++next) {
            if (contents->items.at(next).isFolder)
                listFolder(next);
        }
        if (!complaints.isEmpty())
            return false;
        std::sort(contents->items.begin(), contents->items.end(),
                  [](const CardItem &a, const CardItem &b) { return a.path.toUtf8() < b.path.toUtf8(); });
        QCryptographicHash sum(QCryptographicHash::Sha256);
        for (const CardItem &item : contents->items) {
            sum.addData(item.path.toUtf8() + (item.isFolder ? "/" : "") + '\0'
                        + QByteArray::number(item.bytes) + '\0');
            if (!item.isFolder)
                addFile(item.path, &sum);
        }
        contents->sum = sum.result();
        return complaints.isEmpty();
    }

    /// What is wrong, in the order of the paths. The last has the exit code.
    void tell(QStringList *lines, Failure *failure)
    {
        std::stable_sort(complaints.begin(), complaints.end(),
                         [](const Complaint &a, const Complaint &b) { return a.path < b.path; });
        const int more = complaints.size() - mostComplaints;
        if (more > 0) {
            complaints.resize(mostComplaints);
            complaints.append({QString(), complaints.last().exitCode, QString("and %1 more").arg(more)});
        }
        for (const Complaint &complaint : qAsConst(complaints))
            lines->append((complaint.path.isEmpty() ? QString() : folder + '/' + complaint.path + ": ")
                          + complaint.why);
        *failure = {complaints.last().exitCode, lines->takeLast()};
    }

private:
    void complain(int exitCode, const QString &path, const QString &why)
    {
        complaints.append({path, exitCode, why});
    }

    void listFolder(int index)
    {
        const QString path = contents->items.at(index).path;
        const QString prefix = path.isEmpty() ? path : path + '/';
        const std::unique_ptr<DIR, int (*)(DIR *)> listing(
            opendir(QFile::encodeName(folder + '/' + path).constData()), closedir);
        if (!listing)
            return complain(ExitNoInput, path, "cannot be read");
        qint64 entries = contents->items.at(index).entries;
        QHash<QString, QString> spelled;
        while (const dirent *entry = readdir(listing.get())) {
            const QByteArray bytes = entry->d_name;
            if (bytes == "." || bytes == "..")
                continue;
            const QString name = QString::fromUtf8(bytes), wrong = wrongWithName(bytes);
            if (!wrong.isEmpty())
                complain(ExitData, prefix + name, wrong);
            if (name.toUtf8() != bytes)
                continue; // no way leads back to it
            const QString other = spelled.value(name.toUpper());
            if (!other.isEmpty())
                complain(ExitData, prefix + std::max(name, other),
                         "FAT takes it for " + std::min(name, other) + ", which differs in capitals only");
            spelled.insert(name.toUpper(), name);
            addItem(prefix + name);
            const qint64 needed = 1 + (isShort(name) ? 0 : (name.size() + unitsOfEntry - 1) / unitsOfEntry);
            entries += needed;
            contents->longestName = std::max(contents->longestName, needed);
        }
        contents->items[index].entries = entries;
        if (entries > mostEntries)
            complain(ExitData, path, "has more names than a folder of a FAT card");
    }

    void addItem(const QString &path)
    {
        const QByteArray way = QFile::encodeName(folder + '/' + path);
        struct stat status = {};
        if (lstat(way.constData(), &status) != 0)
            return complain(ExitNoInput, path, "cannot be read");
        if (S_ISLNK(status.st_mode))
            return complain(ExitData, path, "a link, which FAT does not know; put the file itself there");
        const bool isFolder = S_ISDIR(status.st_mode);
        if (!isFolder && !S_ISREG(status.st_mode))
            return complain(ExitData, path, "neither a file nor a folder");
        if (!isFolder && status.st_size > largestFile)
            return complain(ExitData, path,
                            QString("%1 bytes, and a file on a FAT card has %2 at most")
                                .arg(status.st_size)
                                .arg(largestFile));
        if (!isFolder && access(way.constData(), R_OK) != 0)
            return complain(ExitNoInput, path, "cannot be read");
        contents->items.append({path, isFolder, isFolder ? 0 : qint64(status.st_size), isFolder ? 2 : 0});
    }

    void addFile(const QString &path, QCryptographicHash *sum)
    {
        QFile file(folder + '/' + path);
        if (!file.open(QIODevice::ReadOnly) || !sum->addData(&file))
            complain(ExitNoInput, path, "cannot be read: " + file.errorString());
    }

    const QString folder;
    Contents *contents;
    QVector<Complaint> complaints;
};

} // namespace

bool readContents(const QString &folder, Contents *contents, QStringList *complaints, Failure *failure)
{
    Lister lister(folder, contents);
    if (lister.list())
        return true;
    lister.tell(complaints, failure);
    return false;
}
