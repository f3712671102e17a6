// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A program that has the tool's code without the stand-ins, which it must not get as far as running.
//
// Usage: unisolated window | screen | verdict CATALOGUE | preview CATALOGUE DIR

#include "common/failure.h"
#include "reading/medium.h"
#include "window/isolatedwindow.h"
#include "window/preview.h"
#include "window/screen.h"
#include "window/verdict.h"

#include <QApplication>

namespace
{

/// Does one of the things for which a window is made. Returns whether there is such a thing.
bool makeWindowFor(const QStringList &arguments)
{
    const QString what = arguments.value(1);
    if (what == "window")
        const IsolatedWindow window;
    else if (what == "screen")
        const Screen screen;
    else if (what == "verdict")
        readVerdict(arguments.value(2));
    else if (what == "preview") {
        Medium medium;
        medium.catalogue = arguments.value(2);
        QStringList files;
        Failure failure;
        previewMedium(medium, arguments.value(3), QString(), &files, &failure);
    } else
        return false;
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    return makeWindowFor(QApplication::arguments()) ? ExitClean : ExitUsage;
}
