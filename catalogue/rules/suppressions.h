// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SUPPRESSIONS_H
#define SUPPRESSIONS_H

#include "rules/findings.h"

#include <QHash>

class Collector;
class Subject;
struct Rule;

/// What can be said about the comments by which an author says that findings are meant.
QVector<Rule> suppressionRules();

/// The comments of a catalogue that read "; zul: ignore=ID because REASON". Each is about its own line; alone
/// on a line, about the next one that says something; above everything else, about the whole medium.
class Suppressions
{
public:
    explicit Suppressions(const Subject &subject);

    /// Whether the finding is meant; it knows the reason then.
    bool take(Finding *finding);

    /// The ids that are ignored on this line of the catalogue.
    QStringList idsFor(int line) const;

    /// Those that were of no use, and those that do not say why.
    void tell(Collector &collector) const;

private:
    struct Comment {
        int begin;
        int end;
        bool isUnderstood;
        QStringList ids;
        QString reason;
        bool isAboutMedium;
        int line; ///< the one that it is about; -1 when none comes
        QStringList used;
    };

    static Comment understood(const QString &text);
    QVector<int> commentsAbout(int line) const;
    void tellUnused(const Comment &comment, Collector &collector) const;

    const Subject &subject;
    QVector<Comment> comments;
    QHash<int, QVector<int>> byLine; ///< their numbers; line 0 is the medium
};

#endif
