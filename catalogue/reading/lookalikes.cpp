// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/lookalikes.h"

#include <QHash>

#include <algorithm>

QChar drawnLike(QChar character)
{
    static const QHash<ushort, char> letters = {
        // Cyrillic, Greek, and one of Turkish
        {0x0131, 'i'}, {0x0391, 'A'}, {0x0392, 'B'}, {0x0395, 'E'}, {0x0396, 'Z'}, {0x0397, 'H'},
        {0x0399, 'I'}, {0x039a, 'K'}, {0x039c, 'M'}, {0x039d, 'N'}, {0x039f, 'O'}, {0x03a1, 'P'},
        {0x03a4, 'T'}, {0x03a5, 'Y'}, {0x03a7, 'X'}, {0x03bd, 'v'}, {0x03bf, 'o'}, {0x03c1, 'p'},
        {0x03f3, 'j'}, {0x0405, 'S'}, {0x0406, 'I'}, {0x0408, 'J'}, {0x0410, 'A'}, {0x0412, 'B'},
        {0x0415, 'E'}, {0x041a, 'K'}, {0x041c, 'M'}, {0x041d, 'H'}, {0x041e, 'O'}, {0x0420, 'P'},
        {0x0421, 'C'}, {0x0422, 'T'}, {0x0423, 'Y'}, {0x0425, 'X'}, {0x0430, 'a'}, {0x0435, 'e'},
        {0x043e, 'o'}, {0x0440, 'p'}, {0x0441, 'c'}, {0x0443, 'y'}, {0x0445, 'x'}, {0x0455, 's'},
        {0x0456, 'i'}, {0x0458, 'j'}, {0x0475, 'v'}, {0x04ae, 'Y'}, {0x04bb, 'h'}, {0x04c0, 'I'},
        {0x04cf, 'l'}, {0x0501, 'd'}, {0x051b, 'q'}, {0x051d, 'w'}};
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
            category != QChar::Other_Format && (category != QChar::Other_Control || character.isSpace());
        if (isDrawn)
            seen += drawnLike(character);
    }
    // Nobody sees which is which of these three in a face without serifs.
    for (QChar &character : seen)
        character = character == 'I' || character == '|' ? QChar('l') : character;
    return seen.simplified();
}
