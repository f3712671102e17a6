// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "report/formats.h"

#include "reading/initext.h"
#include "reading/medium.h"
#include "report/explanation.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>

namespace
{

QString levelOf(Severity severity)
{
    return severityName(severity); // the same words
}

QJsonObject textObject(const QString &text)
{
    return {{"text", text}};
}

QString uriOf(const QString &path)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
}

/// A column that counts characters, from one that counts bytes.
int characterColumn(const QByteArray &bytes, const IniFile &file, Position at)
{
    const int begin = file.lineBegin(at.line);
    return begin < 0 ? at.column : textOf(bytes.mid(begin, at.column - 1)).toUcs4().size() + 1;
}

QJsonObject regionOf(const Checked &one, const IniFile &file, const Finding &finding)
{
    if (finding.file != one.medium.catalogue)
        return {{"startLine", finding.at.line}};
    const QByteArray &bytes = one.medium.bytes;
    return {{"startLine", finding.at.line},
            {"startColumn", characterColumn(bytes, file, finding.at)},
            {"endLine", finding.end.line},
            {"endColumn", characterColumn(bytes, file, finding.end)}};
}

QJsonArray fixesOf(const Finding &finding)
{
    QJsonArray replacements;
    for (const Edit &edit : finding.edits) {
        QJsonObject replacement{{"deletedRegion", QJsonObject{{"byteOffset", edit.begin},
                                                              {"byteLength", edit.end - edit.begin}}}};
        if (!edit.text.isEmpty())
            replacement["insertedContent"] = textObject(textOf(edit.text));
        replacements.append(replacement);
    }
    const QJsonObject change{{"artifactLocation", QJsonObject{{"uri", uriOf(finding.file)}}},
                             {"replacements", replacements}};
    return {QJsonObject{{"description", textObject(printable(finding.right))},
                        {"artifactChanges", QJsonArray{change}}}};
}

QJsonObject resultOf(const Checked &one, const IniFile &file, const Finding &finding, bool isSuppressed)
{
    const QJsonObject place{{"artifactLocation", QJsonObject{{"uri", uriOf(finding.file)}}},
                            {"region", regionOf(one, file, finding)}};
    QJsonObject result{{"ruleId", finding.id},
                       {"ruleIndex", findingIds().indexOf(finding.id)},
                       {"level", levelOf(finding.severity)},
                       {"message", textObject(printable(finding.message))},
                       {"locations", QJsonArray{QJsonObject{{"physicalLocation", place}}}}};
    if (!finding.edits.isEmpty())
        result["fixes"] = fixesOf(finding);
    if (isSuppressed)
        result["suppressions"] = QJsonArray{QJsonObject{{"kind", "inSource"}}};
    return result;
}

QJsonArray ruleObjects()
{
    QJsonArray rules;
    for (const QString &id : findingIds())
        rules.append(QJsonObject{{"id", id},
                                 {"fullDescription", textObject(explanationOf(id))},
                                 {"defaultConfiguration", QJsonObject{{"level", levelOf(severityOf(id))}}}});
    return rules;
}

/// As a property of a workflow's command takes it.
QString escaped(const QString &text, bool isProperty)
{
    QString taken = text;
    taken.replace('%', "%25").replace('\r', "%0D").replace('\n', "%0A");
    return isProperty ? taken.replace(':', "%3A").replace(',', "%2C") : taken;
}

} // namespace

QByteArray jsonReports(const QVector<Checked> &media)
{
    QJsonArray reports;
    for (const Checked &one : media) {
        const QByteArray report = jsonReport(one.medium, one.verdict, one.findings);
        if (media.size() == 1)
            return report;
        reports.append(QJsonDocument::fromJson(report).object());
    }
    const QJsonObject all{{"format", "zul_catalogue checks"}, {"version", 1}, {"media", reports}};
    return QJsonDocument(all).toJson();
}

QByteArray sarifReport(const QVector<Checked> &media, const QString &version)
{
    QJsonArray results;
    for (const Checked &one : media) {
        const IniFile file(one.medium.bytes);
        for (const Finding &finding : one.findings.list)
            results.append(resultOf(one, file, finding, false));
        for (const Finding &finding : one.findings.suppressed)
            results.append(resultOf(one, file, finding, true));
    }
    const QJsonObject driver{{"name", "zul_catalogue"}, {"version", version}, {"rules", ruleObjects()}};
    const QJsonObject run{
        {"tool", QJsonObject{{"driver", driver}}}, {"columnKind", "unicodeCodePoints"}, {"results", results}};
    const QJsonObject report{{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                             {"version", "2.1.0"},
                             {"runs", QJsonArray{run}}};
    return QJsonDocument(report).toJson();
}

QByteArray githubReport(const QVector<Checked> &media)
{
    QString report;
    for (const Checked &one : media) {
        for (const Finding &finding : one.findings.list) {
            const QString command =
                finding.severity == Severity::Note ? "notice" : severityName(finding.severity);
            report +=
                QString("::%1 file=%2,line=%3,endLine=%4,col=%5,endColumn=%6,title=%7::%8\n")
                    .arg(command, escaped(printable(finding.file), true), QString::number(finding.at.line),
                         QString::number(finding.end.line), QString::number(finding.at.column),
                         QString::number(finding.end.column), finding.id,
                         escaped(printable(finding.message) + "\nright: " + printable(finding.right), false));
        }
    }
    return report.toUtf8();
}
