// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/shellsyntax.h"

#include "reading/asking.h"

#include <QPair>
#include <QRegularExpression>
#include <QString>

namespace
{

/// False, with what the shell says, when it cannot read the script.
bool canBeRead(const QByteArray &shell, const QByteArray &script, QString *said)
{
    const Answered answer = askProgram({shell, "-n"}, script);
    *said = QString::fromUtf8(answer.output + answer.errors);
    return answer.exitCode <= 0; // where there is no such shell, too
}

SyntaxError errorOf(int script, const QString &said)
{
    static const QRegularExpression place("(?:line )?(\\d+): (?:[Ss]yntax error: )?([^\\n]+)");
    const QRegularExpressionMatch match = place.match(said);
    return {script, qMax(1, match.captured(1).toInt()), match.captured(2).trimmed()};
}

/// Each as the body of a function, so that all of them are one script.
QByteArray together(const QVector<QByteArray> &scripts, int begin, int end)
{
    QByteArray all;
    for (int i = begin; i < end; ++i)
        all += "f() {\n:\n" + scripts.at(i) + "\n}\n";
    return all;
}

} // namespace

QVector<SyntaxError> syntaxErrors(const QByteArray &shell, const QVector<QByteArray> &scripts, int most)
{
    QVector<SyntaxError> errors;
    QVector<QPair<int, int>> rest = {{0, scripts.size()}}; // from, to before; the last one is next
    while (!rest.isEmpty() && errors.size() < most) {
        const auto [begin, end] = rest.takeLast();
        QString said;
        if (end - begin <= 1) {
            if (begin < end && !canBeRead(shell, scripts.at(begin), &said))
                errors.append(errorOf(begin, said));
        } else if (!canBeRead(shell, together(scripts, begin, end), &said)) {
            const int half = begin + (end - begin) / 2;
            rest.append({half, end});
            rest.append({begin, half});
        }
    }
    return errors;
}
