// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef INIFILE_H
#define INIFILE_H

#include <QByteArray>
#include <QString>
#include <QVector>

/// A place in the text: both start at 1, columns count bytes.
struct Position {
    int line;
    int column;
};

/// A value as the settings reader takes it in, with the byte that each of its characters came from.
struct DecodedValue {
    QString text;    ///< of a list, the last part: what stands after the last separator
    QVector<int> at; ///< one offset a character
    int comma = -1;  ///< offset of the first comma outside quotes, which makes the value a list
};

/// One "key=value" line. All numbers are byte offsets in the text.
struct IniEntry {
    QString section;
    QString key;
    int begin;      ///< of the key
    int keyEnd;     ///< behind the key
    int valueBegin; ///< behind the "="
    int end;        ///< behind the value
    int semicolon;  ///< of the ";" that ended the line, or -1
    bool openQuote; ///< the file, or where that is what counts its line, ends inside its quotes
    DecodedValue value;

    /// What the tool asks for: "system/CMD_List".
    QString path() const;
};

/// A section's head, or a line that is neither that, nor an entry, nor a comment.
struct IniLine {
    int begin;
    int end;
    QString section; ///< of a head
    bool closed;     ///< the head has its "]"
};

/// The text of a settings file with the place of everything in it, read by the rules of QSettings for the INI
/// format without a codec: what is an entry here is one there, with the same value. The tool never uses this;
/// it only tells where in the file the reason for what the tool does is to be found.
class IniFile
{
public:
    /// Whether a quotation mark that is not closed carries a value over the end of its line, as it does for
    /// the tool, or ends with it, as its author meant it to.
    enum OpenQuotes { RunOn, EndWithLine };

    explicit IniFile(const QByteArray &bytes, OpenQuotes openQuotes = RunOn);

    const QByteArray &bytes() const
    {
        return text;
    }
    const QVector<IniEntry> &entries() const
    {
        return keyLines;
    }
    const QVector<IniLine> &sections() const
    {
        return heads;
    }
    const QVector<IniLine> &strayLines() const
    {
        return strays;
    }
    /// The semicolons with which comments begin, in order.
    const QVector<int> &comments() const
    {
        return semicolons;
    }
    /// Whether a line goes on behind its end.
    bool runsOn() const;
    bool hasByteOrderMark() const
    {
        return byteOrderMark;
    }
    Position position(int offset) const;
    /// The offset at which the line with this byte starts.
    int lineStart(int offset) const;
    /// The offset at which the line of this number, from 1, starts; -1 where there is none.
    int lineBegin(int line) const
    {
        return lineStarts.value(line - 1, -1);
    }
    /// The bytes of the whole line, or lines, that hold these, without the last line end.
    QByteArray lines(int begin, int end) const;

private:
    struct LogicalLine {
        int begin;
        int end;
        int equals;
        int semicolon;
        bool openQuote;
        QVector<int> comments; ///< before it, or with the last one behind all lines
    };

    int firstLine() const;
    bool readLine(int *offset, LogicalLine *line) const;
    void skipComment(int *offset, LogicalLine *line) const;
    void addHead(const LogicalLine &line);
    void addEntry(const LogicalLine &line);
    void findLineStarts();

    QByteArray text;
    OpenQuotes quotes;
    bool byteOrderMark;
    QString section; ///< while reading
    QVector<IniEntry> keyLines;
    QVector<IniLine> heads;
    QVector<IniLine> strays;
    QVector<int> semicolons;
    QVector<int> lineStarts;
};

/// Blank or tabulator, which count for nothing around a value.
bool isBlank(char byte);

/// Whether an escape takes the byte in.
bool isHexDigit(char byte);

/// Offsets of the quotation marks in the value that are not escaped.
QVector<int> bareQuotes(const IniFile &file, const IniEntry &entry);

/// Whether there is one pair of them around the whole value, or none at all.
bool isQuotedWell(const IniFile &file, const IniEntry &entry);

/// Whether a quotation mark carries the value over the end of its line.
bool swallowsLines(const IniFile &file, const IniEntry &entry);

/// Whether one carries the key over the end of its line.
bool isKeyOfLines(const IniFile &file, const IniEntry &entry);

/// The end of the line, as the text shows it, that this byte is on.
int lineEnd(const QByteArray &bytes, int from);

#endif
