// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SANDBOXED_H
#define SANDBOXED_H

#include <QApplication>
#include <QStringList>
#include <QTest>

/// Whether this process is in the sandbox, where "reboot" and /mnt are not the computer's. Says what is
/// missing on standard error.
bool isSandboxed();

/// The calls that the stand-ins of the sandbox have recorded since the process started, oldest first, each
/// its program's name and arguments: "reboot", "killall zul_main".
QStringList recordedCalls();

/// Like QTEST_MAIN, for tests of code that can reboot the computer: outside the sandbox it refuses with exit
/// code 77 before the test object exists.
#define SANDBOXED_TEST_MAIN(TestObject)                                                                      \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        if (!isSandboxed())                                                                                  \
            return 77;                                                                                       \
        QApplication application(argc, argv);                                                                \
        QApplication::setQuitOnLastWindowClosed(false);                                                      \
        TestObject test;                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

#endif
