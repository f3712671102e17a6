// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FAKEDF_H
#define FAKEDF_H

#include "support/fakeprograms.h"

#include <QStringList>

/// A "df" first in PATH that prints what the test says; while it lives.
class FakeDf
{
public:
    FakeDf();

    /// From now on prints the headline, the root's line and these lines.
    void lists(const QStringList &lines);
    /// How often it was run.
    int runs() const;

private:
    FakePrograms programs;
};

/// A line as df(1) prints it for `device` mounted on `mountPath`.
QString dfLine(const QString &device, const QString &mountPath);

#endif
