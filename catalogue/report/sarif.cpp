// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "report/formats.h"

#include "reading/initext.h"
#include "reading/medium.h"
#include "report/explanation.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextCodec>
#include <QUrl>

namespace
{

QJsonObject textObject(const QString &text)
{
    return {{"text", text}};
}

/// Relative where the file is below the folder that the program was started in; a file URI elsewhere.
QString uriOf(const QString &path)
{
    const QString relative = QDir::cleanPath(path);
    const bool isBelow = QDir::isRelativePath(relative) && !relative.startsWith("../") && relative != "..";
    const QString whole = isBelow ? relative : "//" + QDir::cleanPath(QDir::current().absoluteFilePath(path));
    return (isBelow ? "" : "file:") + QString::fromLatin1(QUrl::toPercentEncoding(whole, "/"));
}

QJsonObject artifactOf(const QString &path)
{
    return {{"uri", uriOf(path)}};
}

QJsonObject regionBetween(const IniFile &file, Position begin, Position end)
{
    return {{"startLine", begin.line},
            {"startColumn", characterColumn(file, begin)},
            {"endLine", end.line},
            {"endColumn", characterColumn(file, end)}};
}

/// Of another file than the catalogue the whole line.
QJsonObject regionOf(const Checked &one, const IniFile &file, const Finding &finding)
{
    if (finding.file != one.medium.catalogue)
        return {{"startLine", finding.at.line}};
    return regionBetween(file, finding.at, finding.end);
}

bool isText(const QByteArray &bytes)
{
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0 && !bytes.contains('\0');
}

/// Whether lines and characters say where the edit is: not within a character or a line's end, and not where
/// the byte-order mark is.
bool isInText(const IniFile &file, const Edit &edit)
{
    const QByteArray &bytes = file.bytes();
    const int begin = file.lineStart(edit.begin);
    const int end = lineEnd(bytes, edit.end);
    const QByteArray around = bytes.mid(edit.begin, edit.end - edit.begin) + bytes.mid(edit.end, 1);
    const bool isMark = file.hasByteOrderMark() && edit.begin < 3;
    return !isMark && !around.contains('\r') && bytes.mid(edit.begin - 1, 1) != "\r"
           && isText(bytes.mid(begin, edit.begin - begin)) && isText(bytes.mid(begin, end - begin))
           && isText(edit.text);
}

/// What goes, and what comes in its place: as text where that can be said, and else as bytes.
QJsonObject replacementOf(const Checked &one, const IniFile &file, const Finding &finding, const Edit &edit)
{
    if (finding.file == one.medium.catalogue && isInText(file, edit))
        return {{"deletedRegion", regionBetween(file, file.position(edit.begin), file.position(edit.end))},
                {"insertedContent", textObject(QString::fromUtf8(edit.text))}};
    return {{"deletedRegion", QJsonObject{{"byteOffset", edit.begin}, {"byteLength", edit.end - edit.begin}}},
            {"insertedContent", QJsonObject{{"binary", QString::fromLatin1(edit.text.toBase64())}}}};
}

QJsonArray fixesOf(const Checked &one, const IniFile &file, const Finding &finding)
{
    QJsonArray replacements;
    for (const Edit &edit : finding.edits)
        replacements.append(replacementOf(one, file, finding, edit));
    const QJsonObject change{{"artifactLocation", artifactOf(finding.file)}, {"replacements", replacements}};
    return {QJsonObject{{"description", textObject(printable(finding.right))},
                        {"artifactChanges", QJsonArray{change}}}};
}

QJsonObject resultOf(const Checked &one, const IniFile &file, const Finding &finding, bool isSuppressed)
{
    static const QStringList ids = findingIds();
    const QJsonObject place{{"artifactLocation", artifactOf(finding.file)},
                            {"region", regionOf(one, file, finding)}};
    QJsonObject result{{"ruleId", finding.id},
                       {"ruleIndex", ids.indexOf(finding.id)},
                       {"level", severityName(finding.severity)}, // the same words
                       {"message", textObject(printable(finding.message))},
                       {"locations", QJsonArray{QJsonObject{{"physicalLocation", place}}}},
                       {"properties", QJsonObject{{"mendable", finding.mendable}}}};
    if (!finding.edits.isEmpty())
        result["fixes"] = fixesOf(one, file, finding);
    if (isSuppressed)
        result["suppressions"] = QJsonArray{QJsonObject{
            {"kind", "inSource"}, {"status", "accepted"}, {"justification", printable(finding.reason)}}};
    return result;
}

QJsonArray ruleObjects()
{
    QJsonArray rules;
    for (const QString &id : findingIds()) {
        const QString markdown = explanationOf(id);
        rules.append(
            QJsonObject{{"id", id},
                        {"shortDescription", textObject(summaryOf(id))},
                        {"fullDescription", textObject(plainText(markdown))},
                        {"help", QJsonObject{{"text", plainText(markdown)}, {"markdown", markdown}}},
                        {"defaultConfiguration", QJsonObject{{"level", severityName(severityOf(id))}}}});
    }
    return rules;
}

QJsonObject notification(const QString &level, const QString &text)
{
    return {{"level", level}, {"message", textObject(printable(text))}};
}

/// How the run went: what was not checked, and of what not all is listed.
QJsonObject invocationOf(const Checks &checks)
{
    QJsonArray notifications;
    for (const Unchecked &one : checks.unchecked)
        notifications.append(notification("error", one.failure.message));
    for (const Checked &one : checks.media) {
        const QMap<QString, int> &omitted = one.findings.omitted;
        for (auto more = omitted.begin(); more != omitted.end(); ++more)
            notifications.append(notification("note", one.medium.catalogue
                                                          + QString(": and %1 more [").arg(more.value())
                                                          + more.key() + ']'));
    }
    return {{"executionSuccessful", checks.unchecked.isEmpty()},
            {"exitCode", checks.exitCode},
            {"toolExecutionNotifications", notifications}};
}

} // namespace

QByteArray sarifReport(const Checks &checks, const QString &version)
{
    QJsonArray results;
    for (const Checked &one : checks.media) {
        const IniFile file(one.medium.bytes);
        for (const Finding &finding : one.findings.list)
            results.append(resultOf(one, file, finding, false));
        for (const Finding &finding : one.findings.suppressed)
            results.append(resultOf(one, file, finding, true));
    }
    const QJsonObject driver{{"name", "zul_catalogue"},
                             {"version", version},
                             {"semanticVersion", version},
                             {"rules", ruleObjects()}};
    const QJsonObject run{{"tool", QJsonObject{{"driver", driver}}},
                          {"invocations", QJsonArray{invocationOf(checks)}},
                          {"columnKind", "unicodeCodePoints"},
                          {"defaultEncoding", "UTF-8"},
                          {"newlineSequences", QJsonArray{"\r\n", "\n", "\r"}},
                          {"results", results}};
    const QJsonObject report{{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                             {"version", "2.1.0"},
                             {"runs", QJsonArray{run}}};
    return QJsonDocument(report).toJson();
}
