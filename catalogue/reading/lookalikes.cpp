// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/lookalikes.h"

#include <QHash>
#include <QSet>

#include <algorithm>

QChar drawnLike(QChar character)
{
    static const QHash<ushort, char> letters = {
        // Cyrillic, Greek, one of Turkish, and one of phonetics
        {0x0131, 'i'}, {0x0251, 'a'}, {0x0391, 'A'}, {0x0392, 'B'}, {0x0395, 'E'}, {0x0396, 'Z'},
        {0x0397, 'H'}, {0x0399, 'I'}, {0x039a, 'K'}, {0x039c, 'M'}, {0x039d, 'N'}, {0x039f, 'O'},
        {0x03a1, 'P'}, {0x03a4, 'T'}, {0x03a5, 'Y'}, {0x03a7, 'X'}, {0x03b1, 'a'}, {0x03bd, 'v'},
        {0x03bf, 'o'}, {0x03c1, 'p'}, {0x03f3, 'j'}, {0x0405, 'S'}, {0x0406, 'I'}, {0x0408, 'J'},
        {0x0410, 'A'}, {0x0412, 'B'}, {0x0415, 'E'}, {0x041a, 'K'}, {0x041c, 'M'}, {0x041d, 'H'},
        {0x041e, 'O'}, {0x0420, 'P'}, {0x0421, 'C'}, {0x0422, 'T'}, {0x0423, 'Y'}, {0x0425, 'X'},
        {0x0430, 'a'}, {0x0435, 'e'}, {0x043e, 'o'}, {0x0440, 'p'}, {0x0441, 'c'}, {0x0443, 'y'},
        {0x0445, 'x'}, {0x0455, 's'}, {0x0456, 'i'}, {0x0458, 'j'}, {0x0475, 'v'}, {0x04ae, 'Y'},
        {0x04bb, 'h'}, {0x04c0, 'I'}, {0x04cf, 'l'}, {0x0501, 'd'}, {0x051b, 'q'}, {0x051d, 'w'}};
    const ushort code = character.unicode();
    if (code < 0x80)
        return character;
    if (letters.contains(code))
        return QLatin1Char(letters.value(code));
    if (character.category() == QChar::Punctuation_Dash || code == 0x2212)
        return '-';
    if (code == 0x2018 || code == 0x2019 || code == 0x02bc || code == 0x2032)
        return '\'';
    return character.isSpace() ? QChar(' ') : character;
}

QString drawn(const QString &text)
{
    const bool isAscii =
        std::all_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < 0x80; });
    QString seen;
    for (const QChar character : isAscii ? text : text.normalized(QString::NormalizationForm_KC)) {
        const QChar::Category category = character.category();
        const bool isDrawn =
            !isInvisible(character) && (category != QChar::Other_Control || character.isSpace());
        if (isDrawn)
            seen += drawnLike(character);
    }
    // Nobody sees which is which of these three in a face without serifs.
    for (QChar &character : seen)
        character = character == 'I' || character == '|' ? QChar('l') : character;
    return seen.simplified();
}

namespace
{

QString codeOf(QChar character)
{
    return "U+" + QString::number(character.unicode(), 16).toUpper().rightJustified(4, '0');
}

} // namespace

bool isInvisible(QChar character)
{
    // Letters and marks of which nothing is drawn.
    static const QSet<ushort> fillers = {0x034f, 0x115f, 0x1160, 0x17b4, 0x17b5, 0x3164, 0xffa0};
    const ushort code = character.unicode();
    if (code > 0x1f && code < 0x7f)
        return false;
    if (code < 0x80) // what a terminal obeys, and no window draws
        return code != 0 && !character.isSpace();
    const QChar::Category category = character.category();
    const bool isVariation = code >= 0xfe00 && code <= 0xfe0f;
    return category == QChar::Other_Format || category == QChar::Separator_Line
           || category == QChar::Separator_Paragraph || isVariation || fillers.contains(code)
           || (category == QChar::Other_Control && !character.isSpace());
}

bool isOtherBlank(QChar character)
{
    return character.unicode() >= 0x80 && character.isSpace() && !isInvisible(character);
}

