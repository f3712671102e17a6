// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "report/report.h"

#include "common/exitcode.h"
#include "mending/mending.h"
#include "reading/initext.h"
#include "reading/medium.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <unistd.h>

namespace
{

constexpr int formatVersion = 1;

QString modeName(Verdict::Mode mode)
{
    switch (mode) {
    case Verdict::Selection:
        return "selection";
    case Verdict::Direct:
        return "direct";
    case Verdict::Unrecognised:
        break;
    }
    return "unrecognised";
}

// --- For people -----------------------------------------------------------------------------------------

/// Writes the report for people, in colours or without.
class TextReport
{
public:
    explicit TextReport(bool withColours)
        : colours(withColours)
    {
    }

    void addVerdict(const Medium &medium, const Verdict &verdict)
    {
        text += "Catalogue: " + printable(medium.catalogue) + '\n';
        addHeading(verdict);
        int number = 0;
        for (const Operation &operation : verdict.operations)
            addOperation(QString::number(++number), operation);
        if (verdict.mode == Verdict::Selection)
            addClosing(verdict);
    }

    void addFindings(const Findings &findings)
    {
        text += '\n';
        for (const Finding &finding : findings.list)
            addFinding(finding);
        addCounts(findings);
    }

    void addMending(const Mended &mended)
    {
        text += counted(mended.done.size(), "finding") + " put right, "
                + counted(mended.left.list.size(), "finding") + " left to you\n";
        QHash<QString, QString> reasons;
        for (const Refusal &refusal : mended.refused)
            reasons.insert(refusal.finding.id + refusal.finding.message, refusal.reason);
        if (!mended.left.list.isEmpty())
            text += '\n';
        for (const Finding &finding : mended.left.list) {
            addFinding(finding);
            const QString reason = reasons.value(finding.id + finding.message, questionOf(finding.id));
            text += "    decide: " + printable(reason) + '\n';
        }
        addCounts(mended.left);
    }

    QByteArray bytes() const
    {
        return text.toUtf8();
    }

private:
    void addCounts(const Findings &findings)
    {
        for (auto more = findings.omitted.begin(); more != findings.omitted.end(); ++more)
            text += QString("and %1 more [%2]\n").arg(more.value()).arg(more.key());
        if (!findings.list.isEmpty())
            text += '\n';
        text += counted(findings.count(Severity::Error), "error") + ", "
                + counted(findings.count(Severity::Warning), "warning") + ", "
                + counted(findings.count(Severity::Note), "note");
        text +=
            findings.suppressed.isEmpty() ? "\n" : QString(", %1 ignored\n").arg(findings.suppressed.size());
    }

    void addHeading(const Verdict &verdict)
    {
        if (verdict.mode == Verdict::Unrecognised)
            text += "Mode: none. The tool shows its window with empty lists and runs nothing.\n";
        else if (verdict.mode == Verdict::Direct && verdict.operations.isEmpty())
            text += "Mode: direct, with nothing to run.\n";
        else if (verdict.mode == Verdict::Direct)
            text += "Mode: direct. These run at once, in this order:\n";
        else if (verdict.operations.isEmpty())
            text += "Mode: selection, with an empty operations list.\n";
        else
            text += "Mode: selection. The operator chooses from this list:\n";
    }

    void addOperation(const QString &number, const Operation &operation)
    {
        const QString name = operation.name.isEmpty() ? "(no name)" : printable(operation.name);
        text += QString("%1  %2\n").arg(number, 4).arg(strong(name));
        if (operation.skipped && operation.command.isEmpty())
            text += "      skipped, marked completed: no command\n";
        else if (operation.skipped)
            text += "      skipped, marked completed: \"sh\" without an argument in "
                    + printable(operation.command) + '\n';
        else
            text += "      runs " + brackets(operation.words) + '\n';
        if (operation.calibration)
            text += "      hides the page while it runs (calibration)\n";
    }

    void addClosing(const Verdict &verdict)
    {
        if (!verdict.endGame)
            text += "ENDGAME is false: nothing is added to a confirmed batch.\n";
        else if (verdict.closing.isEmpty())
            text += "ENDGAME is true, but nothing can be confirmed.\n";
        else
            text += "ENDGAME is true: every confirmed batch ends with\n";
        for (const Operation &operation : verdict.closing)
            addOperation("+", operation);
    }

    void addFinding(const Finding &finding)
    {
        const QString place = QString("%1:%2:%3:")
                                  .arg(printable(finding.file), QString::number(finding.at.line),
                                       QString::number(finding.at.column));
        text +=
            QString("%1 %2 %3 [%4]\n")
                .arg(strong(place), severityLabel(finding.severity), printable(finding.message), finding.id);
        text +=
            (finding.isAdvice ? "    advice: " : "    right: ") + shortened(printable(finding.right)) + '\n';
    }

    QString brackets(const QStringList &words) const
    {
        QStringList parts;
        for (const QString &word : words)
            parts.append('[' + printable(word) + ']');
        return parts.isEmpty() ? "nothing, and fails" : parts.join(' ');
    }

