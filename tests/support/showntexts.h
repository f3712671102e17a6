// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SHOWNTEXTS_H
#define SHOWNTEXTS_H

#include <QColor>
#include <QFont>
#include <QRect>
#include <QString>
#include <QVector>

class QTableView;
class QWidget;

/// Of the controller, in pixels.
const QSize screenSize(800, 480);

/// One text as the operator has it before him. All sizes are in pixels.
struct ShownText {
    QString field;   ///< where it stands, as a translator would call it
    QString text;    ///< what is to be read there, without the mark of a mnemonic
    QFont font;      ///< in which it is drawn
    QSize needed;    ///< what it takes: its lines' advance, and the height of its ink
    QSize given;     ///< what its field has
    QRect ink;       ///< where its pixels are on the screen; empty when nothing is to be seen
    QSize wholeInk;  ///< what its pixels take where nothing cuts or shortens it
    double contrast; ///< of its full colour to the nearest colour beneath it, 1 to 21; 0 without any ink
    bool isHidden = false; ///< is measured by its font only
};

/// What a widget is called, for a translator to know it.
QString fieldOf(const QWidget &widget);

/// Whether a widget is to be seen, and not behind the other page.
bool isInFront(const QWidget &widget);

/// Every text that a window, or a field of it, shows at this moment, each measured twice: by its font, and by
/// what its pixels are. It has to be visible; nothing of it is changed. The test ends when a widget shows a
/// text that is of no known kind.
QVector<ShownText> textsOf(QWidget &root);

/// The headings of a table, which are measured though they are hidden. They have no ink.
QVector<ShownText> headingsOf(const QTableView &table);

/// What a text takes in a font: its lines' advance, and the height of its ink.
QSize neededSize(const QString &text, const QFont &font);

/// The contrast of two colours as WCAG 2 defines it, 1 to 21.
double contrastOf(QRgb one, QRgb other);

#endif
