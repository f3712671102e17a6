// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/fleetreport.h"

#include "report/report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <clocale>
#include <cwchar>

namespace
{

constexpr int formatVersion = 1;

QString exitOf(const Result &result)
{
    return result.run.exit < 0 ? "" : QString::number(result.run.exit);
}

/// What a table has in its columns, for a reader: nothing that a terminal would obey, and no empty column.
QStringList rowOf(const Result &result)
{
    QStringList row{result.controller, result.step.first, result.step.second,           result.outcome,
                    result.run.time,   exitOf(result),    QString::number(result.runs), result.run.output};
    for (int column = 0; column < row.size(); ++column)
        row[column] = printable(row.at(column));
    for (int column = 0; column < row.size() - 1; ++column) {
        if (row.at(column).isEmpty())
            row[column] = "-";
    }
    return row;
}

/// As a cell of a spreadsheet, which would compute what begins like a formula: with an apostrophe before it.
QByteArray cell(const QString &text)
{
    QByteArray bytes = text.toUtf8();
    const QByteArray begin = bytes.trimmed().left(1);
    if (!begin.isEmpty() && QByteArray("=+-@").contains(begin))
        bytes.prepend('\'');
    if (!bytes.contains(',') && !bytes.contains('"') && !bytes.contains('\n') && !bytes.contains('\r'))
        return bytes;
    return '"' + bytes.replace('"', "\"\"") + '"';
}

/// How many columns texts take on a terminal: a letter of East Asia two, an accent by itself none.
class Columns
{
public:
    Columns()
        : unicode(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
        , before(unicode ? uselocale(unicode) : nullptr)
    {
    }
    ~Columns()
    {
        if (!unicode)
            return;
        uselocale(before);
        freelocale(unicode);
    }
    Q_DISABLE_COPY(Columns)

    int of(const QString &text) const
    {
        int columns = 0;
        for (const uint letter : text.toUcs4()) {
            const int width = unicode ? wcwidth(static_cast<wchar_t>(letter)) : 1;
            columns += width < 0 ? 1 : width;
        }
        return columns;
    }

private:
    const locale_t unicode; ///< null where the computer has no such locale
    const locale_t before;
};

QByteArray tableOf(const QVector<QStringList> &rows)
{
    const Columns columns;
    QVector<int> widths(rows.first().size());
    for (const QStringList &row : rows) {
        for (int column = 0; column < row.size(); ++column)
            widths[column] = qMax(widths.at(column), columns.of(row.at(column)));
    }
    QString text;
    for (const QStringList &row : rows) {
        QString line;
        for (int column = 0; column < row.size(); ++column)
            line += row.at(column) + QString(widths.at(column) - columns.of(row.at(column)) + 2, ' ');
        while (line.endsWith(' '))
            line.chop(1);
        text += line + '\n';
    }
    return text.toUtf8();
}

QString summaryOf(const Step &step, const QMap<QString, int> &outcomes)
{
    QStringList parts;
    for (auto outcome = outcomes.begin(); outcome != outcomes.end(); ++outcome)
        parts.append(QString::number(outcome.value()) + ' ' + outcome.key());
    return printable(step.first) + ": " + printable(step.second) + ": " + parts.join(", ") + '\n';
}

QJsonObject jsonOf(const Result &result)
{
    QJsonObject object{{"controller", result.controller},
                       {"medium", result.step.first},
                       {"name", result.step.second},
                       {"outcome", result.outcome},
                       {"runs", result.runs}};
    if (result.isMissing())
        return object;
    object["time"] = result.run.time;
    object["seconds"] = result.run.seconds;
    object["exit"] = result.run.exit < 0 ? QJsonValue() : QJsonValue(result.run.exit);
    object["output"] = result.run.output;
    return object;
}

} // namespace

QByteArray fleetTable(const Fleet &fleet, const Reports &reports)
{
    const QStringList head{"CONTROLLER", "MEDIUM", "STEP", "OUTCOME", "WHEN", "EXIT", "RUNS", "LAST OUTPUT"};
    QVector<QStringList> rows{head};
    for (const Result &result : fleet.results)
        rows.append(rowOf(result));
    QString text = "\n";
    for (auto step = fleet.outcomes.begin(); step != fleet.outcomes.end(); ++step)
        text += summaryOf(step.key(), step.value());
    text += counted(fleet.controllers.size(), "controller") + ", " + counted(fleet.steps.size(), "step")
            + ", " + counted(reports.runs.size(), "report") + " in " + counted(reports.files, "file");
    if (reports.duplicates > 0)
        text += ", " + QString::number(reports.duplicates) + " more than once";
    if (reports.damagedLines > 0)
        text += ", " + counted(reports.damagedLines, "damaged line");
    text += '\n';
    if (!fleet.reborn.isEmpty()) {
        text += "A new disk, or two controllers with one serial number: " + printable(fleet.reborn.join(", "))
                + '\n';
    }
    if (!fleet.unexpected.isEmpty())
        text += "Not among those that were expected: " + printable(fleet.unexpected.join(", ")) + '\n';
    return tableOf(rows) + text.toUtf8();
}

QByteArray fleetCsv(const Fleet &fleet)
{
    QByteArray text = "controller,medium,name,outcome,time,exit,seconds,runs,output\r\n";
    for (const Result &result : fleet.results) {
        const StepRun &run = result.run;
        QByteArray line;
        for (const QString &field :
             {result.controller, result.step.first, result.step.second, result.outcome, run.time,
              exitOf(result), result.isMissing() ? QString() : QString::number(run.seconds),
              QString::number(result.runs), run.output})
            line += ',' + cell(field);
        text += line.mid(1) + "\r\n";
    }
    return text;
}

QByteArray fleetJson(const Fleet &fleet, const Reports &reports)
{
    QJsonArray steps, results, damaged;
    for (auto step = fleet.outcomes.begin(); step != fleet.outcomes.end(); ++step) {
        QJsonObject outcomes;
        for (auto outcome = step->begin(); outcome != step->end(); ++outcome)
            outcomes[outcome.key()] = outcome.value();
        steps.append(
            QJsonObject{{"medium", step.key().first}, {"name", step.key().second}, {"outcomes", outcomes}});
    }
    for (const Result &result : fleet.results)
        results.append(jsonOf(result));
    for (const DamagedLine &line : reports.damaged) {
        damaged.append(QJsonObject{{"file", line.file},
                                   {"line", line.line},
                                   {"why", line.why},
                                   {"text", QString::fromUtf8(line.text)}});
    }
    return QJsonDocument(QJsonObject{{"format", "zul_catalogue results"},
                                     {"version", formatVersion},
                                     {"controllers", QJsonArray::fromStringList(fleet.controllers)},
                                     {"steps", steps},
                                     {"results", results},
                                     {"duplicates", reports.duplicates},
                                     {"damaged", damaged},
                                     {"damagedLines", reports.damagedLines},
                                     {"unexpected", QJsonArray::fromStringList(fleet.unexpected)},
                                     {"reborn", QJsonArray::fromStringList(fleet.reborn)}})
        .toJson();
}
