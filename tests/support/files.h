// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FILES_H
#define FILES_H

#include <QByteArray>
#include <QString>

/// Writes a file, and the directories to it; the test ends when that fails.
void writeFile(const QString &path, const QByteArray &content);

/// Writes a catalogue that the settings reader takes for a new one. Its objects are never released, so it
/// serves a file with the path, size and time of an earlier one from its cache; every call has its own time.
void writeCatalogue(const QString &path, const QByteArray &content);

/// Makes what a medium mounted on `mountPath` holds: a catalogue, or none when `catalogue` is empty.
void makeMedium(const QString &mountPath, const QByteArray &catalogue);

/// Removes everything from /mnt but what belongs to the sandbox; only there.
void emptyMnt();

#endif
