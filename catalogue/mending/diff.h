// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef DIFF_H
#define DIFF_H

#include <QByteArray>

/// What patch(1) makes of the one text the other with, byte by byte; empty when they are the same. Lines end
/// with a line feed alone, so that a carriage return is part of its line.
QByteArray unifiedDiff(const QByteArray &name, const QByteArray &before, const QByteArray &after);

#endif
