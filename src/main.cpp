// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "widget.h"

#include <QApplication>
#include <QTranslator>

int main(int argc, char *argv[])
{
    // The question's buttons are the same on every controller, and no icon theme is searched for them.
    QApplication::setDesktopSettingsAware(false);
    QApplication application(argc, argv);
    // The window hides between media; only the abort question and the countdown may end the program.
    QApplication::setQuitOnLastWindowClosed(false);

    QTranslator translator;
    if (translator.load(QString("%1/en.qm").arg(QCoreApplication::applicationDirPath())))
        QCoreApplication::installTranslator(&translator);

    Widget window;
    window.hide();
    return QApplication::exec();
}
