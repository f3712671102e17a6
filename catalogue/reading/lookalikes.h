// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef LOOKALIKES_H
#define LOOKALIKES_H

#include <QString>

/// The Latin letter, or the character of a plain keyboard, that a character is drawn like; itself where there
/// is none.
QChar drawnLike(QChar character);

/// What is left of a text for the eye: letters of other alphabets that are drawn like Latin ones as those, of
/// any width, one kind of blank, dash and apostrophe, and nothing for what is not drawn. Two texts of which
/// this is the same cannot be told apart.
QString drawn(const QString &text);

/// Nothing is drawn for it.
bool isInvisible(QChar character);

/// It looks like a blank, but separates nothing.
bool isOtherBlank(QChar character);

/// The ASCII character that was meant by one of another keyboard; null where it is none, or is one itself.
QChar asciiFor(QChar character);

/// A text as a plain keyboard writes it: with the characters that were meant, and without those that are not
/// drawn.
QString plain(const QString &text);

/// A quotation mark that the reader does not take for one.
bool isOtherQuote(QChar character);

/// Whether a value stands between two of them, which are meant for its own.
bool isInOtherQuotes(const QString &text);

/// What a character is called, with its number.
QString named(QChar character);

#endif
