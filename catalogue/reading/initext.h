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

/// Whether the reader takes a value of this form for something else than a text.
bool isSpecialValue(const QString &text);

#endif
