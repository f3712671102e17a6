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

#endif
