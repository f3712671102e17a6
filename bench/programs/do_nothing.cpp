// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Baseline: what any program with Qt Widgets costs before it has done anything.

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    return QApplication::exec();
}
