// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/commandline.h"

namespace
{

int quotesFrom(const QString &text, int start)
{
    int end = start;
    while (end < text.size() && text.at(end) == '"')
        ++end;
    return end - start;
}

} // namespace

CommandLine splitCommandLine(const QString &text)
{
    CommandLine line;
    line.bare.reserve(text.size());
    QString word;
    for (int i = 0; i < text.size();) {
        const int quotes = quotesFrom(text, i);
        if (quotes > 0) {
            // Every three are one literal mark. Of the rest, a single one opens or closes; two cancel out.
            if (quotes >= 3)
                word += QString(quotes / 3, '"');
            if (quotes % 3 == 1)
                line.openQuote = !line.openQuote;
            line.bare += QString(quotes, 'x');
            i += quotes;
            continue;
        }
        const QChar character = text.at(i++);
        line.bare += line.openQuote ? QChar('x') : character;
        if (line.openQuote || !character.isSpace()) {
            word += character;
        } else if (!word.isEmpty()) {
            line.words.append(word);
            word.clear();
        }
    }
    if (!word.isEmpty())
        line.words.append(word);
    return line;
}
