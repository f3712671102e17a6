// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What mending may not do to the operations: by the window's verdict before and after.

#include "mending/mending.h"

#include "reading/initext.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace
{

/// The last line of each key of [CMD], which is the one that counts.
QHash<QString, const IniEntry *> commandsOf(const IniFile &file)
{
    QHash<QString, const IniEntry *> commands;
    for (const IniEntry &entry : file.entries()) {
        const QString path = entry.path();
        if (path.startsWith("CMD/"))
            commands.insert(path.mid(4), &entry);
    }
    return commands;
}

/// As the tool has it: up to a zero byte, and up to the first "@".
QString nameOf(const IniEntry &entry)
{
    return entry.value.text.section(QChar(0), 0, 0).section('@', 0, 0);
}

/// What the findings that were put right promise.
class Promise
{
public:
    explicit Promise(const Round &round)
        : before(round.before)
        , after(round.after)
        , old(commandsOf(before))
        , now(commandsOf(after))
    {
        for (const Finding &finding : round.done) {
            const unsigned change = changeOf(finding);
            all |= change;
            for (const Edit &edit : finding.edits)
                spans[edit.begin] |= change;
        }
        for (auto entry = old.begin(); entry != old.end(); ++entry)
            addEntry(entry.key(), **entry);
    }

    unsigned all = 0;
    QSet<QPair<QString, QString>> renamed; ///< the name before, and the one after
    QSet<QString> reworded;                ///< names of operations that may run another command

private:
    void addEntry(const QString &key, const IniEntry &entry)
    {
        const QString text = entry.value.text;
        if (text.isEmpty() || entry.value.comma >= 0 || isSpecialValue(text))
            return; // no operation yet
        unsigned change = all & ChangesReading ? ChangesNames | ChangesCommands : 0U;
        for (auto span = spans.lowerBound(entry.begin); span != spans.end() && span.key() < entry.end; ++span)
            change |= *span;
        const IniEntry *then = now.value(key);
        if (then && (change & ChangesNames))
            renamed.insert({nameOf(entry), nameOf(*then)});
        if (change & ChangesCommands)
            reworded.insert(nameOf(entry));
    }

    const IniFile before;
    const IniFile after;
    const QHash<QString, const IniEntry *> old;
    const QHash<QString, const IniEntry *> now;
    QMap<int, unsigned> spans; ///< what the edits that begin there may change
};

QVector<Operation> withoutRepetitions(const QVector<Operation> &operations)
{
    QVector<Operation> found;
    QSet<QString> names;
    for (const Operation &operation : operations) {
        if (!names.contains(operation.name))
            found.append(operation);
        names.insert(operation.name);
    }
    return found;
}

bool isStill(const Operation &operation, const Operation &then, const Promise &promise)
{
    const bool sameName =
        operation.name == then.name || promise.renamed.contains({operation.name, then.name});
    const bool sameCommand = operation.command == then.command || promise.reworded.contains(operation.name);
    return sameName && sameCommand;
}

} // namespace

QString operationLost(const Verdict &before, const Verdict &after, const Round &round)
{
    const Promise promise(round);
    const bool ranNothing = before.mode == Verdict::Unrecognised && (promise.all & AddsOperations);
    if (before.mode != after.mode && !ranNothing)
        return "it would change between a list to choose from and commands that run at once";
    if (before.mode == Verdict::Selection && before.endGame != after.endGame
        && !(promise.all & ChangesEnding))
        return "it would change how a batch ends";
    const bool drops = promise.all & DropsRepetitions;
    const QVector<Operation> wanted = drops ? withoutRepetitions(before.operations) : before.operations;
    const QVector<Operation> &found = after.operations;
    int at = 0;
    for (const Operation &operation : wanted) {
        while (at < found.size() && !isStill(operation, found.at(at), promise))
            ++at;
        if (at++ >= found.size())
            return QString("it would take out, rename or move \"%1\", or have it run something else")
                .arg(operation.name);
    }
    if (found.size() > wanted.size() && !(promise.all & (AddsOperations | DropsRepetitions)))
        return "it would add an operation";
    return QString();
}
