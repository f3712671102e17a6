// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef INITEXT_H
#define INITEXT_H

#include "reading/inifile.h"

// How a text is written in a settings file so that the reader gives it back, and what a written one was meant
// to be.

/// The line that gives `value` back unchanged, whatever it holds but a special value (see below): quoted,
/// with everything escaped that the reader would change.
QString iniLine(const QString &key, const QString &value);

/// A key as it is written, with escapes for all that the reader would change.
QString writtenKey(const QString &key);

/// Bytes as UTF-8, beyond a zero byte too.
QString textOf(const QByteArray &bytes);

/// The text that the author meant: UTF-8 that the reader took in byte by byte becomes characters again.
QString intendedText(const IniFile &file, const DecodedValue &value);

/// The value's text if everything that is written in it were to reach the tool: `raw` is taken as the inside
/// of quotes, its own quotation marks included.
QString textOfRaw(const QByteArray &raw, bool keepQuotes);

/// A value as it is written, with two backslashes for each that the reader would take for an escape but that
/// was hardly meant as one, and escapes that end where they were meant to.
QByteArray withLiteralBackslashes(const QByteArray &raw);

/// A backslash and what it swallows.
struct Escape {
    int at;
    QByteArray text; ///< with the backslash
    bool isMeant;    ///< of one that an author writes: for a backslash, a quotation mark or a letter's number
    bool runsOn;     ///< more digits than a letter has
};

QVector<Escape> escapesIn(const QByteArray &raw);

/// Whether the reader takes a value of this form for something else than a text.
bool isSpecialValue(const QString &text);

#endif
