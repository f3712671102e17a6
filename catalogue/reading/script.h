// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SCRIPT_H
#define SCRIPT_H

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

/// One program of a script, with its arguments as they are without their quotation marks. Variables that can
/// have one value only are put in; what a shell would have to be run for stands as it is written.
struct Step {
    QStringList words;
    QStringList run;      ///< the same, without what stands in front of the program that is run in the end
    QString program;      ///< of that, without its folder, and of "mkfs.ext4" without its kind
    QStringList outputs;  ///< files that it is redirected to
    QStringList inputs;   ///< files that it is redirected from
    QString folder;       ///< in which it is run: see folderOfTool, unknownFolder
    int line = 1;         ///< on which it begins
    bool isFed = false;   ///< what it reads comes from another program, or a file
    bool isPiped = false; ///< what it writes goes to another program
    bool isBackground = false;  ///< nobody waits for it
    bool isOptional = false;    ///< that it fails is taken: "|| true"
    bool isConditional = false; ///< whether it is run is decided when it has been asked for
    bool isTimed = false;       ///< something ends it when it takes too long
    bool repeats = false;       ///< no program, but a loop that nothing ends

    /// A word as a path, from the folder in which the step is run; empty where that is not known.
    QString path(const QString &word) const;
};

const QString folderOfTool;                 ///< wherever the tool was started
const QString unknownFolder = QString("?"); ///< a folder that only the controller knows

/// What a script is run with.
struct ScriptContext {
    QHash<QString, QStringList> variables; ///< by name; several values are those of a loop
    QString folder = folderOfTool;
};

/// A character of a script that is neither ASCII nor quoted nor a letter.
struct StrayCharacter {
    QChar character;
    int line;
};

/// What a shell script is made of.
struct ScriptText {
    QVector<Step> steps;
    QVector<StrayCharacter> strays;
    QStringList asked;         ///< files that it asks for before it uses them
    QSet<QString> assigned;    ///< variables that it gives a value
    bool stopsAtUnset = false; ///< "set -u"
};

/// The program of a command line, as a step has it.
QString programOf(const QStringList &words);

/// A command line that no shell reads, as a step.
Step stepOf(const QStringList &words);

/// What a shell script runs, one after the other, whether it comes to it or not. It is read by the shell's
/// rules for words, quotes, comments, redirections and separators; of what it decides and repeats, only that
/// it does is known.
ScriptText readScript(const QString &script, const ScriptContext &context = ScriptContext());

/// A command line without what stands in front of the program that is run in the end: of "env A=b nice -n 5
/// cp x", "cp x".
QStringList withoutWrappers(const QStringList &words);

/// The number of words at the beginning of a command line that name an interpreter; 0 without one.
int interpreterWords(const QStringList &words);

/// The place of the script that an interpreter is given, behind its options; -1 without one.
int scriptWord(const QStringList &words);

/// The script that a command line has a shell run in place, with "-c"; empty for any other.
QString innerScript(const QStringList &words);

/// Whether a shell would put something else in the place of a part of a word.
bool hasShellVariable(const QString &word);

/// Whether a word is an assignment, as a shell takes it.
bool isAssignment(const QString &word);

#endif
