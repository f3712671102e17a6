// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SHARE_H
#define SHARE_H

#include <QFileInfo>
#include <QString>

/// Where the controller's fonts, style sheet and translations are, beside the program; empty when they are
/// not.
inline QString shareFolder()
{
    const QString program = QFileInfo("/proc/self/exe").canonicalPath();
    return QFileInfo(program + "/../share/zul-catalogue").canonicalFilePath();
}

#endif
