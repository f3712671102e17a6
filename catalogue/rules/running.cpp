// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/running.h"

#include <algorithm>

namespace
{

/// Of a word, not of a part of another one.
int placeOf(const QString &word, const QString &text, int from)
{
    const auto isOfWord = [&text](int at) {
        const QChar character = text.at(at);
        return character.isLetterOrNumber() || character == '_' || character == '-' || character == '.'
               || character == '/';
    };
    for (int at = text.indexOf(word, from); at >= 0; at = text.indexOf(word, at + 1)) {
        const bool isWhole = (at == 0 || !isOfWord(at - 1))
                             && (at + word.size() >= text.size() || !isOfWord(at + word.size()));
        if (isWhole)
            return at;
    }
    return text.indexOf(word, from);
}

} // namespace

QString baseName(const QString &program)
{
    return program.mid(program.lastIndexOf('/') + 1);
}

QStringList operands(const QStringList &words)
{
    QStringList found;
    for (const QString &word : words.mid(1)) {
        if (!word.startsWith('-') || word == "-")
            found.append(word);
    }
    return found;
}

bool hasOption(const QStringList &words, const QString &letters, const QStringList &names)
{
    return std::any_of(words.begin() + qMin(1, words.size()), words.end(), [&](const QString &word) {
        const bool isShort = word.startsWith('-') && !word.startsWith("--");
        const auto isOne = [&letters](QChar letter) { return letters.contains(letter); };
        return (isShort && std::any_of(word.begin() + 1, word.end(), isOne))
               || names.contains(word.section('=', 0, 0));
    });
}

int commandOffset(const CommandEntry &command, const QString &what)
{
    return command.offset(what.isEmpty() ? 0 : qMax(0, placeOf(what, command.command, 0)));
}

void adviseAt(Collector &findings, const Run &run, const QString &message, const QString &advice)
{
    if (run.script)
        findings.adviseOther(run.script->path, run.step.line, message, advice);
    else
        findings.advise(commandOffset(run.command, run.step.run.value(0)), message, advice);
}
