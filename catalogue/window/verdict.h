// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef VERDICT_H
#define VERDICT_H

#include <QString>
#include <QStringList>
#include <QVector>

/// One row of the operations list, or one command of a batch, as the tool has it.
struct Operation {
    QString name;
    QString command;
    bool skipped = false;     ///< marked completed without being run
    bool calibration = false; ///< hides the page while it runs
    QStringList words;        ///< program and arguments; empty for a skipped one
};

/// What the tool makes of a catalogue.
struct Verdict {
    enum Mode { Unrecognised, Selection, Direct };

    Mode mode = Unrecognised;
    QVector<Operation> operations; ///< in list order; in direct mode, in the order in which they run
    bool endGame = false;          ///< selection mode: whether a confirmed batch gets closing commands
    QVector<Operation> closing;    ///< those commands
    QStringList log;               ///< the tool's own debug lines while it read
};

/// Whether the tool marks a command completed without running it.
bool isSkipped(const QString &command);

/// The path's catalogue as the tool shows and runs it, found out by letting a window of the tool read it, and
/// by choosing its first operation and confirming. Needs a QApplication. The tool serves a catalogue that was
/// read before from its memory, unless size or time have changed.
Verdict readVerdict(const QString &path);

#endif
