// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/showntexts.h"

#include <QAbstractButton>
#include <QFontMetrics>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QListView>
#include <QMessageBox>
#include <QPainter>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <QTableView>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

/// What the fields are called; a widget that is not listed goes by its object name.
const QMap<QString, QString> fieldNames{
    {"label_3", "instruction"},
    {"label_5", "remaining"},
    {"timeout", "countdown"},
    {"label_2", "caption of the left list"},
    {"label1", "caption of the right list"},
    {"label_4", "arrows"},
    {"operationList", "left list"},
    {"selectedList", "right list"},
    {"confirmPb", "button Confirm"},
    {"cancelPb", "button Cancel"},
    {"pushButton", "button Details"},
    {"information", "information line"},
    {"tableView", "table"},
    {"label", "version"},
    {"qt_msgbox_label", "question"},
};
const QStringList columnNames{"name column", "status column", "outcome column", "operation column"};

// --- Pixels ---------------------------------------------------------------------------------------------

/// The light of each part of a colour, 0 to 255, by WCAG 2. Kept, because it is asked for every pixel.
std::array<double, 256> lightOfParts()
{
    std::array<double, 256> light{};
    for (int part = 0; part < 256; ++part) {
        const double share = part / 255.0;
        light[static_cast<size_t>(part)] =
            share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    }
    return light;
}

double luminanceOf(QRgb colour)
{
    static const std::array<double, 256> light = lightOfParts();
    const auto of = [](int part) { return light[static_cast<size_t>(part)]; };
    return 0.2126 * of(qRed(colour)) + 0.7152 * of(qGreen(colour)) + 0.0722 * of(qBlue(colour));
}

/// What the window has there, with everything that lies above it.
QImage pictureOf(QWidget &window, const QRect &area)
{
    return window.grab(area).toImage().convertToFormat(QImage::Format_RGB32);
}

/// A place of a widget, in its window.
QRect inWindow(const QWidget &widget, const QRect &place)
{
    return {widget.mapTo(widget.window(), place.topLeft()), place.size()};
}

