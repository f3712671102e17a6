// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef KIT_H
#define KIT_H

#include <QString>
#include <QStringList>

struct Failure;

/// Puts a medium into `folder` whose commands are steps: limited in time, stopped after a failure, reported.
/// The folder is made if need be, gives the medium its name in the reports, and must not have any of the
/// files yet. Stores their names in `files`.
bool makeKit(const QString &folder, QStringList *files, Failure *failure);

#endif
