// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/eventloop.h"

#include <QCoreApplication>
#include <QTimer>

int exitCodeOfEventLoop(const std::function<void()> &act)
{
    QTimer afterwards; // ends with this call, so that it cannot end a later loop
    afterwards.setSingleShot(true);
    QObject::connect(&afterwards, &QTimer::timeout, [] { QCoreApplication::exit(loopGoesOn); });
    QTimer::singleShot(0, &afterwards, [&] {
        act();
        afterwards.start(0);
    });
    return QCoreApplication::exec();
}
