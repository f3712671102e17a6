// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FINDINGS_H
#define FINDINGS_H

#include "reading/inifile.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

class Screen;
struct Medium;
struct Verdict;

enum class Severity { Note, Warning, Error };

/// Bytes of a file, and what belongs in their place.
struct Edit {
    int begin;
    int end;
    QByteArray text;

    bool operator==(const Edit &other) const
    {
        return begin == other.begin && end == other.end && text == other.text;
    }
};

/// What putting a finding right may do to the operations, beyond what is not seen of it. What is not in here
/// does not happen: no operation is lost, renamed or put elsewhere, and none runs another command.
enum Change : unsigned {
    ChangesNothing = 0,
    ChangesCommands = 1,   ///< of the lines that are edited
    ChangesNames = 2,      ///< of the lines that are edited, to what their author has written
    ChangesReading = 4,    ///< of any line, as it decides how the file is read
    AddsOperations = 8,    ///< that were written, but not seen by the tool
    DropsRepetitions = 16, ///< rows of the list that show an operation once more
    ChangesEnding = 32,    ///< whether a batch ends with closing commands
    AsksAuthor = 64,       ///< whatever it does, only after its author has answered a question
};

/// Something about a medium that its author should know.
struct Finding {
    QString id; ///< stable, for programs and for looking it up in the manual
    Severity severity;
    QString file;
    Position at;
    QString message;
    QString right;         ///< the line that would be right, the command that puts the file right, or advice
    QVector<Edit> edits;   ///< in `file`, in order; empty where no line of it would be right
    bool mendable;         ///< whether the edits can be done without asking the author
    bool isAdvice;         ///< `right` is neither a line nor a command
    Position end = {1, 1}; ///< behind the word that begins at `at`
    QStringList also = {}; ///< ids of what the edits put right on its lines besides, once this is right
    QString reason = {};   ///< why its author has it ignored
};

struct Findings {
    QVector<Finding> list;       ///< in the order of the places in the catalogue, those on other files last
    QVector<Finding> suppressed; ///< those that their author has given a reason for
    QMap<QString, int> omitted;  ///< by id, how many more there were; only the first of a kind are kept

    int count(Severity severity) const;
};

/// How much is kept: the first of a kind, all that can be put right as well, or nothing but that.
enum class Keep { First, Mendable, OnlyMendable };

/// Everything that can be said about a medium. `screen` measures names.
Findings findAll(const Medium &medium, const IniFile &file, const Verdict &verdict, const Screen &screen,
                 Keep keep = Keep::First);

/// The ids that findings can have.
QStringList findingIds();

/// Those that somebody may have meant by this word, the likeliest first.
QStringList similarIds(const QString &word);

Severity severityOf(const QString &id);

/// What putting a finding of this id right may do to the operations: Change flags.
unsigned changeOf(const QString &id);
/// The same of a finding, with what is put right besides.
unsigned changeOf(const Finding &finding);

/// What only the author can answer before a finding of this id is put right; empty where there is no such
/// question.
QString questionOf(const QString &id);

/// The text with the edits in it, which do not overlap; in any order.
QByteArray edited(const QByteArray &bytes, QVector<Edit> edits);

#endif
