// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef CONTROLLER_H
#define CONTROLLER_H

#include <QString>

// What the tool does not tell of itself and is no part of a window. tests/tst_facts.cpp holds these to the
// tool.

constexpr char mediumFolder[] = "/mnt/upgrade/";           ///< where the controller has the medium
constexpr char catalogueName[] = "zul_install/system.ini"; ///< on the medium

// In the path of the folder on which a medium is mounted; the first of the two decides.
constexpr char cardMark[] = "mmc"; ///< an SD card
constexpr char driveMark[] = "sd"; ///< a USB drive

constexpr int countdownSeconds = 302; ///< after a list was read, in selection mode
constexpr int settleSeconds = 2;      ///< before each command

/// The medium's folder for what the tool needs, without a slash.
inline QString installFolder()
{
    return QString(catalogueName).section('/', 0, -2);
}

#endif