/// The bounds of the pixels in which two pictures of the same size differ; in the pictures' coordinates.
QRect differenceOf(const QImage &one, const QImage &other, const QRect &area)
{
    QRect bounds;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (one.pixel(x, y) != other.pixel(x, y))
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

/// The contrast of a text's full colour, which is the pixel that stands out most, to every colour beneath the
/// text; the least of them.
double contrastBetween(const QImage &with, const QImage &without, const QRect &ink)
{
    QRgb full = 0;
    double most = 0;
    for (int y = ink.top(); y <= ink.bottom(); ++y) {
        for (int x = ink.left(); x <= ink.right(); ++x) {
            const double contrast = contrastOf(with.pixel(x, y), without.pixel(x, y));
            if (with.pixel(x, y) != without.pixel(x, y) && contrast > most) {
                most = contrast;
                full = with.pixel(x, y);
            }
        }
    }
    double least = most;
    for (int y = ink.top(); y <= ink.bottom(); ++y) {
        for (int x = ink.left(); x <= ink.right(); ++x)
            least = std::min(least, contrastOf(full, without.pixel(x, y)));
    }
    return least;
}

/// Puts into a text what its pixels are, from a picture with it and one without it. The area is the text's
/// own in the pictures, which begin at this place of the screen.
void measureInk(ShownText &text, const QImage &with, const QImage &without, const QRect &area, QPoint origin)
{
    const QRect ink = differenceOf(with, without, area.intersected(with.rect()));
    text.contrast = ink.isEmpty() ? 0 : contrastBetween(with, without, ink);
    text.ink = ink.translated(origin);
}

/// The font with everything that it has inherited made its own. A painter takes the rest from what it paints
/// on.
QFont wholeFont(const QFont &font)
{
    QFont whole(font.family());
    if (font.pixelSize() > 0)
        whole.setPixelSize(font.pixelSize());
    else
        whole.setPointSizeF(font.pointSizeF());
    whole.setWeight(font.weight());
    whole.setItalic(font.italic());
    return whole;
}

/// The ink of a text that has all the room that it wants.
QSize inkOf(const QString &text, const QFont &font, int flags)
{
    QImage image(QFontMetrics(font).size(0, text) + QSize(40, 40), QImage::Format_RGB32);
    image.fill(Qt::white);
    const QImage blank = image;
    QPainter painter(&image);
    painter.setFont(font);
    painter.drawText(image.rect(), flags, text);
    painter.end();
    return differenceOf(image, blank, image.rect()).size();
}

// --- Texts ----------------------------------------------------------------------------------------------

ShownText textOf(const QString &field, const QString &text, const QFont &inherited, const QSize &given,
                 int flags)
{
    const QFont font = wholeFont(inherited);
    return {field, text, font, neededSize(text, font), given, {}, inkOf(text, font, flags), 0};
}

/// Takes the text away for as long as it takes to look beneath it. Nothing moves meanwhile, because the
/// layout hears of it only from the event loop.
template <class Labelled>
void measureInkOf(ShownText &shown, Labelled &widget)
{
    const QRect area = inWindow(widget, widget.rect());
    const QImage with = pictureOf(*widget.window(), area);
    const QString text = widget.text();
    widget.setText(QString());
    const QImage without = pictureOf(*widget.window(), area);
    widget.setText(text);
    measureInk(shown, with, without, with.rect(), area.topLeft());
}

/// What a label's text may take. A question's label is as large as its text, and the toolkit wraps it when
/// the box would be wider than half the screen.
QSize roomOf(const QLabel &label)
{
    QSize room = label.contentsRect().size();
    if (qobject_cast<const QMessageBox *>(label.window()))
        room.setWidth(screenSize.width() / 2 - (label.window()->width() - room.width()));
    return room;
}

/// What a button may take. Below the lists it would grow with its text, and leave it no space at its sides;
/// it has what the form gives it. In a question the box grows with it.
QSize roomOf(const QAbstractButton &button)
{
    QSize room = button.contentsRect().size();
    if (qobject_cast<const QMessageBox *>(button.window()))
        room.rwidth() += screenSize.width() - button.window()->width();
    else if (button.minimumWidth() > 0)
        room.setWidth(button.minimumWidth());
    return room;
}

ShownText labelText(QLabel &label)
{
    ShownText shown = textOf(fieldOf(label), label.text(), label.font(), roomOf(label),
                             static_cast<int>(label.alignment()));
    measureInkOf(shown, label);
    return shown;
}

ShownText buttonText(QAbstractButton &button)
{
    ShownText shown = textOf(fieldOf(button), button.text(), button.font(), roomOf(button),
                             Qt::AlignCenter | Qt::TextShowMnemonic);
    shown.text.remove('&');
    shown.needed = neededSize(shown.text, shown.font);
    measureInkOf(shown, button);
    return shown;
}

ShownText cellText(const QAbstractItemView &view, const QModelIndex &index)
{
    const bool isTable = qobject_cast<const QTableView *>(&view);
    const QString field = isTable ? columnNames.value(index.column()) : fieldOf(view);
    const QRect place = view.visualRect(index).intersected(view.viewport()->rect());
    ShownText shown = textOf(field, index.data().toString(), view.font(), place.size(), Qt::AlignCenter);
    // With the space that the delegate leaves at its sides; what is beyond is shortened or wrapped.
    shown.needed.setWidth(view.sizeHintForIndex(index).width());
    return shown;
}

/// The indexes of a view that stand in it whole and have a text.
QVector<QModelIndex> cellsOf(const QAbstractItemView &view)
{
    QVector<QModelIndex> cells;
    for (int row = 0; view.model() && row < view.model()->rowCount(); ++row) {
        for (int column = 0; column < view.model()->columnCount(); ++column) {
            const QModelIndex index = view.model()->index(row, column);
            const QRect place = view.visualRect(index);
            const bool isWhole = place.top() >= 0 && place.bottom() <= view.viewport()->rect().bottom();
            if (isWhole && !index.data().toString().isEmpty())
                cells.append(index);
        }
    }
    return cells;
}

/// The picture of a view's inside with nothing in its cells. The view does not hear of it.
QImage emptiedPictureOf(QAbstractItemView &view, const QRect &area)
{
    auto *const model = qobject_cast<QStandardItemModel *>(view.model());
    if (!model)
        qFatal("%s has a model of another kind", qPrintable(view.objectName()));
    const QSignalBlocker unheard(model);
    const QVector<QModelIndex> cells = cellsOf(view);
    QStringList texts;
    for (const QModelIndex &cell : cells) {
        texts.append(cell.data().toString());
        model->setData(cell, QString());
    }
    const QImage picture = pictureOf(*view.window(), area);
    for (int i = 0; i < cells.size(); ++i)
        model->setData(cells.at(i), texts.at(i));
    return picture;
}

QVector<ShownText> viewTexts(QAbstractItemView &view)
{
    QVector<ShownText> texts;
    const QVector<QModelIndex> cells = cellsOf(view);
    if (cells.isEmpty())
        return texts;
    const QRect area = inWindow(*view.viewport(), view.viewport()->rect());
    const QImage with = pictureOf(*view.window(), area);
    const QImage without = emptiedPictureOf(view, area);
    for (const QModelIndex &cell : cells) {
        texts.append(cellText(view, cell));
        measureInk(texts.last(), with, without, view.visualRect(cell), area.topLeft());
    }
    return texts;
}

/// Refuses to overlook a text.
void expectNoText(const QWidget &widget)
{
    for (const char *property : {"text", "title", "plainText", "currentText"}) {
        if (!widget.isWindow() && !widget.property(property).toString().isEmpty())
            qFatal("nobody measures the text of a %s", widget.metaObject()->className());
    }
}

} // namespace

