// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/legibilitytables.h"

#include "support/screentour.h"

#include <QAbstractButton>
#include <QListView>
#include <QScrollBar>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace
{

double millimetresOf(double pixels)
{
    const double diagonal = std::hypot(screenSize.width(), screenSize.height());
    return pixels * 7 * 25.4 / diagonal;
}

QString number(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

QString table(const QStringList &heading, const QVector<QStringList> &rows)
{
    QString lines = "| " + heading.join(" | ") + " |\n|" + QString("---|").repeated(heading.size()) + "\n";
    for (const QStringList &row : rows)
        lines += "| " + row.join(" | ") + " |\n";
    return lines;
}

// --- The tightest fields --------------------------------------------------------------------------------

struct Filling {
    QString field;
    QString text;
    int needed;
    int given;
    QStringList languages;

    /// The fullest first; then by name, so that the order is always the same.
    bool operator<(const Filling &other) const
    {
        const int mine = needed * other.given;
        const int its = other.needed * given;
        return mine != its ? mine > its : std::tie(field, text) < std::tie(other.field, other.text);
    }
};

/// Adds a text; one that several languages share becomes one line.
void addTo(QVector<Filling> &fillings, const ShownText &shown, const QString &language)
{
    const Filling added{
        shown.field, shown.text.simplified(), shown.needed.width(), shown.given.width(), {language}};
    for (Filling &filling : fillings) {
        if (filling.field == added.field && filling.text == added.text && filling.needed == added.needed) {
            if (!filling.languages.contains(language))
                filling.languages.append(language);
            return;
        }
    }
    fillings.append(added);
}

// --- Heights --------------------------------------------------------------------------------------------

int capitalPixels(const QFont &font)
{
    return neededSize("H", font).height();
}

QString heightOf(const QFont &font)
{
    return QString("%1 px, %2 mm").arg(capitalPixels(font)).arg(number(capitalHeightMm(font), 1));
}

/// The font as the toolkit would have it at another resolution; a size in pixels stays what it is.
QFont atResolution(QFont font, int dotsPerInch)
{
    if (font.pointSizeF() > 0)
        font.setPixelSize(qRound(font.pointSizeF() * dotsPerInch / 72));
    return font;
}

QString sizeOf(const QFont &font)
{
    return font.pointSizeF() > 0 ? QString("%1 pt").arg(font.pointSizeF())
                                 : QString("%1 px").arg(font.pixelSize());
}

} // namespace

QString tightestFields(const QMap<QString, QVector<Screen>> &byLanguage, int count)
{
    QVector<Filling> fillings;
    for (auto language = byLanguage.begin(); language != byLanguage.end(); ++language) {
        for (const Screen &screen : language.value()) {
            for (const ShownText &shown : screen.texts + screen.headings) {
                if (!ScreenTour::operationNames().contains(shown.text)) // which are the catalogue's
                    addTo(fillings, shown, language.key());
            }
        }
    }
    std::sort(fillings.begin(), fillings.end());
    QVector<QStringList> rows;
    for (const Filling &filling : fillings.mid(0, count)) {
        const bool isEverywhere = filling.languages.size() == byLanguage.size();
        rows.append({filling.field, isEverywhere ? QString("all") : filling.languages.join(", "),
                     filling.text, QString::number(filling.needed), QString::number(filling.given),
                     number(100.0 * filling.needed / filling.given, 1)});
    }
    return table({"field", "language", "text", "needs, px", "has, px", "%"}, rows);
}

QString capitalHeights(const QVector<Screen> &screens, int otherDotsPerInch)
{
    QMap<QStringList, QStringList> fields; // by what they have in common
    for (const Screen &screen : screens) {
        for (const ShownText &shown : screen.texts) {
            QStringList &alike = fields[{sizeOf(shown.font), heightOf(shown.font),
                                         heightOf(atResolution(shown.font, otherDotsPerInch))}];
            if (!alike.contains(shown.field))
                alike.append(shown.field);
        }
    }
    QVector<QStringList> rows;
    for (auto row = fields.begin(); row != fields.end(); ++row)
        rows.append(QStringList(row.value().join(", ")) + row.key());
    return table(
        {"text", "size in the form", "capital", QString("at a resolution of %1").arg(otherDotsPerInch)},
        rows);
}

double capitalHeightMm(const QFont &font)
{
    return millimetresOf(capitalPixels(font));
}

double heightSeenMm(double minutes, int distanceMm)
{
    return 2 * distanceMm * std::tan(qDegreesToRadians(minutes / 60) / 2);
}

QString recommendedHeights(const QVector<int> &distancesMm)
{
    QVector<QStringList> rows;
    for (const int distance : distancesMm)
        rows.append({QString("%1 mm").arg(distance), number(heightSeenMm(16, distance), 1) + " mm",
                     QString("%1 to %2 mm")
                         .arg(number(heightSeenMm(20, distance), 1), number(heightSeenMm(22, distance), 1))});
    return table({"seen from", "at least, 16'", "preferred, 20' to 22'"}, rows);
}

QVector<TouchTarget> touchTargetsOf(QWidget &window)
{
    QVector<TouchTarget> targets;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (!isInFront(*widget))
            continue;
        const auto *list = qobject_cast<QListView *>(widget);
        if (list && list->model() && list->model()->rowCount() > 0)
            targets.append(
                {"row of the " + fieldOf(*list), list->visualRect(list->model()->index(0, 0)).size()});
        else if (qobject_cast<QScrollBar *>(widget))
            targets.append(
                {"scroll bar of the " + fieldOf(*widget->parentWidget()->parentWidget()), widget->size()});
        else if (qobject_cast<QAbstractButton *>(widget) && !fieldOf(*widget).isEmpty())
            targets.append({fieldOf(*widget), widget->size()});
    }
    return targets;
}

QString touchTargetTable(const QVector<TouchTarget> &targets)
{
    QVector<QStringList> rows;
    for (const TouchTarget &target : targets)
        rows.append({target.name, QString("%1 x %2").arg(target.size.width()).arg(target.size.height()),
                     QString("%1 x %2").arg(number(millimetresOf(target.size.width()), 1),
                                            number(millimetresOf(target.size.height()), 1))});
    return table({"what is touched", "pixels", "millimetres"}, rows);
}
