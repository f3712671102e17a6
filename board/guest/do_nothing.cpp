// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What the tool's figures are compared with: a program with an empty window of the same size and nothing to
// do. With the argument "show" the window is on the screen, and changes its colour when it is touched.

#include <QApplication>
#include <QWidget>

#include <cstring>

class EmptyWindow : public QWidget
{
protected:
    void mousePressEvent(QMouseEvent *) override
    {
        setPalette(QPalette(palette().color(QPalette::Window) == QColor(Qt::red) ? Qt::blue : Qt::red));
    }
};

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    EmptyWindow window;
    window.resize(800, 480);
    if (argc > 1 && std::strcmp(argv[1], "show") == 0)
        window.showFullScreen();
    return QApplication::exec();
}
