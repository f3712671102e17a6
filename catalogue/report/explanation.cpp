// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "report/explanation.h"

#include "report/report.h"
#include "rules/findings.h"

#include <QFile>
#include <QRegularExpression>

namespace
{

QStringList readParagraphs()
{
    QFile manual(":/writing-catalogues.md");
    if (!manual.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(manual.readAll()).split(QRegularExpression("\n\n+"));
}

} // namespace

QString explanationOf(const QString &id)
{
    static const QStringList paragraphs = readParagraphs();
    const QRegularExpression head("^(\\*\\*`[a-z0-9-]+`\\*\\* \\(\\w+\\)[,.]\\s)*\\*\\*`"
                                  + QRegularExpression::escape(id) + "`\\*\\* \\(");
    for (const QString &paragraph : paragraphs) {
        if (head.match(paragraph).hasMatch())
            return paragraph.trimmed();
    }
    return QString();
}

QByteArray ruleList()
{
    QString list;
    for (const QString &id : findingIds()) {
        const bool asks = !questionOf(id).isEmpty();
        const QString mending = changeOf(id) & AsksAuthor ? "asks" : asks ? "fixed, or asks" : "fixed";
        list += QString("%1 %2 %3\n").arg(id, -26).arg(severityName(severityOf(id)), -8).arg(mending);
    }
    return list.toUtf8();
}
