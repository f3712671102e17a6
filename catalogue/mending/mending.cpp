// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "mending/mending.h"

#include "reading/medium.h"

#include <QFile>
#include <QHash>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>

namespace
{

constexpr int mostRounds = 20; // for the day on which two rules undo each other's work

/// What has to be the same for two findings to be the same one, in a file that has changed in between.
QString identity(const Finding &finding)
{
    return finding.id + '\n' + finding.message + '\n' + finding.right;
}

/// Edits that do not get in each other's way.
class Edits
{
public:
    /// Takes all of these, unless one of them is about bytes that another one changes otherwise.
    bool take(const QVector<Edit> &edits)
    {
        if (edits.constData() == lastTaken.constData())
            return true; // many findings on one list share what would put it right
        for (const Edit &edit : edits) {
            if (isInTheWay(edit))
                return false;
        }
        for (const Edit &edit : edits)
            taken.insert(edit.begin, edit);
        lastTaken = edits;
        return true;
    }

    QVector<Edit> all() const
    {
        return taken.values().toVector();
    }

private:
    bool isInTheWay(const Edit &edit) const
    {
        auto next = taken.lowerBound(edit.begin);
        if (next != taken.end() && *next == edit)
            return false;
        if (next != taken.end() && (next->begin == edit.begin || next->begin < edit.end))
            return true;
        return next != taken.begin() && (--next)->end > edit.begin;
    }

    QMap<int, Edit> taken;
    QVector<Edit> lastTaken;
};

class Mender
{
public:
    Mender(const Medium &itsMedium, const Finder &itsFinder, const Guard &itsGuard)
        : medium(itsMedium)
        , find(itsFinder)
        , guard(itsGuard)
    {
        for (const QString &id : findingIds())
            rank.insert(id, rank.size());
    }

    Mended mend()
    {
        mended.verdict = readVerdict(medium.catalogue);
        // One round does for nearly all, and what only the author can put right is looked for behind it.
        mendOnce(find(medium, IniFile(medium.bytes), mended.verdict, Keep::OnlyMendable));
        do {
            mended.left = find(medium, IniFile(medium.bytes), mended.verdict, Keep::Mendable);
        } while (mended.rounds.size() < mostRounds && (mendOnce(mended.left) || refusalsAreStale()));
        mended.catalogue = medium.bytes;
        mendOthers();
        return mended;
    }

private:
    /// False when there was nothing to be done.
    bool mendOnce(const Findings &findings)
    {
        QVector<Finding> chosen = compatible(candidates(findings));
        if (chosen.isEmpty())
            return false;
        Round round{medium.bytes, medium.bytes, {}};
        Verdict verdict = mended.verdict;
        takeWhatIsSafe(chosen, &round, &verdict);
        if (round.done.isEmpty())
            return true; // now that these are refused, it is the turn of others on the same bytes
        medium.bytes = round.after;
        mended.verdict = verdict;
        mended.done += round.done;
        mended.rounds.append(round);
        hasChangedSince = true;
        return true;
    }

    /// What was refused may do no harm any more, once the others are put right.
    bool refusalsAreStale()
    {
        if (refusedNow.isEmpty() || !hasChangedSince)
            return false;
        refusedNow.clear();
        mended.refused.clear();
        hasChangedSince = false;
        return true;
    }

    /// What can be put right in the catalogue; what decides how it is read comes first.
    QVector<Finding> candidates(const Findings &findings) const
    {
        QVector<Finding> found;
        for (const Finding &finding : findings.list) {
            if (finding.mendable && finding.file == medium.catalogue
                && !refusedNow.contains(identity(finding)))
                found.append(finding);
        }
        std::stable_sort(found.begin(), found.end(), [this](const Finding &a, const Finding &b) {
            return rank.value(a.id) < rank.value(b.id);
        });
        return found;
    }

    static QVector<Finding> compatible(const QVector<Finding> &findings)
    {
        Edits edits;
        QVector<Finding> chosen;
        for (const Finding &finding : findings) {
            if (edits.take(finding.edits))
                chosen.append(finding);
        }
        return chosen;
    }

    /// Adds to the round as many as can be done without losing an operation: all of them as a rule; else
    /// some, and then the others.
    void takeWhatIsSafe(const QVector<Finding> &findings, Round *round, Verdict *verdict)
    {
        QVector<QVector<Finding>> rest = {findings}; // the last one is next
        while (!rest.isEmpty()) {
            const QVector<Finding> some = rest.takeLast();
            Round wider{round->before, {}, round->done + some};
            Edits edits;
            for (const Finding &finding : qAsConst(wider.done))
                edits.take(finding.edits);
            wider.after = edited(round->before, edits.all());
            const Verdict outcome = verdictOn(wider.after);
            const QString lost = guard(mended.verdict, outcome, wider);
            if (lost.isEmpty()) {
                *round = wider;
                *verdict = outcome;
            } else if (some.size() == 1) {
                mended.refused.append({some.first(), lost});
                refusedNow.insert(identity(some.first()));
            } else {
                const int first = firstPart(some);
                rest.append(some.mid(first));
                rest.append(some.mid(0, first));
            }
        }
    }

    /// How many are tried by themselves: those of a kind may need each other, as quotation marks do.
    static int firstPart(const QVector<Finding> &findings)
    {
        if (findings.first().id == findings.last().id)
            return findings.size() / 2;
        int first = 1;
        while (findings.at(first).id == findings.first().id)
            ++first;
        return first;
    }

    /// In a file of its own each time, as the tool serves one that it knows from its memory.
    Verdict verdictOn(const QByteArray &bytes)
    {
        const QString path = folder.filePath(QString::number(++copies));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("%s cannot be written", qPrintable(path));
        file.close();
        Verdict verdict = readVerdict(path);
        file.remove();
        return verdict;
    }

    void mendOthers()
    {
        QVector<Finding> left;
        for (const Finding &finding : qAsConst(mended.left.list)) {
            if (!finding.mendable || finding.file == medium.catalogue) {
                left.append(finding);
                continue;
            }
            QFile file(finding.file);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            mended.others.insert(finding.file, edited(file.readAll(), finding.edits));
            mended.done.append(finding);
        }
        mended.left.list = left;
    }

    Medium medium;
    const Finder &find;
    const Guard &guard;
    QHash<QString, int> rank; ///< of an id among the rules
    QSet<QString> refusedNow;
    bool hasChangedSince = false; ///< since the first of them was refused
    const QTemporaryDir folder;
    int copies = 0;
    Mended mended;
};

} // namespace

Mended mend(const Medium &medium, const Finder &find, const Guard &guard)
{
    return Mender(medium, find, guard).mend();
}
