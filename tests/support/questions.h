// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef QUESTIONS_H
#define QUESTIONS_H

#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include <functional>

/// Attends to the question boxes that open while it lives: keeps what each asks and does something about it,
/// once an opening.
class Questions
{
public:
    /// Taps this button of every box.
    explicit Questions(QMessageBox::StandardButton answer);
    /// Does this while a box is open.
    explicit Questions(std::function<void(QMessageBox &)> reaction);

    /// The texts of the boxes so far, oldest first.
    QStringList asked() const;

private:
    void attend();

    std::function<void(QMessageBox &)> react;
    QStringList texts;
    bool isAttended = false;
    QTimer timer;
};

#endif
