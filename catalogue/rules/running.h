// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef RUNNING_H
#define RUNNING_H

#include "rules/collector.h"
#include "rules/subject.h"

#include <QSet>

// What the rules on programs ask of them.

/// A program that is run, and by what.
struct Run {
    const CommandEntry &command;
    const MediumScript *script; ///< null where the command runs it itself
    const Step &step;
};

QString baseName(const QString &program);

/// Arguments that are no options.
QStringList operands(const QStringList &words);

/// Whether one of these options is there, by itself or among other letters.
bool hasOption(const QStringList &words, const QString &letters, const QStringList &names = {});

/// Where in the catalogue the command has this word; where it begins when it has not.
int commandOffset(const CommandEntry &command, const QString &what = QString());

/// Tells of a program where it is written, in the catalogue or in a script, with advice.
void adviseAt(Collector &findings, const Run &run, const QString &message, const QString &advice);

/// Asks `isFound` of every program that scripts run, but for the kit's, and tells of the first one of each
/// line.
template <typename Question, typename Tell>
void forEachInScripts(const Subject &subject, Question isFound, Tell tell)
{
    for (const auto &script : subject.uses.scripts) {
        if (script->isKits)
            continue;
        int line = 0;
        for (const Step &step : script->text.steps) {
            if (step.line == line || !isFound(step))
                continue;
            line = step.line;
            tell(Run{*script->command, script.get(), step});
        }
    }
}

/// Asks `isFound` of every program of these names, of all where there are none, and of whatever is
/// redirected: of all that commands run, and the scripts that they call. Tells of the first one of each
/// command, and of each line of a script.
template <typename Question, typename Tell>
void forEach(const Subject &subject, const QSet<QString> &programs, Question isFound, Tell tell)
{
    const auto isOne = [&](const Step &step) {
        const bool isAsked = programs.isEmpty() || programs.contains(step.program) || !step.outputs.isEmpty();
        return isAsked && isFound(step.run, step);
    };
    for (const CommandEntry &command : subject.commands) {
        if (command.isSkipped)
            continue;
        for (const Step &step : command.steps) {
            if (isOne(step)) {
                tell(Run{command, nullptr, step});
                break;
            }
        }
    }
    forEachInScripts(subject, isOne, tell);
}

#endif
