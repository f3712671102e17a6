// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/inifile.h"

#include <QTextCodec>

#include <algorithm>

namespace
{

bool isLineEnd(char byte)
{
    return byte == '\n' || byte == '\r';
}

/// "\" becomes "/", "%41" and "%U0041" become "A"; every other byte is one character.
QString decodedKey(const QByteArray &raw)
{
    QString key;
    for (int i = 0; i < raw.size();) {
        const bool wide = raw.mid(i + 1, 1) == "U";
        const QByteArray digits = raw.mid(wide ? i + 2 : i + 1, wide ? 4 : 2);
        bool isNumber = false;
        const int code = digits.toInt(&isNumber, 16);
        if (raw.at(i) == '%' && isNumber && digits.size() == (wide ? 4 : 2)) {
            key += QChar(code);
            i += (wide ? 2 : 1) + digits.size();
        } else {
            key += raw.at(i) == '\\' ? QChar('/') : QChar(QLatin1Char(raw.at(i)));
            ++i;
        }
    }
    return key;
}

/// Takes a value apart as the reader does.
class ValueReader
{
public:
    ValueReader(const QByteArray &bytes, int begin, int end, QTextCodec *textCodec)
        : data(bytes)
        , i(begin)
        , to(end)
        , codec(textCodec)
    {
    }

    DecodedValue read()
    {
        value.text.reserve(to - i);
        value.at.reserve(to - i);
        skipBlanks();
        while (i < to)
            readNext();
        chopBlanks();
        return value;
    }

private:
    void readNext()
    {
        const char byte = data.at(i);
        if (byte == '\\')
            readEscape();
        else if (byte == '"')
            readQuote();
        else if (byte == ',' && !inQuotes)
            startNextPart();
        else
            readPlain();
    }

    void readQuote()
    {
        ++i;
        quoted = true;
        inQuotes = !inQuotes;
        if (!inQuotes)
            skipBlanks();
    }

    void startNextPart()
    {
        if (value.comma < 0)
            value.comma = i;
        value.text.clear();
        value.at.clear();
        quoted = false;
        ++i;
        skipBlanks();
    }

    void readPlain()
    {
        const int begin = i++;
        while (i < to && data.at(i) != '\\' && data.at(i) != '"' && data.at(i) != ',')
            ++i;
        if (!codec) {
            for (int offset = begin; offset < i; ++offset)
                append(QLatin1Char(data.at(offset)), offset);
            return;
        }
        const QString decoded = codec->toUnicode(data.constData() + begin, i - begin);
        for (const QChar character : decoded)
            append(character, begin);
    }

    void readEscape()
    {
        static const char letters[] = "abfnrtv\"?'\\";
        static const char meanings[] = "\a\b\f\n\r\t\v\"?'\\";
        const int begin = i++;
        if (i >= to) {
            chopLimit = value.text.size();
            return;
        }
        const char byte = data.at(i++);
        const char *letter = std::find(letters, letters + sizeof letters - 1, byte);
        if (*letter)
            append(QLatin1Char(meanings[letter - letters]), begin);
        else if (byte == 'x' && i < to && isHexDigit(data.at(i)))
            readNumber(begin, 16);
        else if (byte >= '0' && byte <= '7')
            readNumber(begin, 8);
        else if (isLineEnd(byte) && i < to && isLineEnd(data.at(i)) && data.at(i) != byte)
            ++i;
        chopLimit = value.text.size();
    }

    /// However many digits there are, they are one character.
    void readNumber(int begin, uint base)
    {
        if (base == 8)
            --i;
        uint code = 0;
        while (i < to && (base == 16 ? isHexDigit(data.at(i)) : data.at(i) >= '0' && data.at(i) <= '7'))
            code = code * base + QByteArray(1, data.at(i++)).toUInt(nullptr, 16);
        append(QChar(code & 0xffff), begin);
    }

    void append(QChar character, int offset)
    {
        value.text += character;
        value.at += offset;
    }

    void skipBlanks()
    {
        while (i < to && isBlank(data.at(i)))
            ++i;
        chopLimit = value.text.size();
    }

    void chopBlanks()
    {
        while (!quoted && value.text.size() > chopLimit
               && (value.text.endsWith(' ') || value.text.endsWith('\t'))) {
            value.text.chop(1);
            value.at.removeLast();
        }
    }

    const QByteArray &data;
    int i;
    const int to;
    QTextCodec *codec;
    bool inQuotes = false;
    bool quoted = false;
    int chopLimit = 0; ///< blanks before it were written as escapes, or within quotes
    DecodedValue value;
};

} // namespace

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t';
}

bool isHexDigit(char byte)
{
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

QString IniEntry::path() const
{
    // A key outside the sections that looks like one within is never found, so it gets a path of its own.
    return section.isEmpty() && !key.contains('/') ? key : section + '/' + key;
}

IniFile::IniFile(const QByteArray &bytes, OpenQuotes openQuotes)
    : text(bytes)
    , quotes(openQuotes)
    , byteOrderMark(bytes.startsWith("\xef\xbb\xbf"))
{
    findLineStarts();
    int offset = firstLine();
    LogicalLine line;
    while (readLine(&offset, &line)) {
        semicolons += line.comments;
        if (text.at(line.begin) == '[')
            addHead(line);
        else if (line.equals >= 0)
            addEntry(line);
        else
            strays.append({line.begin, line.end, section, false});
    }
    semicolons += line.comments;
}

/// Where a byte-order mark ends; but where a key stands right behind it, it is part of that key.
int IniFile::firstLine() const
{
    if (!byteOrderMark)
        return 0;
    constexpr int markEnd = 3;
    int offset = markEnd;
    LogicalLine line;
    const bool isKey = readLine(&offset, &line) && text.at(line.begin) != '[';
    return isKey && lineEnd(text, 0) >= line.begin ? 0 : markEnd;
}

void IniFile::findLineStarts()
{
    lineStarts.append(0);
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == '\n' || (text.at(i) == '\r' && text.mid(i + 1, 1) != "\n"))
            lineStarts.append(i + 1);
    }
}

