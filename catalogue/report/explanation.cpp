// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "report/explanation.h"

#include "report/report.h"
#include "rules/findings.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace
{

const char heads[] = R"(^(\*\*`[a-z0-9-]+`\*\* \(\w+\)[,.]\s+)*)";

QStringList readParagraphs()
{
    QFile manual(":/writing-catalogues.md");
    if (!manual.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(manual.readAll()).split(QRegularExpression("\n\n+"));
}

/// Whether "fix" puts it right: "fixed", "asks", or "either".
QString mendingOf(const QString &id)
{
    if (changeOf(id) & AsksAuthor)
        return "asks";
    return questionOf(id).isEmpty() ? "fixed" : "either";
}

} // namespace

QString explanationOf(const QString &id)
{
    static const QStringList paragraphs = readParagraphs();
    const QRegularExpression head(heads + ("\\*\\*`" + QRegularExpression::escape(id)) + "`\\*\\* \\(");
    for (const QString &paragraph : paragraphs) {
        if (head.match(paragraph).hasMatch())
            return paragraph.trimmed();
    }
    return QString();
}

QString summaryOf(const QString &id)
{
    static const QRegularExpression head(heads), sentence(R"(^(`[^`]*`|[^`])*?\.(?=\s|$))");
    const QString text = explanationOf(id).remove(head);
    return plainText(sentence.match(text).captured());
}

QString plainText(const QString &markdown)
{
    return QString(markdown).remove("**").remove('`').simplified();
}

QString unknownFinding(const QString &id)
{
    constexpr int most = 3;
    const QStringList similar = similarIds(id).mid(0, most);
    return id + ": no such finding; "
           + (similar.isEmpty() ? "zul_catalogue rules lists them"
                                : "did you mean " + similar.join(", ") + '?');
}

QByteArray ruleList()
{
    QString list;
    for (const QString &id : findingIds())
        list += QString("%1 %2 %3 %4\n")
                    .arg(id, -26)
                    .arg(severityName(severityOf(id)), -7)
                    .arg(mendingOf(id), -6)
                    .arg(summaryOf(id));
    return list.toUtf8();
}

QByteArray ruleListJson()
{
    QJsonArray rules;
    for (const QString &id : findingIds())
        rules.append(QJsonObject{{"id", id},
                                 {"severity", severityName(severityOf(id))},
                                 {"mending", mendingOf(id)},
                                 {"question", questionOf(id)},
                                 {"summary", summaryOf(id)},
                                 {"explanation", explanationOf(id)}});
    const QJsonObject list{{"format", "zul_catalogue rules"}, {"version", 1}, {"rules", rules}};
    return QJsonDocument(list).toJson();
}