    QString severityLabel(Severity severity) const
    {
        static const char *const codes[] = {"\x1b[36m", "\x1b[35m", "\x1b[31m"};
        const QString label = severityName(severity) + ':';
        return colours ? codes[static_cast<int>(severity)] + label + "\x1b[0m" : label;
    }

    QString strong(const QString &part) const
    {
        return colours ? "\x1b[1m" + part + "\x1b[0m" : part;
    }

    static QString shortened(const QString &line)
    {
        constexpr int most = 1000;
        return line.size() <= most ? line : line.left(most) + QString("... (whole with --json)");
    }

    const bool colours;
    QString text;
};

// --- For programs ---------------------------------------------------------------------------------------

QJsonObject operationObject(const Operation &operation)
{
    QJsonObject object{{"name", operation.name},
                       {"command", operation.command},
                       {"skipped", operation.skipped},
                       {"calibration", operation.calibration}};
    if (!operation.skipped) {
        object["program"] = operation.words.value(0);
        object["arguments"] = QJsonArray::fromStringList(operation.words.mid(1));
    }
    return object;
}

QJsonArray operationArray(const QVector<Operation> &operations)
{
    QJsonArray array;
    for (const Operation &operation : operations)
        array.append(operationObject(operation));
    return array;
}

QJsonArray editArray(const QVector<Edit> &edits)
{
    QJsonArray array;
    for (const Edit &edit : edits)
        array.append(QJsonObject{{"begin", edit.begin}, {"end", edit.end}, {"text", textOf(edit.text)}});
    return array;
}

QJsonObject findingObject(const Finding &finding)
{
    return {{"id", finding.id},
            {"severity", severityName(finding.severity)},
            {"file", finding.file},
            {"line", finding.at.line},
            {"column", finding.at.column},
            {"endLine", finding.end.line},
            {"endColumn", finding.end.column},
            {"message", finding.message},
            {"right", finding.right},
            {"advice", finding.isAdvice},
            {"mendable", finding.mendable},
            {"edits", editArray(finding.edits)}};
}

} // namespace

QString severityName(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Note:
        break;
    }
    return "note";
}

QByteArray textReport(const Medium &medium, const Verdict &verdict, const Findings &findings, bool colours)
{
    TextReport report(colours);
    report.addVerdict(medium, verdict);
    report.addFindings(findings);
    return report.bytes();
}

QByteArray mendingReport(const Mended &mended, bool colours)
{
    TextReport report(colours);
    report.addMending(mended);
    return report.bytes();
}

QString counted(qint64 count, const QString &what)
{
    return QString("%1 %2%3").arg(count).arg(what, count == 1 ? "" : "s");
}

QByteArray jsonReport(const Medium &medium, const Verdict &verdict, const Findings &findings)
{
    QJsonArray list;
    for (const Finding &finding : findings.list)
        list.append(findingObject(finding));
    QJsonArray suppressed;
    for (const Finding &finding : findings.suppressed) {
        QJsonObject object = findingObject(finding);
        object["reason"] = finding.reason;
        suppressed.append(object);
    }
    QJsonObject omitted;
    for (auto more = findings.omitted.begin(); more != findings.omitted.end(); ++more)
        omitted[more.key()] = more.value();
    const QJsonObject report{{"format", "zul_catalogue check"},
                             {"version", formatVersion},
                             {"catalogue", medium.catalogue},
                             {"mode", modeName(verdict.mode)},
                             {"operations", operationArray(verdict.operations)},
                             {"endgame", verdict.endGame},
                             {"closing", operationArray(verdict.closing)},
                             {"log", QJsonArray::fromStringList(verdict.log)},
                             {"findings", list},
                             {"suppressed", suppressed},
                             {"omitted", omitted},
                             {"errors", findings.count(Severity::Error)},
                             {"warnings", findings.count(Severity::Warning)},
                             {"notes", findings.count(Severity::Note)}};
    return QJsonDocument(report).toJson();
}

int fail(int exitCode, const QString &message)
{
    std::fprintf(stderr, "zul_catalogue: %s\n", qPrintable(printable(message)));
    return exitCode;
}

bool wantsColours()
{
    return isatty(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

int exitCodeOf(const Findings &findings, bool strict)
{
    if (findings.count(Severity::Error) > 0)
        return ExitErrors;
    return strict && findings.count(Severity::Warning) > 0 ? ExitWarnings : ExitClean;
}

/// What turns the direction of the letters around it, or ends a line.
static bool turnsText(ushort letter)
{
    return letter == 0x61c || letter == 0x200e || letter == 0x200f || (letter >= 0x2028 && letter <= 0x202e)
           || (letter >= 0x2066 && letter <= 0x2069);
}

QString printable(const QString &text)
{
    QString shown;
    for (const QChar character : text) {
        if (character == '\n')
            shown += "\\n";
        else if (character == '\t')
            shown += "\\t";
        else if (character.unicode() < 0x20 || (character.unicode() >= 0x7f && character.unicode() < 0xa0)
                 || turnsText(character.unicode()))
            shown += QString("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            shown += character;
    }
    return shown;
}
