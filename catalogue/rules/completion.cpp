// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "rules/completion.h"

#include "rules/suppressions.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace
{

constexpr int mostLooks = 8; // for the day on which two rules undo each other's work

/// A line of [CMD] that a finding proposes.
struct Proposal {
    QByteArray key;                        ///< with what stands between it and the value
    QByteArray value;                      ///< what is right by the rules so far
    QStringList ignored;                   ///< ids
    QStringList also;                      ///< ids of what is put right as well
    QStringList ids;                       ///< of the findings that propose it
    bool isMendable;                       ///< without the author, by one of them
    QVector<const Proposal *> others = {}; ///< of the same line, without the author

    /// Of the same line, what has put these findings right on the way; without a look of its own.
    void takeFrom(const Proposal &other)
    {
        value = other.value;
        for (const QString &id : other.ids + other.also) {
            if (!ids.contains(id))
                also.append(id);
        }
    }
};

bool putsRight(const Proposal &one, const Proposal &other)
{
    return std::any_of(other.ids.begin(), other.ids.end(),
                       [&one](const QString &id) { return one.also.contains(id); });
}

/// Whether all that was found on its line is put right by it.
bool putsAllRight(const Proposal &one)
{
    return std::all_of(one.others.begin(), one.others.end(),
                       [&one](const Proposal *other) { return putsRight(one, *other); });
}

/// The lines that the list names, by where they begin.
QHash<int, const IniEntry *> listedLines(const Subject &subject)
{
    QSet<QString> listed;
    for (const Item &item : subject.items)
        listed.insert("CMD/" + item.text);
    for (const IniEntry *entry : subject.listed)
        listed.insert(entry->path());
    QHash<int, const IniEntry *> lines;
    for (const IniFile *file : {&subject.file, &subject.asWritten()}) {
        for (const IniEntry &entry : file->entries()) {
            if (listed.contains(entry.path()))
                lines.insert(entry.begin, &entry);
        }
    }
    return lines;
}

/// A catalogue of nothing but these lines, and looking into it.
class Lines
{
public:
    Lines(const Subject &itsSubject, const QVector<Rule> &itsRules)
        : subject(itsSubject)
        , rules(itsRules)
    {
    }

    /// Until nothing is found in them any more, or unless they are looked at again anyway, nothing that is
    /// known.
    void complete(QVector<Proposal *> open, bool isLookedAtAgain)
    {
        for (int look = 0; look < mostLooks && !open.isEmpty(); ++look) {
            open = changed(open);
            if (isLookedAtAgain)
                open.erase(std::remove_if(open.begin(), open.end(),
                                          [](const Proposal *one) { return putsAllRight(*one); }),
                           open.end());
        }
    }

private:
    /// Those that something was found in and put right; the others are complete.
    QVector<Proposal *> changed(const QVector<Proposal *> &open) const
    {
        QByteArray text = "[system]\n";
        text += subject.verdict.mode == Verdict::Direct ? "CMD_Type=\"k0" : "CMD_List=\"k0";
        for (int i = 1; i < open.size(); ++i)
            text += ",k" + QByteArray::number(i);
        text += "\"\n[CMD]\n";
        QVector<int> values;
        for (int i = 0; i < open.size(); ++i) {
            text += 'k' + QByteArray::number(i) + '=';
            values.append(text.size());
            text += open.at(i)->value + '\n';
        }
        QVector<Proposal *> found;
        QSet<int> seen;
        for (const Finding &finding : findIn(text)) {
            const int end = finding.edits.constFirst().end;
            const int i =
                static_cast<int>(std::upper_bound(values.begin(), values.end(), end) - values.begin()) - 1;
            const bool isWhole =
                i >= 0 && finding.edits.size() == 1 && end == values.at(i) + open.at(i)->value.size();
            if (!isWhole || seen.contains(i) || open.at(i)->ignored.contains(finding.id))
                continue;
            const QByteArray &line = finding.edits.constFirst().text;
            seen.insert(i);
            open.at(i)->value = line.mid(line.indexOf('=') + 1);
            open.at(i)->also.append(finding.id);
            found.append(open.at(i));
        }
        return found;
    }

    /// What can be put right without the author on single lines, in the order of the rules.
    QVector<Finding> findIn(const QByteArray &text) const
    {
        const IniFile file(text);
        const Subject lines(subject, file);
        Findings findings;
        Collector collector(lines, nullptr, &findings, Keep::OnlyMendable);
        for (const Rule &rule : rules) {
            if ((rule.change & AsksAuthor) || !(rule.change & (ChangesNames | ChangesCommands)))
                continue;
            collector.startRule(rule);
            rule.find(lines, collector);
        }
        QVector<Finding> mendable;
        for (const Finding &finding : qAsConst(findings.list)) {
            if (finding.file == subject.medium.catalogue)
                mendable.append(finding);
        }
        return mendable;
    }

    const Subject &subject;
    const QVector<Rule> &rules;
};

/// What the edit makes of a whole line, up to the value; empty where it is about something else.
QByteArray keyIn(const Subject &subject, const QHash<int, const IniEntry *> &lines, const Edit &edit)
{
    const IniEntry *entry = lines.value(edit.begin);
    const bool isWhole = entry && edit.end == subject.textEnd(*entry) && !edit.text.contains('\n');
    return isWhole ? edit.text.left(edit.text.indexOf('=') + 1) : QByteArray();
}

} // namespace

