// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "scaffold.h"

#include "common/controller.h"
#include "common/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace
{

const char catalogueText[] = R"(; What the controller offers when this medium is put in.
; A line that starts with ";" is a comment. Put every value into double quotes.

[system]
; The operations to choose from, in this order; each names a line of [CMD].
; Called CMD_Type instead of CMD_List, they all run at once, without a question.
CMD_List="update,log"
; After the chosen operations the controller saves its data and reboots.
; With false it does neither.
ENDGAME=true

[CMD]
; key="Name on the screen@program and its arguments"
; No shell reads a command: for more than one program, write a script.
; The medium is found under %1.
update="Update@sh %1/update.sh"
log="Copy log@sh %1/log.sh"
)";

const char updateText[] = R"(#!/bin/sh
# Runs on the controller, as root. An exit code other than 0 shows as "Failed".
set -eu

# The medium, wherever it is mounted.
medium=%1

echo "updated from $medium" >>/var/log/update.log
sync # until then, a power cut takes it back
)";

const char logText[] = R"(#!/bin/sh
# Notes on the medium how much room the controller's disks have.
set -eu

# Where only signed media are taken, nothing else of the medium can be written to.
results=%1/zul_results

mkdir -p "$results"
df >"$results/disks.log"
sync # until then, a pulled medium is without it
sync "$results/disks.log" # by its name: that empties a USB drive's own memory, too
)";

/// Writes the text, with the controller's path of the medium for %1.
bool write(const QString &path, const char *text)
{
    const QString medium = QDir::cleanPath(mediumFolder);
    const QByteArray bytes = QString(text).replace("%1", medium).toUtf8();
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace

bool makeMedium(const QString &folder, QStringList *files, Failure *failure)
{
    const QString inside = QDir::cleanPath(folder) + '/' + installFolder();
    const QString catalogue = QDir::cleanPath(folder) + '/' + catalogueName;
    const QString update = QDir::cleanPath(folder) + "/update.sh", log = QDir::cleanPath(folder) + "/log.sh";
    for (const QString &file : {catalogue, update, log}) {
        if (QFileInfo::exists(file)) {
            *failure = {ExitNoOutput, file + ": exists already"};
            return false;
        }
    }
    if (!QDir().mkpath(inside) || !write(catalogue, catalogueText) || !write(update, updateText)
        || !write(log, logText)) {
        *failure = {ExitNoOutput, inside + ": cannot be written"};
        return false;
    }
    *files = QStringList{catalogue, update, log};
    return true;
}
