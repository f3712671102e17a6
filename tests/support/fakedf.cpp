// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/fakedf.h"

#include "support/files.h"

FakeDf::FakeDf()
{
    programs.add(
        "df",
        QString("echo run >>%1\nexec cat %2").arg(programs.filePath("runs"), programs.filePath("output")));
    lists({});
}

void FakeDf::lists(const QStringList &lines)
{
    QStringList all{"Filesystem     1K-blocks     Used Available Use% Mounted on", dfLine("/dev/root", "/")};
    all += lines;
    writeFile(programs.filePath("output"), all.join('\n').toUtf8() + '\n');
}

int FakeDf::runs() const
{
    return contentOf(programs.filePath("runs")).count('\n');
}

QString dfLine(const QString &device, const QString &mountPath)
{
    return device.leftJustified(14) + "  31154688 16384  31138304   1% " + mountPath;
}
