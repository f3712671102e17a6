// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef REDDESKTOP_H
#define REDDESKTOP_H

#include <QApplication>
#include <QDesktopWidget>
#include <QImage>
#include <QTest>
#include <QWidget>

/// Something to be seen on the desktop. The offscreen platform has no desktop of its own: it gives the window
/// that holds the wanted rectangle, and that of the whole desktop, -1 wide, reaches beyond the corner.
class RedDesktop : public QWidget
{
public:
    RedDesktop()
    {
        setPalette(Qt::red);
        setGeometry(QApplication::desktop()->screenGeometry().adjusted(-9, -9, 9, 9));
        show();
        if (!QTest::qWaitForWindowExposed(this))
            qFatal("the window is not shown");
        repaint();
    }

    /// Whether this is a picture of the whole of it.
    static bool isOn(const QImage &picture)
    {
        const QSize size = QApplication::desktop()->screenGeometry().size();
        const QColor middle = picture.pixelColor(picture.rect().center());
        return picture.width() >= size.width() && picture.height() >= size.height() && middle.red() > 200
               && middle.green() < 50 && middle.blue() < 50;
    }
};

#endif
