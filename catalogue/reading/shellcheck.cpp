// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/shellcheck.h"

#include "reading/asking.h"
#include "reading/shellsyntax.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

namespace
{

// A hundred kilobytes take a second.
constexpr int mostBytes = 128 * 1024;
constexpr int mostTexts = 200;

/// Errors that do not keep a script from doing what is meant, at least with the files that there are, or that
/// have a finding of their own here.
bool isHarmless(int code)
{
    static const QSet<int> codes = {
        1008, 1071, 1104, 1113, 1114, 1115, 1128, 2148, 2239, // what the first line asks for
        1015, 1016, 1017, 1018, 1082, 1100, 1110, 1111, 1112, // characters, which are told as that
        2068, 2144, 2145,                                     // words with blanks in them
        1009, 1072, 1073                                      // where something else begins
    };
    return codes.contains(code);
}

/// What neither of the two shells knows that are "sh" on a controller; one of them knows the rest of what
/// shellcheck has against it.
bool isKnownToNoSh(int code)
{
    static const QSet<int> codes = {3005, 3006, 3008, 3009, 3011, 3022, 3024, 3030, 3053, 3054, 3055};
    return codes.contains(code);
}

/// Warnings on what cannot be meant: comparisons that always come out the same, programs that lack what they
/// work on, assignments that assign nothing.
bool isCertain(int code)
{
    static const QSet<int> codes = {1007, 2041, 2049, 2050, 2055, 2056, 2065, 2067, 2078, 2088, 2097, 2098,
                                    2123, 2130, 2150, 2171, 2182, 2183, 2193, 2194, 2195, 2210, 2215, 2216,
                                    2217, 2224, 2225, 2229, 2252, 2259, 2260, 2265, 2266, 2319, 2320};
    return codes.contains(code);
}

bool counts(int code, const QString &level, const QString &message)
{
    if (code >= 3000 && code < 4000)
        return isKnownToNoSh(code);
    const bool isMisspelt = code == 2154 && message.contains("(did you mean");
    return level == "error" ? !isHarmless(code) : isMisspelt || isCertain(code);
}

/// Where shellcheck gave up reading, the last thing it says is what it stumbled over, and the shell knows
/// better whether that is one at all.
QVector<Remark> understood(QVector<Remark> remarks, bool gaveUp, const ShellText &text)
{
    std::stable_sort(remarks.begin(), remarks.end(), [](const Remark &a, const Remark &b) {
        return a.line != b.line ? a.line < b.line : a.column < b.column;
    });
    // What the shell cannot read is told as that, once.
    if (remarks.isEmpty() || !syntaxErrors(text.isForBash ? "bash" : "sh", {text.bytes}, 1).isEmpty())
        return {};
    return gaveUp ? QVector<Remark>{remarks.last()} : remarks;
}

using Remarks = QVector<Remark>;

/// What is said of each of the texts, all of them for one shell.
QVector<Remarks> asked(const QVector<ShellText> &texts)
{
    QVector<Remarks> remarks(texts.size());
    QVector<bool> gaveUp(texts.size(), false);
    QVector<QByteArray> bytes;
    for (const ShellText &text : texts)
        bytes.append(text.bytes);
    const QByteArray shell = texts.first().isForBash ? "bash" : "dash";
    const Answered answer =
        askProgram({"shellcheck", "--norc", "--format=json1", "--severity=warning", "--shell=" + shell},
                   QByteArray(), bytes);
    const QJsonArray comments = QJsonDocument::fromJson(answer.output).object().value("comments").toArray();
    for (const QJsonValue &value : comments) {
        const QJsonObject comment = value.toObject();
        const int text = answer.names.indexOf(comment.value("file").toString().toUtf8());
        const int code = comment.value("code").toInt();
        const QString message = comment.value("message").toString();
        if (text < 0)
            continue;
        gaveUp[text] = gaveUp.at(text) || code == 1072 || code == 1073;
        const int column = comment.value("column").toInt(1);
        const bool isOneLine = comment.value("endLine").toInt() == comment.value("line").toInt();
        if (counts(code, comment.value("level").toString(), message))
            remarks[text].append({0, comment.value("line").toInt(1), column,
                                  isOneLine ? comment.value("endColumn").toInt(column) : column, code,
                                  message});
    }
    for (int i = 0; i < texts.size(); ++i)
        remarks[i] = understood(remarks.at(i), gaveUp.at(i), texts.at(i));
    return remarks;
}

QByteArray keyOf(const ShellText &text)
{
    return (text.isForBash ? "b" : "s") + text.bytes;
}

} // namespace

QVector<Remark> remarksOn(const QVector<ShellText> &texts)
{
    static QHash<QByteArray, Remarks> remembered;
    int room = mostBytes;
    for (const bool isForBash : {false, true}) {
        QVector<ShellText> unasked;
        QSet<QByteArray> seen;
        for (const ShellText &text : texts) {
            const QByteArray key = keyOf(text);
            if (text.isForBash != isForBash || remembered.contains(key) || seen.contains(key)
                || text.bytes.size() > room || unasked.size() >= mostTexts)
                continue;
            room -= text.bytes.size();
            seen.insert(key);
            unasked.append(text);
        }
        const QVector<Remarks> said = unasked.isEmpty() ? QVector<Remarks>() : asked(unasked);
        for (int i = 0; i < unasked.size(); ++i)
            remembered.insert(keyOf(unasked.at(i)), said.at(i));
    }
    QVector<Remark> all;
    for (int i = 0; i < texts.size(); ++i) {
        for (Remark remark : remembered.value(keyOf(texts.at(i)))) {
            remark.text = i;
            all.append(remark);
        }
    }
    return all;
}
