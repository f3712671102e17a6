// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/fleet.h"

#include "common/failure.h"

#include <QFile>
#include <QSet>
#include <QTextCodec>

#include <algorithm>
#include <tuple>

namespace
{

/// The runs of one controller in the order in which they came about. A controller's clock may be wrong, so
/// that within a history its numbers count; one history comes before another when it has ended before.
void sortRuns(QVector<StepRun> *runs)
{
    QMap<QString, QString> ends;
    for (const StepRun &run : *runs)
        ends[run.history] = std::max(ends.value(run.history), run.time);
    const auto order = [&ends](const StepRun &run) {
        return std::make_tuple(ends.value(run.history), run.history, run.number, run.time);
    };
    std::stable_sort(runs->begin(), runs->end(),
                     [&order](const StepRun &a, const StepRun &b) { return order(a) < order(b); });
}

/// A run that was not, after a failure or on another kind of controller, does not undo one that was.
void add(const StepRun &run, Result *result)
{
    const bool counts = run.wasRun() || run.outcome == "already";
    const bool hasCounted = result->run.wasRun() || result->run.outcome == "already";
    if (run.wasRun())
        ++result->runs;
    if (!counts && hasCounted)
        return;
    result->run = run;
    result->outcome = run.outcome;
}

} // namespace

Fleet fleetOf(const Reports &reports, const QStringList &expected)
{
    QMap<QString, QVector<StepRun>> runs;
    QMap<Step, int> steps;
    QSet<QString> awaited;
    for (const QString &controller : expected) {
        runs[controller];
        awaited.insert(controller);
    }
    for (const StepRun &run : reports.runs) {
        runs[run.controller].append(run);
        steps[{run.medium, run.name}];
    }
    Fleet fleet;
    fleet.steps = steps.keys().toVector();
    fleet.controllers = runs.keys();
    for (auto own = runs.begin(); own != runs.end() && !expected.isEmpty(); ++own) {
        if (!awaited.contains(own.key()))
            fleet.unexpected.append(own.key());
    }
    for (auto own = runs.begin(); own != runs.end(); ++own) {
        sortRuns(&own.value());
        QMap<Step, Result> results;
        QMap<QString, int> histories;
        for (const Step &step : fleet.steps)
            results.insert(step, {own.key(), step, "missing", {}, 0});
        for (const StepRun &run : own.value()) {
            add(run, &results[{run.medium, run.name}]);
            ++histories[run.history];
        }
        if (histories.size() > 1)
            fleet.reborn.append(own.key());
        for (const Result &result : results) {
            ++fleet.outcomes[result.step][result.outcome];
            fleet.isComplete = fleet.isComplete && result.isDone();
            fleet.results.append(result);
        }
    }
    return fleet;
}

bool readExpected(const QString &path, QStringList *expected, Failure *failure)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *failure = {ExitNoInput, path + ": cannot be read: " + file.errorString()};
        return false;
    }
    const QByteArray bytes = file.readAll();
    const QTextCodec *codec = QTextCodec::codecForUtfText(bytes, QTextCodec::codecForName("UTF-8"));
    for (const QString &line : codec->toUnicode(bytes).split('\n')) {
        const QString serial = line.section('#', 0, 0).section(',', 0, 0).trimmed();
        if (!serial.isEmpty())
            expected->append(serial);
    }
    return true;
}
