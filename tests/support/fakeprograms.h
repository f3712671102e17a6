// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FAKEPROGRAMS_H
#define FAKEPROGRAMS_H

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A directory that stands first in PATH while this lives: programs that a test puts in place of real ones.
class FakePrograms
{
public:
    FakePrograms();
    ~FakePrograms();
    FakePrograms(const FakePrograms &) = delete;
    FakePrograms &operator=(const FakePrograms &) = delete;

    /// Makes a shell script of these lines callable by `name`, in place of an earlier one. Returns its path.
    QString add(const QString &name, const QString &shellLines = QString());

    /// The path of a file beside the programs, for what they leave behind.
    QString filePath(const QString &name) const;

private:
    QTemporaryDir directory;
    QByteArray pathBefore;
};

/// The bytes of a file; none when there is no such file.
QByteArray contentOf(const QString &path);

#endif
