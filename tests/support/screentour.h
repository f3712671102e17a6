// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SCREENTOUR_H
#define SCREENTOUR_H

#include "support/testwindow.h"

#include <functional>

class QAbstractButton;

/// Goes through every screen of the real window as an operator does, in the language that is set: the list,
/// both questions, the status page with every state, the requests to unplug. Needs the sandbox.
class ScreenTour
{
public:
    /// Is called on each screen with its name and the window, or the question box, that shows it; where only
    /// one field has changed, with this field. It may look at it, and leave it as it was.
    using Visit = std::function<void(const QString &screen, QWidget &shown)>;

    explicit ScreenTour(Visit visit);
    void go();

    /// Names that operations have on the tour, short and long, as catalogues have them.
    static QStringList operationNames();

private:
    void visitList();
    void visitCountdown();
    void visitPressed(QAbstractButton &button, const QString &name);
    void visitQuestions();
    void visitQuestion(const char *button, const QString &name);
    void visitStatus();
    void visitExecution();
    void visitRequests();
    void visitLongBatch();

    Visit visit;
    TestWindow window;
};

#endif
