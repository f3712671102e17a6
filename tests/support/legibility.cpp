// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/legibility.h"

#include "support/languages.h"
#include "support/screentour.h"

#include "debuglines.h"

#include <QAbstractButton>
#include <QDir>
#include <QGlyphRun>
#include <QLabel>
#include <QMessageBox>
#include <QRawFont>
#include <QTableView>
#include <QTextLayout>

namespace
{

// What WCAG 2 asks for texts of any size.
constexpr double neededContrast = 4.5;

// Where a glyph begins between two pixels its edge may take one more of them.
constexpr int edge = 2;

QString sizeText(const QSize &size)
{
    return QString("%1 x %2 pixels").arg(size.width()).arg(size.height());
}

QString described(const ShownText &shown)
{
    return QString("%1: \"%2\"").arg(shown.field, shown.text.simplified());
}

bool isLarger(const QSize &size, const QSize &limit)
{
    return size.width() > limit.width() || size.height() > limit.height();
}

/// The families of the font files that the tool brings.
QStringList familiesOfTheTool()
{
    QStringList families;
    for (const QFileInfo &file : QDir(ZUL_SHARE "/fonts").entryInfoList(QDir::Files))
        families.append(QRawFont(file.filePath(), 12).familyName());
    return families;
}

bool hasGlyphs(const QString &text, const QFont &font)
{
    static const QStringList families = familiesOfTheTool();
    QTextLayout layout(QString(text).remove('\n'), font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    for (const QGlyphRun &run : layout.glyphRuns()) {
        if (run.glyphIndexes().contains(0) || !families.contains(run.rawFont().familyName()))
            return false;
    }
    return true;
}

/// The character as its number too, because what has no glyph may not show here either.
QString numbered(const QString &character)
{
    return QString("%1 (U+%2)").arg(character).arg(character.toUcs4().first(), 4, 16, QLatin1Char('0'));
}

QString mnemonicOf(const QString &text)
{
    return QKeySequence::mnemonic(text).toString();
}

} // namespace

QVector<Screen> everyScreen()
{
    const DebugLines unheard; // so that what is told of a fault stands alone
    QVector<Screen> screens;
    ScreenTour([&screens](const QString &name, QWidget &shown) {
        Screen screen{name, textsOf(shown), {}, {}};
        if (shown.isWindow())
            screen.windowFaults = mnemonicFaults(shown) + beyondTheScreen(shown);
        const auto *table = shown.findChild<QTableView *>();
        if (table && isInFront(*table))
            screen.headings = headingsOf(*table);
        screens.append(screen);
    }).go();
    return screens;
}

const QVector<Screen> &screensIn(const QString &language)
{
    static QMap<QString, QVector<Screen>> known;
    if (!known.contains(language)) {
        const InLanguage set(language);
        known.insert(language, everyScreen());
    }
    return known[language];
}

QStringList faultsIn(const QString &language, const QVector<Screen> &screens,
                     const std::function<QStringList(const Screen &)> &find)
{
    QStringList faults;
    for (const Screen &screen : screens) {
        for (const QString &fault : find(screen))
            faults.append(QString("%1, %2: %3").arg(language, screen.name, fault));
    }
    faults.removeDuplicates();
    return faults;
}

QStringList cutTexts(const QVector<ShownText> &texts)
{
    QStringList faults;
    for (const ShownText &shown : texts) {
        if (isLarger(shown.needed, shown.given))
            faults.append(QString("%1 needs %2, has %3")
                              .arg(described(shown), sizeText(shown.needed), sizeText(shown.given)));
        else if (!shown.isHidden && isLarger(shown.ink.size(), shown.wholeInk + QSize(edge, edge)))
            faults.append(QString("%1 is wrapped or in another font: it needs %2 for its letters, takes %3")
                              .arg(described(shown), sizeText(shown.wholeInk), sizeText(shown.ink.size())));
        else if (!shown.isHidden && isLarger(shown.wholeInk, shown.ink.size() + QSize(edge, edge)))
            faults.append(QString("%1 needs %2 for its letters, %3 are to be seen")
                              .arg(described(shown), sizeText(shown.wholeInk), sizeText(shown.ink.size())));
        else if (!shown.isHidden && !QRect(QPoint(), screenSize).contains(shown.ink))
            faults.append(QString("%1 reaches beyond the screen").arg(described(shown)));
    }
    return faults;
}

QString missingCharacters(const QString &text, const QFont &font)
{
    QString missing;
    if (hasGlyphs(text, font)) // which is as fast for all of them as for one
        return missing;
    for (const uint number : text.toUcs4()) {
        const QString character = QString::fromUcs4(&number, 1);
        if (!missing.contains(character) && !hasGlyphs(character, font))
            missing += character;
    }
    return missing;
}

QStringList missingGlyphs(const QVector<ShownText> &texts)
{
    QStringList faults;
    for (const ShownText &shown : texts) {
        for (const uint number : missingCharacters(shown.text, shown.font).toUcs4())
            faults.append(QString("%1 needs a glyph for %2, no font of the tool has one")
                              .arg(described(shown), numbered(QString::fromUcs4(&number, 1))));
    }
    return faults;
}

QStringList overlappingTexts(const QVector<ShownText> &texts)
{
    QStringList faults;
    for (int i = 0; i < texts.size(); ++i) {
        for (int k = i + 1; k < texts.size(); ++k) {
            const QRect shared = texts.at(i).ink.intersected(texts.at(k).ink);
            if (!shared.isEmpty())
                faults.append(
                    QString("%1 and %2 share %3")
                        .arg(described(texts.at(i)), described(texts.at(k)), sizeText(shared.size())));
        }
    }
    return faults;
}

QStringList faintTexts(const QVector<ShownText> &texts)
{
    QStringList faults;
    for (const ShownText &shown : texts) {
        if (shown.contrast < neededContrast && !hasFixedColours(shown))
            faults.append(QString("%1 needs a contrast of %2 : 1, has %3 : 1")
                              .arg(described(shown))
                              .arg(neededContrast)
                              .arg(shown.contrast, 0, 'f', 2));
    }
    return faults;
}

bool hasFixedColours(const ShownText &shown)
{
    static const QStringList buttons{"button Confirm", "button Cancel", "button Details"};
    return buttons.contains(shown.field);
}

QStringList movedFields(const Screen &screen, const Screen &other)
{
    static const QStringList fieldsOfBoxes{"question", "button Yes", "button No"};
    QStringList faults;
    if (screen.texts.size() != other.texts.size())
        faults.append(QString("%1 texts are shown, %2 in the other language")
                          .arg(screen.texts.size())
                          .arg(other.texts.size()));
    for (int i = 0; i < qMin(screen.texts.size(), other.texts.size()); ++i) {
        const ShownText &shown = screen.texts.at(i);
        if (shown.given != other.texts.at(i).given && !fieldsOfBoxes.contains(shown.field))
            faults.append(
                QString("%1 has %2, its field is %3")
                    .arg(described(shown), sizeText(shown.given), sizeText(other.texts.at(i).given)));
    }
    return faults;
}

QStringList mnemonicFaults(const QWidget &window)
{
    QStringList faults;
    QStringList taken;
    const bool isQuestion = qobject_cast<const QMessageBox *>(&window);
    for (const QAbstractButton *button : window.findChildren<QAbstractButton *>()) {
        const QString mnemonic = mnemonicOf(button->text());
        if (isQuestion && mnemonic.isEmpty())
            faults.append(QString("\"%1\" needs a mnemonic, has none").arg(button->text()));
        else if (!isQuestion && button->text().contains('&'))
            faults.append(QString("\"%1\" needs no mnemonic, has one").arg(button->text()));
        else if (isQuestion && taken.contains(mnemonic))
            faults.append(QString("\"%1\" has the mnemonic of another button").arg(button->text()));
        taken.append(mnemonic);
    }
    for (const QLabel *label : window.findChildren<QLabel *>()) {
        if (label->text().contains('&'))
            faults.append(QString("\"%1\" needs no mnemonic, has one").arg(label->text()));
    }
    return faults;
}

QStringList beyondTheScreen(const QWidget &window)
{
    QStringList faults;
    // The window fills the screen, which has no frames of windows; only the box has to leave room for one.
    const bool isBox = qobject_cast<const QMessageBox *>(&window);
    const QSize needed = isBox ? window.frameGeometry().size() : window.size();
    if (isLarger(needed, screenSize))
        faults.append(
            QString("the window needs %1, the screen has %2").arg(sizeText(needed), sizeText(screenSize)));
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        const QRect place(widget->mapTo(&window, QPoint()), widget->size());
        const bool isText =
            qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget);
        if (isText && widget->isVisible() && !window.rect().contains(place))
            faults.append(QString("%1 reaches beyond its window").arg(widget->objectName()));
    }
    return faults;
}
