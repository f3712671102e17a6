// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef LEGIBILITYTABLES_H
#define LEGIBILITYTABLES_H

#include "support/legibility.h"

#include <QMap>

/// What is published of the measures, as tables of a Markdown document. Millimetres are those of a screen of
/// 800 x 480 pixels with a diagonal of 7 inches.

/// The fields that are filled most, over all languages; the fullest first.
QString tightestFields(const QMap<QString, QVector<Screen>> &byLanguage, int count);

/// The height of a capital in every kind of text, beside what it would be at this resolution.
QString capitalHeights(const QVector<Screen> &screens, int otherDotsPerInch);

/// The height of a capital in a font, as it is drawn.
double capitalHeightMm(const QFont &font);
/// The height that is seen from a distance under an angle in minutes of arc.
double heightSeenMm(double minutes, int distanceMm);
/// What ISO 9241-303 asks of characters, seen from these distances.
QString recommendedHeights(const QVector<int> &distancesMm);

/// What an operator touches, and how large it is.
struct TouchTarget {
    QString name;
    QSize size; ///< in pixels
};

/// Those of a window at this moment: buttons, rows of lists, scroll bars.
QVector<TouchTarget> touchTargetsOf(QWidget &window);
QString touchTargetTable(const QVector<TouchTarget> &targets);

#endif
