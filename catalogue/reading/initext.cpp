// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/initext.h"

#include <QStringList>

#include <cstring>

QString iniLine(const QString &key, const QString &value)
{
    QString line;
    line.reserve(key.size() + value.size() + value.size() / 4 + 4);
    line.append(key).append(QLatin1String("=\""));
    bool afterEscape = false;
    for (const QChar character : value) {
        const ushort unit = character.unicode();
        const bool isMark = unit == '"' || unit == '\\';
        const bool joins = afterEscape && unit < 0x80 && isHexDigit(static_cast<char>(unit));
        afterEscape = !isMark && (unit < 0x20 || unit >= 0x7f || joins);
        if (afterEscape)
            line.append(QLatin1String("\\x")).append(QString::number(unit, 16));
        else if (isMark)
            line.append('\\').append(character);
        else
            line.append(character);
    }
    return line.append('"');
}

QString writtenKey(const QString &key)
{
    QString written;
    for (const QChar character : key) {
        const ushort unit = character.unicode();
        if (character.isLetterOrNumber() ? unit < 0x80 : unit == '_' || unit == '-' || unit == '.')
            written += character;
        else if (unit < 0x100)
            written += QString("%%1").arg(unit, 2, 16, QLatin1Char('0'));
        else
            written += QString("%U%1").arg(unit, 4, 16, QLatin1Char('0'));
    }
    return written;
}

QString textOf(const QByteArray &bytes)
{
    // Without its size it would end at a zero byte. A mark at the beginning is one of the text, too.
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size());
    return bytes.startsWith("\xef\xbb\xbf") && !text.startsWith(QChar(QChar::ByteOrderMark))
               ? QChar(QChar::ByteOrderMark) + text
               : text;
}

QString intendedText(const IniFile &file, const DecodedValue &value)
{
    const QByteArray &bytes = file.bytes();
    const bool isByBytes = !file.hasByteOrderMark();
    const int size = value.text.size();
    QString meant;
    QByteArray run;
    run.reserve(size);
    for (int i = 0; i <= size; ++i) {
        if (isByBytes && i < size && bytes.at(value.at.at(i)) != '\\') {
            run += bytes.at(value.at.at(i));
            continue;
        }
        const QString decoded = textOf(run);
        meant += decoded.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(run) : decoded;
        run.resize(0); // keeps its memory
        if (i < size)
            meant += value.text.at(i);
    }
    return meant;
}

QString textOfRaw(const QByteArray &raw, bool keepQuotes)
{
    QByteArray quoted;
    for (int i = 0; i < raw.size(); ++i) {
        const char byte = raw.at(i);
        if (byte == '\\' && i + 1 < raw.size())
            quoted += raw.mid(i++, 2);
        else if (byte == '"')
            quoted += keepQuotes ? "\\\"" : "";
        else
            quoted += byte;
    }
    const IniFile reread("key=\"" + quoted + '"');
    return reread.entries().isEmpty() ? QString() : intendedText(reread, reread.entries().first().value);
}

QVector<Escape> escapesIn(const QByteArray &raw)
{
    constexpr int longest = 6; // the backslash, "x" and four digits
    QVector<Escape> found;
    for (int i = 0; i < raw.size(); ++i) {
        if (raw.at(i) != '\\')
            continue;
        int end = qMin(i + 2, raw.size());
        const bool isNumber = raw.mid(i + 1, 1) == "x" && i + 2 < raw.size() && isHexDigit(raw.at(i + 2));
        while (isNumber && end < raw.size() && isHexDigit(raw.at(end)))
            ++end;
        const QByteArray text = raw.mid(i, end - i);
        const bool isMeant = isNumber || (text.size() > 1 && strchr("\\\"\n\r", text.at(1)));
        found.append({i, text, isMeant, text.size() > longest});
        i = end - 1;
    }
    return found;
}

QByteArray withLiteralBackslashes(const QByteArray &raw)
{
    constexpr int longest = 6;
    QByteArray meant;
    int at = 0;
    for (const Escape &escape : escapesIn(raw)) {
        meant += raw.mid(at, escape.at - at);
        meant += escape.isMeant ? "" : "\\";
        meant += escape.text.left(longest);
        for (const char digit : escape.text.mid(longest))
            meant += "\\x" + QByteArray::number(digit, 16);
        at = escape.at + escape.text.size();
    }
    return meant + raw.mid(at);
}

bool isSpecialValue(const QString &text)
{
    if (text.startsWith("@@") || text == "@Invalid()")
        return true;
    if (!text.startsWith('@') || !text.endsWith(')'))
        return false;
    const int bracket = text.indexOf('(');
    const QString kind = text.mid(1, bracket - 1);
    if (QStringList{"ByteArray", "String", "Variant", "DateTime"}.contains(kind))
        return true;
    // With another number of numbers they are texts. A blank ends a number, and so does every bracket.
    const QString inside = text.mid(bracket + 1);
    const int numbers = inside.count(' ') + inside.count(')');
    return kind == "Rect" ? numbers == 4 : (kind == "Size" || kind == "Point") && numbers == 2;
}
