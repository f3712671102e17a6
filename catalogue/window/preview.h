// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef PREVIEW_H
#define PREVIEW_H

#include <QString>
#include <QStringList>

struct Failure;
struct Medium;

constexpr int mostChosen = 200; ///< operations; the window redraws the whole table for every command

constexpr char everyLanguage[] = "all";

/// Draws every screen that the operator sees with this medium, by the tool's own window and worker, with no
/// command run: PNG files as big as the screen and a sheet with all of them, into `folder`, which is made if
/// need be. `language` is what Language::speak() takes, or empty for English; of `everyLanguage` there is a
/// sheet for each and nothing else. Stores the names of the files in `files`.
bool previewMedium(const Medium &medium, const QString &folder, const QString &language, QStringList *files,
                   Failure *failure);

#endif