QChar asciiFor(QChar character)
{
    if (character.unicode() < 0x80)
        return QChar();
    static const QHash<ushort, char> others = {
        {0x00b4, '\''}, {0x02b9, '\''}, {0x02ba, '"'},  {0x02bc, '\''}, {0x02cb, '`'},  {0x060c, ','},
        {0x061b, ';'},  {0x2018, '\''}, {0x2019, '\''}, {0x201a, '\''}, {0x201b, '\''}, {0x2032, '\''},
        {0x2033, '"'},  {0x2044, '/'},  {0x2212, '-'},  {0x2215, '/'},  {0x275b, '\''}, {0x275c, '\''},
        {0x275d, '"'},  {0x275e, '"'},  {0x3001, ','},  {0x3002, '.'},  {0x300c, '"'},  {0x300d, '"'},
        {0x300e, '"'},  {0x300f, '"'},  {0x3010, '['},  {0x3011, ']'},  {0x3014, '['},  {0x3015, ']'},
        {0x301d, '"'},  {0x301e, '"'},  {0x301f, '"'},  {0xff61, '.'},  {0xff62, '"'},  {0xff63, '"'}};
    if (others.contains(character.unicode()))
        return QLatin1Char(others.value(character.unicode()));
    const QString meant = QString(character).normalized(QString::NormalizationForm_KC);
    const bool isPlain = meant.size() == 1 && meant.at(0).unicode() > ' ' && meant.at(0).unicode() < 0x7f;
    if (isPlain)
        return meant.at(0);
    switch (character.category()) {
    case QChar::Punctuation_InitialQuote:
    case QChar::Punctuation_FinalQuote:
        return character.unicode() == 0x2039 || character.unicode() == 0x203a ? '\'' : '"';
    case QChar::Punctuation_Dash:
        return '-';
    case QChar::Punctuation_Open: // a quotation mark at the bottom of the line
        return character.unicode() == 0x201e ? QChar('"') : QChar();
    default:
        return meant.size() == 1 && others.contains(meant.at(0).unicode())
                   ? QChar(QLatin1Char(others.value(meant.at(0).unicode())))
                   : QChar();
    }
}

QString named(QChar character)
{
    static const QHash<ushort, QString> names = {{0x00a0, "a no-break space"},
                                                 {0x00ad, "a soft hyphen"},
                                                 {0x200b, "a zero-width space"},
                                                 {0x200c, "a zero-width non-joiner"},
                                                 {0x200d, "a zero-width joiner"},
                                                 {0x200e, "a left-to-right mark"},
                                                 {0x200f, "a right-to-left mark"},
                                                 {0x202f, "a narrow no-break space"},
                                                 {0x2060, "a word joiner"},
                                                 {0x3000, "an ideographic space"},
                                                 {0xfeff, "a byte-order mark"},
                                                 {0x2028, "a line separator"},
                                                 {0x0009, "a tab"}};
    const QString known = names.value(character.unicode());
    if (!known.isEmpty())
        return known + " (" + codeOf(character) + ')';
    if (character.isSpace())
        return "a blank of another kind (" + codeOf(character) + ')';
    if (isInvisible(character))
        return "an invisible character (" + codeOf(character) + ')';
    return '"' + QString(character) + "\" (" + codeOf(character) + ')';
}

QString plain(const QString &text)
{
    QString seen;
    for (const QChar character : text) {
        const QChar ascii = asciiFor(character);
        if (isOtherBlank(character))
            seen += ' ';
        else if (!isInvisible(character))
            seen += ascii.isNull() ? character : ascii;
    }
    return seen;
}

bool isOtherQuote(QChar character)
{
    const QChar ascii = asciiFor(character);
    return character == '\'' || character == '`' || ascii == '"' || ascii == '\'' || ascii == '`';
}

bool isInOtherQuotes(const QString &text)
{
    if (text.size() < 3 || !isOtherQuote(text.at(0)) || !isOtherQuote(text.at(text.size() - 1)))
        return false;
    // Where there are more of them, they are not around all of it.
    const QString inside = text.mid(1, text.size() - 2);
    const QString name = inside.contains('@') ? inside.section('@', 0, 0) : inside;
    return !name.contains(text.at(0)) && !name.contains(text.at(text.size() - 1));
}
