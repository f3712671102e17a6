// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "common/toolwindow.h"

#include "common/target.h"

#include <QTableView>
#include <QTimer>

ToolWindow::ToolWindow()
    : owned(new Widget)
    , pollTimer(pollTimerOf(*owned))
    , question(msgBoxOf(*owned))
    , worker(workerOf(*owned))
{
    pollTimer->stop();
}

ToolWindow::~ToolWindow()
{
    owned.reset(); // before what it knows
}

void ToolWindow::poll()
{
    owned->slotsTimerout();
}

QStringList textsOf(const QStandardItemModel *model, int column)
{
    QStringList texts;
    for (int row = 0; model && row < model->rowCount(); ++row)
        texts.append(model->index(row, column).data().toString());
    return texts;
}

void requireTable(Widget &window, const QVector<_system_CMD> &records, bool details)
{
    const QStandardItemModel *table = tableModelOf(window);
    MUST(window.findChild<QTableView *>("tableView")->model() == table, "the table shows another model");
    MUST(table->columnCount() == (details ? 4 : 3), "the table has other columns");
    MUST(table->rowCount() == records.size(), "the table has more or fewer rows than the run list");
    for (int row = 0; row < records.size(); ++row) {
        const _system_CMD &record = records.at(row);
        const QStringList states{"Not executed", "Executing", "Completed"};
        const QString outcome = record.state != 2 ? "" : record.succeed ? "Succeed" : "Failed";
        QStringList expected{record.name, states.value(record.state), outcome};
        if (details)
            expected.append(record.cmd);
        for (int column = 0; column < expected.size(); ++column) {
            const QString shown = table->index(row, column).data().toString();
            MUST(shown == expected.at(column), QString("row %1 of the table shows \"%2\" instead of \"%3\"")
                                                   .arg(QString::number(row), shown, expected.at(column)));
        }
    }
}

bool sameRecord(const _system_CMD &one, const _system_CMD &other)
{
    return one.name == other.name && one.cmd == other.cmd && one.succeed == other.succeed
           && one.state == other.state;
}
