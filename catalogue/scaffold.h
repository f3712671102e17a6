// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SCAFFOLD_H
#define SCAFFOLD_H

#include <QString>
#include <QStringList>

struct Failure;

/// Puts a small, commented medium that checks clean into `folder`, which is made if need be and must not have
/// a catalogue yet. Stores the names of the files in `files`.
bool makeMedium(const QString &folder, QStringList *files, Failure *failure);

#endif
