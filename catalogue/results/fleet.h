// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FLEET_H
#define FLEET_H

#include "results/reports.h"

#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

struct Failure;

/// A step by the names of its medium and of itself.
using Step = QPair<QString, QString>;

/// How a step stands on a controller.
struct Result {
    QString controller;
    Step step;
    QString outcome; ///< that of `run`, or "missing"
    StepRun run;     ///< the last one that was run there or had been before; else the last one that was not
    int runs = 0;    ///< how often its command was started

    bool isMissing() const
    {
        return outcome == "missing";
    }
    bool isDone() const
    {
        return run.isDone();
    }
};

/// Every controller with every step, whether it had it or not.
struct Fleet {
    QStringList controllers;
    QVector<Step> steps;
    QVector<Result> results;                 ///< by controller, then by step
    QMap<Step, QMap<QString, int>> outcomes; ///< of each step, how many controllers have which
    QStringList unexpected; ///< controllers that reported, and are not among those that were to
    QStringList reborn; ///< controllers with more than one history: a new disk, or two with one serial number
    bool isComplete = true; ///< everything is done everywhere
};

/// Puts the runs together. Controllers in `expected` are in the fleet whether they have reported or not.
Fleet fleetOf(const Reports &reports, const QStringList &expected);

/// Reads the serial numbers of a file, one in each line, what stands before a comma; "#" starts a comment.
bool readExpected(const QString &file, QStringList *expected, Failure *failure);

#endif