void complete(const Subject &subject, const Suppressions &suppressions, const QVector<Rule> &rules, Keep keep,
              Findings *findings)
{
    const bool isLookedAtAgain = keep == Keep::OnlyMendable;
    const QHash<int, const IniEntry *> lines = listedLines(subject);
    QHash<QPair<int, QByteArray>, Proposal>
        proposals; // by where the line begins, and what is proposed for it
    const auto forEachLine = [&](const auto &use) {
        for (Finding &finding : findings->list) {
            if (finding.file != subject.medium.catalogue)
                continue;
            for (int i = 0; i < finding.edits.size(); ++i) {
                const Edit &edit = finding.edits.at(i);
                const QByteArray key = keyIn(subject, lines, edit);
                if (!key.isEmpty())
                    use(finding, i, key);
            }
        }
    };
    QHash<int, QByteArray> first; // of each line, about which the author need not be asked
    forEachLine([&](const Finding &finding, int i, const QByteArray &key) {
        const Edit &edit = finding.edits.at(i);
        Proposal &proposal = proposals[{edit.begin, edit.text}];
        if (proposal.key.isEmpty())
            proposal = {key,
                        edit.text.mid(key.size()),
                        suppressions.idsFor(subject.file.position(edit.begin).line),
                        {},
                        {},
                        false};
        if (!proposal.ids.contains(finding.id))
            proposal.ids.append(finding.id);
        proposal.isMendable |= finding.mendable;
        if (finding.mendable && !first.contains(edit.begin))
            first.insert(edit.begin, edit.text);
    });
    for (auto one = proposals.constBegin(); one != proposals.constEnd(); ++one) {
        const auto its = proposals.find({one.key().first, first.value(one.key().first)});
        if (one->isMendable && its != proposals.end() && &*its != &*one)
            its->others.append(&*one);
    }
    Lines catalogue(subject, rules);
    QVector<Proposal *> open;
    for (auto line = first.constBegin(); line != first.constEnd(); ++line)
        open.append(&proposals[{line.key(), line.value()}]);
    catalogue.complete(open, isLookedAtAgain);
    open.clear();
    for (auto proposal = proposals.begin(); proposal != proposals.end(); ++proposal) {
        const auto other = proposals.find({proposal.key().first, first.value(proposal.key().first)});
        if (other == proposal)
            continue;
        if (other != proposals.end() && proposal->isMendable && putsRight(*other, *proposal))
            proposal->takeFrom(*other);
        else
            open.append(&*proposal);
    }
    catalogue.complete(open, isLookedAtAgain);
    forEachLine([&](Finding &finding, int i, const QByteArray &) {
        const Edit before = finding.edits.at(i);
        const Proposal &proposal = proposals[{before.begin, before.text}];
        if (proposal.also.isEmpty())
            return;
        const bool isItsLine =
            !finding.right.isEmpty() && finding.right == mendedLine(subject.file.bytes(), finding.edits);
        finding.edits[i].text = proposal.key + proposal.value;
        finding.also += proposal.also;
        if (isItsLine)
            finding.right = mendedLine(subject.file.bytes(), finding.edits);
    });
}
