// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "mending/diff.h"

#include <QHash>
#include <QVector>

#include <algorithm>

namespace
{

using Lines = QVector<QByteArray>; ///< with their line feeds

Lines linesOf(const QByteArray &text)
{
    Lines lines;
    for (int at = 0; at < text.size();) {
        const int feed = text.indexOf('\n', at);
        const int end = feed < 0 ? text.size() : feed + 1;
        lines.append(text.mid(at, end - at));
        at = end;
    }
    return lines;
}

/// A line of the one text that is one of the other.
struct Pair {
    int before;
    int after;
};

/// Of pairs in the order of the one text, the longest sequence that is in the order of the other as well.
QVector<Pair> longestInOrder(const QVector<Pair> &pairs)
{
    QVector<int> ends; // of a sequence of each length, the pair that ends it earliest
    QVector<int> previous(pairs.size(), -1);
    for (int i = 0; i < pairs.size(); ++i) {
        const auto longer = std::lower_bound(ends.begin(), ends.end(), pairs.at(i).after,
                                             [&](int end, int after) { return pairs.at(end).after < after; });
        const int length = static_cast<int>(longer - ends.begin());
        previous[i] = length > 0 ? ends.at(length - 1) : -1;
        if (longer == ends.end())
            ends.append(i);
        else
            *longer = i;
    }
    QVector<Pair> found;
    for (int i = ends.isEmpty() ? -1 : ends.last(); i >= 0; i = previous.at(i))
        found.append(pairs.at(i));
    std::reverse(found.begin(), found.end());
    return found;
}

/// Lines that stand once in each text.
QVector<Pair> uniquePairs(const Lines &before, const Lines &after)
{
    QHash<QByteArray, int> counts;
    QHash<QByteArray, int> places;
    for (const QByteArray &line : before)
        ++counts[line];
    QHash<QByteArray, int> countsAfter;
    for (int i = 0; i < after.size(); ++i) {
        ++countsAfter[after.at(i)];
        places[after.at(i)] = i;
    }
    QVector<Pair> pairs;
    for (int i = 0; i < before.size(); ++i) {
        const QByteArray &line = before.at(i);
        if (counts.value(line) == 1 && countsAfter.value(line) == 1)
            pairs.append({i, places.value(line)});
    }
    return pairs;
}

/// All lines that stay: those that stand once, and around them as many as are the same.
QVector<Pair> linesThatStay(const Lines &before, const Lines &after)
{
    QVector<Pair> anchors = longestInOrder(uniquePairs(before, after));
    anchors.append({before.size(), after.size()});
    QVector<Pair> stay;
    Pair at{0, 0};
    for (const Pair &anchor : qAsConst(anchors)) {
        while (at.before < anchor.before && at.after < anchor.after
               && before.at(at.before) == after.at(at.after))
            stay.append({at.before++, at.after++});
        Pair back = anchor;
        while (back.before > at.before && back.after > at.after
               && before.at(back.before - 1) == after.at(back.after - 1)) {
            --back.before;
            --back.after;
        }
        for (; back.before < anchor.before; ++back.before, ++back.after)
            stay.append(back);
        if (anchor.before < before.size())
            stay.append(anchor);
        at = {anchor.before + 1, anchor.after + 1};
    }
    return stay;
}

/// One line of the outcome: what stays, what goes, what comes.
struct Step {
    char sign;
    QByteArray line;
    Pair at; ///< how many lines are before it in each text
};

QVector<Step> stepsOf(const Lines &before, const Lines &after)
{
    QVector<Pair> stay = linesThatStay(before, after);
    stay.append({before.size(), after.size()});
    QVector<Step> steps;
    Pair at{0, 0};
    for (const Pair &next : qAsConst(stay)) {
        for (; at.before < next.before; ++at.before)
            steps.append({'-', before.at(at.before), at});
        for (; at.after < next.after; ++at.after)
            steps.append({'+', after.at(at.after), at});
        if (at.before < before.size() && at.after < after.size()) {
            steps.append({' ', before.at(at.before), at});
            ++at.before;
            ++at.after;
        }
    }
    return steps;
}

/// "START,LENGTH"; a length of none has the number of the line before it.
QByteArray range(int begin, int length)
{
    const QByteArray start = QByteArray::number(length == 0 ? begin : begin + 1);
    return length == 1 ? start : start + ',' + QByteArray::number(length);
}

QByteArray hunk(const QVector<Step> &steps, int begin, int end)
{
    QByteArray lines;
    int goes = 0;
    int comes = 0;
    for (int i = begin; i < end; ++i) {
        const Step &step = steps.at(i);
        goes += step.sign != '+';
        comes += step.sign != '-';
        lines += step.sign + step.line;
        if (!step.line.endsWith('\n'))
            lines += "\n\\ No newline at end of file\n";
    }
    const Pair &at = steps.at(begin).at;
    return "@@ -" + range(at.before, goes) + " +" + range(at.after, comes) + " @@\n" + lines;
}

} // namespace

QByteArray unifiedDiff(const QByteArray &name, const QByteArray &before, const QByteArray &after)
{
    constexpr int context = 3;
    if (before == after)
        return QByteArray();
    const QVector<Step> steps = stepsOf(linesOf(before), linesOf(after));
    QByteArray diff = "--- " + name + "\t\n+++ " + name + "\t\n";
    int begin = -1;
    int end = 0; // behind the context of the last change
    for (int i = 0; i < steps.size(); ++i) {
        if (steps.at(i).sign == ' ')
            continue;
        if (begin >= 0 && i - context > end) {
            diff += hunk(steps, begin, end);
            begin = -1;
        }
        if (begin < 0)
            begin = qMax(end, i - context);
        end = qMin(i + 1 + context, steps.size());
    }
    return diff + hunk(steps, begin, end);
}
