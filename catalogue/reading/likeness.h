// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef LIKENESS_H
#define LIKENESS_H

#include <QString>

/// How many letters have to be put in, taken out, replaced, or swapped with the next one, to make one word of
/// the other. Takes time and memory by the product of their lengths.
int changesBetween(const QString &a, const QString &b);

#endif
