// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef STEPRUN_H
#define STEPRUN_H

#include <QByteArray>
#include <QString>

/// One line of a report, as kit/medium/step writes it; docs/writing-catalogues.md describes the fields.
struct StepRun {
    QString history; ///< "none" where the controller could not keep one
    qint64 number = 0;
    QString time;
    qint64 seconds = 0;
    QString controller; ///< empty where it has no serial number
    QString medium;
    QString name;
    QString outcome;
    int exit = -1; ///< -1 when it has only begun
    QString output;

    bool hasBegunOnly() const
    {
        return outcome == "begun";
    }
    /// Whether its command was started; "stopped", "other-kind" and "already" say that it was not.
    bool wasRun() const;
    /// Whether the controller has what the step is to bring.
    bool isDone() const
    {
        return outcome == "done" || outcome == "already";
    }
};

/// How every line begins, and what no line has in it elsewhere, as quotation marks in texts are escaped.
constexpr char stepMark[] = "{\"zul_step\":";

/// Reads a line. Returns what is wrong with it, empty when nothing is.
QString readStepRun(const QByteArray &line, StepRun *run);

#endif
