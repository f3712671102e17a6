// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "report/formats.h"

#include "reading/initext.h"
#include "reading/medium.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{

/// As a property of a workflow's command takes it, or the text behind it.
QString escaped(const QString &text, bool isProperty)
{
    QString taken = text;
    taken.replace('%', "%25").replace('\r', "%0D").replace('\n', "%0A");
    return isProperty ? taken.replace(':', "%3A").replace(',', "%2C") : taken;
}

/// Of another file than the catalogue only the line is told; its bytes are not at hand.
QString githubLine(const Checked &one, const IniFile &file, const Finding &finding)
{
    const QString command = finding.severity == Severity::Note ? "notice" : severityName(finding.severity);
    QString place = QString(",line=%1,endLine=%2").arg(finding.at.line).arg(finding.end.line);
    if (finding.file == one.medium.catalogue)
        place += QString(",col=%1,endColumn=%2")
                     .arg(characterColumn(file, finding.at))
                     .arg(characterColumn(file, finding.end));
    const QString text = printable(finding.message) + "\nright: " + printable(finding.right);
    return "::" + command + " file=" + escaped(finding.file, true) + place + ",title=" + finding.id
           + "::" + escaped(text, false) + '\n';
}

} // namespace

int characterColumn(const IniFile &file, Position at)
{
    const int begin = file.lineBegin(at.line);
    if (begin < 0)
        return at.column;
    QByteArray before = file.bytes().mid(begin, at.column - 1);
    if (at.line == 1 && file.hasByteOrderMark())
        before.remove(0, 3);
    return textOf(before).toUcs4().size() + 1;
}

QByteArray jsonReports(const Checks &checks)
{
    if (!checks.areSeveral && !checks.media.isEmpty()) {
        const Checked &one = checks.media.first();
        return jsonReport(one.medium, one.verdict, one.findings);
    }
    QJsonArray reports;
    for (const Checked &one : checks.media)
        reports.append(QJsonDocument::fromJson(jsonReport(one.medium, one.verdict, one.findings)).object());
    QJsonArray unchecked;
    for (const Unchecked &one : checks.unchecked)
        unchecked.append(QJsonObject{
            {"medium", one.argument}, {"message", one.failure.message}, {"exitCode", one.failure.exitCode}});
    const QJsonObject all{
        {"format", "zul_catalogue checks"}, {"version", 1}, {"media", reports}, {"unchecked", unchecked}};
    return QJsonDocument(all).toJson();
}

QByteArray githubReport(const Checks &checks)
{
    QString report;
    for (const Checked &one : checks.media) {
        const IniFile file(one.medium.bytes);
        for (const Finding &finding : one.findings.list)
            report += githubLine(one, file, finding);
        const QMap<QString, int> &omitted = one.findings.omitted;
        for (auto more = omitted.begin(); more != omitted.end(); ++more)
            report += "::notice file=" + escaped(one.medium.catalogue, true) + ",title=" + more.key()
                      + QString("::and %1 more\n").arg(more.value());
    }
    for (const Unchecked &one : checks.unchecked)
        report += "::error title=zul_catalogue::" + escaped(printable(one.failure.message), false) + '\n';
    return report.toUtf8();
}