QString fieldOf(const QWidget &widget)
{
    const auto *box = qobject_cast<QMessageBox *>(widget.window());
    for (const auto answer : {QMessageBox::Yes, QMessageBox::No}) {
        if (box && box->button(answer) == &widget)
            return answer == QMessageBox::Yes ? QString("button Yes") : QString("button No");
    }
    return fieldNames.value(widget.objectName(), widget.objectName());
}

bool isInFront(const QWidget &widget)
{
    const QWidget *found = widget.window()->childAt(inWindow(widget, widget.rect()).center());
    return widget.isVisible() && found && (found == &widget || widget.isAncestorOf(found));
}

QVector<ShownText> textsOf(QWidget &root)
{
    QVector<ShownText> texts;
    const QList<QWidget *> fields = root.findChildren<QWidget *>() << &root;
    for (QWidget *widget : fields) {
        if (!isInFront(*widget))
            continue;
        if (auto *label = qobject_cast<QLabel *>(widget)) {
            if (!label->text().isEmpty())
                texts.append(labelText(*label));
        } else if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
            if (!button->text().isEmpty())
                texts.append(buttonText(*button));
        } else if (auto *view = qobject_cast<QAbstractItemView *>(widget)) {
            texts += viewTexts(*view);
        } else {
            expectNoText(*widget);
        }
    }
    return texts;
}

QVector<ShownText> headingsOf(const QTableView &table)
{
    QVector<ShownText> texts;
    const QHeaderView *header = table.horizontalHeader();
    for (int column = 0; column < table.model()->columnCount(); ++column) {
        const QString text = table.model()->headerData(column, Qt::Horizontal).toString();
        const QSize given(table.columnWidth(column), header->sizeHint().height());
        ShownText shown = textOf("heading of the " + columnNames.value(column), text, header->font(), given,
                                 Qt::AlignCenter);
        shown.needed.setWidth(header->sectionSizeHint(column));
        shown.isHidden = true;
        texts.append(shown);
    }
    return texts;
}

QSize neededSize(const QString &text, const QFont &font)
{
    return {QFontMetrics(font).size(0, text).width(), inkOf(text, font, Qt::AlignCenter).height()};
}

double contrastOf(QRgb one, QRgb other)
{
    const double first = luminanceOf(one) + 0.05;
    const double second = luminanceOf(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}