Position IniFile::position(int offset) const
{
    const auto next = std::upper_bound(lineStarts.begin(), lineStarts.end(), offset);
    const int line = static_cast<int>(next - lineStarts.begin());
    return {line, offset - *(next - 1) + 1};
}

bool IniFile::runsOn() const
{
    const auto goesOn = [this](const auto &line) { return lineEnd(text, line.begin) < line.end; };
    return std::any_of(keyLines.begin(), keyLines.end(), goesOn)
           || std::any_of(strays.begin(), strays.end(), goesOn)
           || std::any_of(heads.begin(), heads.end(), goesOn);
}

int IniFile::lineStart(int offset) const
{
    return offset - (position(offset).column - 1);
}

QByteArray IniFile::lines(int begin, int end) const
{
    const int first = lineStarts.at(position(begin).line - 1);
    int last = end;
    while (last < text.size() && !isLineEnd(text.at(last)))
        ++last;
    return text.mid(first, last - first);
}

void IniFile::skipComment(int *offset, LogicalLine *line) const
{
    while (*offset < text.size() && !isLineEnd(text.at(*offset)))
        ++*offset;
    while (*offset < text.size() && (isBlank(text.at(*offset)) || isLineEnd(text.at(*offset))))
        ++*offset;
    line->begin = *offset;
}

bool IniFile::readLine(int *offset, LogicalLine *line) const
{
    int &i = *offset;
    while (i < text.size() && (isBlank(text.at(i)) || isLineEnd(text.at(i))))
        ++i;
    *line = {i, i, -1, -1, false, {}};
    while (i < text.size()) {
        const char byte = text.at(i++);
        const bool first = i == line->begin + 1;
        if (byte == '=' && !line->openQuote && line->equals < 0) {
            line->equals = i - 1;
        } else if (byte == '"') {
            line->openQuote = !line->openQuote;
        } else if (byte == '\\' && i < text.size()) {
            const char escapedByte = text.at(i++);
            if (isLineEnd(escapedByte) && i < text.size() && isLineEnd(text.at(i))
                && text.at(i) != escapedByte)
                ++i;
        } else if (isLineEnd(byte) && first) {
            ++line->begin;
        } else if (byte == ';' && first) {
            line->comments.append(i - 1);
            skipComment(&i, line);
        } else if ((isLineEnd(byte) && (!line->openQuote || quotes == EndWithLine))
                   || (byte == ';' && !line->openQuote)) {
            --i;
            line->semicolon = byte == ';' ? i : -1;
            break;
        }
    }
    line->end = i;
    return line->end > line->begin;
}

void IniFile::addHead(const LogicalLine &line)
{
    const int bracket = text.indexOf(']', line.begin);
    const bool closed = bracket >= 0 && bracket < line.end;
    const QByteArray name =
        text.mid(line.begin + 1, (closed ? bracket : line.end) - line.begin - 1).trimmed();
    if (name.toLower() == "general")
        section.clear();
    else if (name.isEmpty())
        section = "/"; // not the same as the place outside sections
    else
        section = name.toLower() == "%general" ? QString::fromLatin1(name.mid(1)) : decodedKey(name);
    heads.append({line.begin, line.end, section, closed});
}

void IniFile::addEntry(const LogicalLine &line)
{
    int keyEnd = line.equals;
    while (keyEnd > line.begin && isBlank(text.at(keyEnd - 1)))
        --keyEnd;
    QTextCodec *codec = byteOrderMark ? QTextCodec::codecForName("UTF-8") : nullptr;
    const QString key = decodedKey(text.mid(line.begin, keyEnd - line.begin));
    keyLines.append({section, key, line.begin, keyEnd, line.equals + 1, line.end, line.semicolon,
                     line.openQuote, ValueReader(text, line.equals + 1, line.end, codec).read()});
}

QVector<int> bareQuotes(const IniFile &file, const IniEntry &entry)
{
    QVector<int> found;
    for (int i = entry.valueBegin; i < entry.end; ++i) {
        if (file.bytes().at(i) == '\\')
            ++i;
        else if (file.bytes().at(i) == '"')
            found.append(i);
    }
    return found;
}

bool isQuotedWell(const IniFile &file, const IniEntry &entry)
{
    const QVector<int> quotes = bareQuotes(file, entry);
    if (quotes.isEmpty())
        return true;
    const QByteArray before = file.bytes().mid(entry.valueBegin, quotes.first() - entry.valueBegin);
    const QByteArray after = file.bytes().mid(quotes.last() + 1, entry.end - quotes.last() - 1);
    return quotes.size() <= 2 && before.trimmed().isEmpty() && after.trimmed().isEmpty();
}

bool swallowsLines(const IniFile &file, const IniEntry &entry)
{
    const bool onOneLine = lineEnd(file.bytes(), entry.valueBegin) >= entry.end;
    return entry.openQuote || (!onOneLine && !bareQuotes(file, entry).isEmpty());
}

bool isKeyOfLines(const IniFile &file, const IniEntry &entry)
{
    return lineEnd(file.bytes(), entry.begin) < entry.keyEnd;
}

int lineEnd(const QByteArray &bytes, int from)
{
    while (from < bytes.size() && bytes.at(from) != '\n' && bytes.at(from) != '\r')
        ++from;
    return from;
}
