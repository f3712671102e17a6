// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef IMAGE_H
#define IMAGE_H

#include <QString>
#include <QStringList>

struct Failure;

/// Makes `output` an image of a card: one partition with a FAT32 file system that has what is in the medium's
/// folder, of `size`, or without one the smallest. The same files give the same bytes; the time of all of
/// them is that of SOURCE_DATE_EPOCH, or depends on what is in them.
///
/// Becomes another program, which says the rest and gives the exit code: only returns, and then false, when
/// it is not started. This program itself starts none. What is wrong is in `failure`, and where it is more
/// than one thing, the rest in `complaints`.
bool becomeImageMaker(const QString &folder, const QString &output, const QString &size,
                      QStringList *complaints, Failure *failure);

#endif
