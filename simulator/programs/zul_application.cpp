// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for each application program of the controller: installed under five names, so that the real
// killall finds it. As zul_gui_en it shows a screen, so that one can see who has the display; otherwise it
// does nothing until it is ended.

#include <QApplication>
#include <QLabel>

#include <unistd.h>

#include <cstring>

namespace
{

int showScreen(int argc, char **argv)
{
    QApplication application(argc, argv);
    QLabel screen("The controller's own application\n\n(zul_gui_en, a stand-in)");
    screen.setWindowTitle("zul_gui_en");
    screen.setAlignment(Qt::AlignCenter);
    screen.setStyleSheet("background: rgb(38, 50, 56); color: rgb(207, 216, 220); font-size: 24px;");
    screen.setFixedSize(800, 480);
    screen.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const char *slash = std::strrchr(argv[0], '/');
    if (std::strcmp(slash != nullptr ? slash + 1 : argv[0], "zul_gui_en") == 0) {
        return showScreen(argc, argv);
    }
    for (;;) {
        pause();
    }
}
