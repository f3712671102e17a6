// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef COLLECTOR_H
#define COLLECTOR_H

#include "rules/findings.h"

class Subject;
class Suppressions;
struct IniEntry;
struct Rule;

constexpr int keptOfAKind = 50;

/// From where the first edit is, all of its line as it becomes.
QString mendedLine(const QByteArray &bytes, const QVector<Edit> &edits);

/// Takes the findings of one rule.
class Collector
{
public:
    /// `suppressions` can be null.
    Collector(const Subject &subject, Suppressions *suppressions, Findings *findings, Keep keep);

    void startRule(const Rule &rule);
    /// Whether the next one will be kept, or only counted, so that it need not say what would be right.
    bool hasRoom() const;
    /// The next one is not put right without its author.
    Collector &askAuthor();

    /// At a place in the catalogue; `right` is a line that is not there yet, a command, or advice.
    void add(int offset, const QString &message, const QString &right);
    /// At a place in the catalogue, for which there is no right line, only advice.
    void advise(int offset, const QString &message, const QString &advice);
    /// At a place in the catalogue, which the edits put right; `right` is what becomes of its line, where
    /// that is not the first of them.
    void mend(const QVector<Edit> &edits, int offset, const QString &message, const QString &right = {});
    /// At a place in an entry, whose line is `right` then; a comment behind its value stays.
    void replace(const IniEntry &entry, int offset, const QString &message, const QString &right);
    void replace(int begin, int end, int offset, const QString &message, const QString &right);
    /// At an entry, which becomes a comment. The author is asked where an open quotation mark made other
    /// lines part of it, which would go with it.
    void commentOut(const IniEntry &entry, const QString &message);
    /// On another file of the medium, or on the medium; the edits are in that file.
    void addOther(const QString &path, const QString &message, const QString &right,
                  const QVector<Edit> &edits = {});
    void adviseOther(const QString &path, int line, const QString &message, const QString &advice);
    /// The columns count characters.
    void adviseOther(const QString &path, int line, int column, int endColumn, const QString &message,
                     const QString &advice);

private:
    void keep(Finding finding);
    Position endOf(Position at) const;
    static QByteArray lineOf(const QString &path, int line);

    const Subject &subject;
    Suppressions *suppressions;
    Findings *findings;
    const Keep kept;
    const Rule *rule = nullptr;
    QString id; ///< of the rule
    bool asks = false;
    int count = 0;
};

#endif
