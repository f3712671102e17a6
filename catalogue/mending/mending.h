// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef MENDING_H
#define MENDING_H

#include "rules/findings.h"
#include "window/verdict.h"

#include <QMap>

#include <functional>

struct Medium;

/// A finding that was not put right, because the window would have lost an operation by it.
struct Refusal {
    Finding finding;
    QString reason; ///< "it would take out ..."
};

/// One time that everything was looked for, and put right at once.
struct Round {
    QByteArray before;
    QByteArray after;
    QVector<Finding> done;
};

/// What has become of a medium, in memory.
struct Mended {
    QByteArray catalogue;
    QMap<QString, QByteArray> others; ///< the other files that have changed, by path
    QVector<Round> rounds;            ///< of the catalogue; none where nothing had to be done
    QVector<Finding> done;            ///< of all files, in the order in which they were put right
    QVector<Refusal> refused;
    Findings left; ///< what is found in it now
    Verdict verdict;

    bool hasChanged() const
    {
        return !rounds.isEmpty() || !others.isEmpty();
    }
};

/// Finds everything that is wrong with a medium's catalogue, or what can be put right of that.
using Finder =
    std::function<Findings(const Medium &medium, const IniFile &file, const Verdict &verdict, Keep keep)>;

/// Why an operation of the one is not in the other, though the findings that were put right in between leave
/// it alone; empty where they keep what they promise.
using Guard = std::function<QString(const Verdict &before, const Verdict &after, const Round &round)>;

/// Puts right what can be put right without the author, again and again until there is nothing left. Findings
/// that are about the same bytes are taken one after the other, those on how the file is read first. The
/// window reads each outcome, and what would lose an operation by its verdict is left alone. Writes nothing
/// but a copy in a temporary folder; needs a QApplication.
Mended mend(const Medium &medium, const Finder &find, const Guard &guard);

/// The guard that mending has, by the window's own verdicts.
QString operationLost(const Verdict &before, const Verdict &after, const Round &round);

#endif
