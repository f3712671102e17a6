// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/likeness.h"

#include <QVector>

int changesBetween(const QString &a, const QString &b)
{
    QVector<QVector<int>> rows(a.size() + 1, QVector<int>(b.size() + 1));
    for (int i = 0; i <= a.size(); ++i) {
        for (int k = 0; k <= b.size(); ++k) {
            int &least = rows[i][k];
            if (i == 0 || k == 0) {
                least = i + k;
                continue;
            }
            const bool isSame = a.at(i - 1) == b.at(k - 1);
            least = qMin(rows[i - 1][k - 1] + (isSame ? 0 : 1), qMin(rows[i - 1][k], rows[i][k - 1]) + 1);
            if (i > 1 && k > 1 && a.at(i - 1) == b.at(k - 2) && a.at(i - 2) == b.at(k - 1))
                least = qMin(least, rows[i - 2][k - 2] + 1);
        }
    }
    return rows.last().last();
}
