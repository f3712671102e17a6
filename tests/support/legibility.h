// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef LEGIBILITY_H
#define LEGIBILITY_H

#include "support/showntexts.h"

#include <QStringList>

#include <functional>

class QWidget;

/// What one screen shows, or the field of it that has changed.
struct Screen {
    QString name;
    QVector<ShownText> texts;
    QVector<ShownText> headings; ///< of the table, when it is in front
    QStringList windowFaults;    ///< of its mnemonics and its size
};

/// Every screen of the real window in the language that is set. Needs the sandbox.
QVector<Screen> everyScreen();
/// The same in one of the shipped languages, looked at once in a process.
const QVector<Screen> &screensIn(const QString &language);

/// What a function finds on each of the screens, once each, with the language and the screen before it.
QStringList faultsIn(const QString &language, const QVector<Screen> &screens,
                     const std::function<QStringList(const Screen &)> &find);

/// What keeps an operator from reading. Each function gives one line a fault, with the field, the text, what
/// it needs and what it is given; nothing when all is well.

/// Texts that are cut, shortened or wrapped, told by their font's measures or by their pixels.
QStringList cutTexts(const QVector<ShownText> &texts);
/// Characters that no font of the tool has, in the font in which the text is drawn.
QStringList missingGlyphs(const QVector<ShownText> &texts);
/// Texts of one screen whose pixels come into one another's way.
QStringList overlappingTexts(const QVector<ShownText> &texts);
/// Texts that stand out less than WCAG 2 asks for texts of any size, but for those whose colours are fixed.
QStringList faintTexts(const QVector<ShownText> &texts);
/// Texts that have made their field larger or smaller, or that of another text, than it is with other texts:
/// on the same screen in another language. A question's box may be as large as it needs.
QStringList movedFields(const Screen &screen, const Screen &other);
/// Mnemonics that are missing or ambiguous in a question, or that stand anywhere else.
QStringList mnemonicFaults(const QWidget &window);
/// A window, or any of its widgets, that is not wholly on the screen.
QStringList beyondTheScreen(const QWidget &window);

/// The characters of the text that no font of the tool has, when it is drawn in this font.
QString missingCharacters(const QString &text, const QFont &font);

/// Whether the text's colours are not ours to choose: those of the form's buttons, white on two blues.
bool hasFixedColours(const ShownText &shown);

#endif
