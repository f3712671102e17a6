// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef LANGUAGES_H
#define LANGUAGES_H

#include "support/sandboxed.h"

#include <QStringList>
#include <QTranslator>

/// The codes of the languages that the tool is installed with, "en" first, which is built in.
QStringList shippedLanguages();

/// While it lives, what is made speaks this language and has the style sheet that the service gives the tool
/// for it. The test ends when the language is not there. One at a time; GUI thread.
class InLanguage
{
public:
    explicit InLanguage(const QString &code);
    ~InLanguage();
    InLanguage(const InLanguage &) = delete;
    InLanguage &operator=(const InLanguage &) = delete;

private:
    QTranslator translator;
};

/// Like SANDBOXED_TEST_MAIN, with the application made as the tool makes it: nothing of the desktop shows.
#define SHIPPED_TEST_MAIN(TestObject)                                                                        \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        if (!isSandboxed())                                                                                  \
            return 77;                                                                                       \
        QApplication::setDesktopSettingsAware(false);                                                        \
        QApplication application(argc, argv);                                                                \
        QApplication::setQuitOnLastWindowClosed(false);                                                      \
        TestObject test;                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                              \
    }

#endif
