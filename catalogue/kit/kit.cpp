// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "kit/kit.h"

#include "common/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace
{

const char step[] = "step";
const char report[] = "zul_results/steps-1.jsonl";

// What the steps of a controller write their lines over, an empty object for each, of a sector: as many as
// kit/medium/step makes of its own when there is no room left.
constexpr int sector = 512;
constexpr int reportedSteps = 128;

/// The folder's name, in letters that mean nothing to a shell, in any language.
QByteArray mediumName(const QString &folder)
{
    static const QRegularExpression form("[^\\w. -]", QRegularExpression::UseUnicodePropertiesOption);
    const QString name = QFileInfo(QDir(folder).absolutePath()).fileName();
    return QString(name).replace(form, "-").left(64).toUtf8();
}

QByteArray content(const QString &file, const QString &folder)
{
    if (file == report)
        return (QByteArray("{}").leftJustified(sector - 1) + '\n').repeated(reportedSteps);
    QFile resource(":/kit/" + file);
    resource.open(QIODevice::ReadOnly);
    QByteArray bytes = resource.readAll();
    if (file == step)
        bytes.replace("\nmedium=\"card\"", "\nmedium=\"" + mediumName(folder) + '"');
    return bytes;
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
           && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace

bool makeKit(const QString &folder, QStringList *files, Failure *failure)
{
    const QStringList names{
        "zul_install/system.ini", "zul_install/example", step, "add.sh", "log.sh", "update.sh", report};
    const QString root = QDir::cleanPath(folder) + '/';
    for (const QString &name : names) {
        if (QFileInfo::exists(root + name)) {
            *failure = {ExitNoOutput, root + name + ": exists already"};
            return false;
        }
    }
    for (const QString &name : names) {
        if (!write(root + name, content(name, folder))) {
            *failure = {ExitNoOutput, root + name + ": cannot be written"};
            return false;
        }
        files->append(root + name);
    }
    return true;
}
