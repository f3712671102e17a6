// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef REPORTS_H
#define REPORTS_H

#include "results/steprun.h"

#include <QStringList>
#include <QVector>

struct Failure;

/// A line that is no report of a step, or the part of one that is none.
struct DamagedLine {
    QString file;
    qint64 line = 0; ///< from 1
    QString why;
    QByteArray text; ///< the bytes, at most a kilobyte of them
};

/// Of how many damaged lines the text is kept: a disk full of them is no reason to run out of memory.
constexpr int mostDamagedLines = 1000;

/// What was found in the folders of a fleet.
struct Reports {
    QVector<StepRun> runs;        ///< each once, however often it was collected
    QVector<DamagedLine> damaged; ///< the first of them
    qint64 damagedLines = 0;      ///< all of them
    int files = 0;
    qint64 duplicates = 0; ///< lines that were there more than once
};

/// Reads every file *.jsonl below the folders, each of `places` that is a file, and for "-" the standard
/// input. What follows a damaged part of a line is read all the same. Fails when one of them cannot be read.
bool readReports(const QStringList &places, Reports *reports, Failure *failure);

#endif
