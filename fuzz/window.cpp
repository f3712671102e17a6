// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A catalogue, any bytes of it, through the window: check_CMD in both modes, and the table. What the window
// makes of it is compared with a second reading of the file's values, taken apart here once more: what is
// offered and in which order, every field of every record, the pages, the countdown, and what is told.
//
// libfuzzer: -max_len=2048 -runs=200000

#include "common/freshfile.h"
#include "common/outside.h"
#include "common/target.h"
#include "common/toolwindow.h"

#include "debuglines.h"

#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QTimer>

#include <memory>

namespace
{

constexpr int inputsOfAWindow = 500;

/// What stands before and after the first "@", up to the second one, as the bytes of the file are meant.
_system_CMD recordOf(const QString &value)
{
    const QByteArray bytes = value.toLocal8Bit();
    const QString text = QString::fromUtf8(bytes.constData());
    const int first = text.indexOf('@');
    if (first < 0)
        return {text, "", false, 0};
    const int second = text.indexOf('@', first + 1);
    return {text.left(first), text.mid(first + 1, second < 0 ? -1 : second - first - 1), false, 0};
}

/// The model: what has to come of the catalogue.
struct Expected {
    enum Mode { Neither, Selection, Direct };

    explicit Expected(const QSettings &values)
    {
        if (values.contains("system/CMD_List"))
            read(values, Selection, "system/CMD_List");
        else if (values.contains("system/CMD_Type"))
            read(values, Direct, "system/CMD_Type");
        else
            told << "unrecognized command line";
        if (mode == Selection && values.contains("system/ENDGAME"))
            endGame = values.value("system/ENDGAME").toBool();
    }

    Mode mode = Neither;
    QVector<_system_CMD> records;
    QStringList told;
    bool endGame = true;

private:
    void read(const QSettings &values, Mode itsMode, const char *key)
    {
        mode = itsMode;
        const QString list = values.value(key).toString();
        int at = 0;
        while (at <= list.size()) {
            const int comma = list.indexOf(',', at);
            const int end = comma < 0 ? list.size() : comma;
            readItem(values, list.mid(at, end - at));
            at = end + 1;
        }
    }

    void readItem(const QSettings &values, const QString &item)
    {
        const QString value = item.isEmpty() ? QString() : values.value("CMD/" + item).toString();
        if (!value.isEmpty())
            records.append(recordOf(value));
        else if (mode == Selection)
            told << (item.isEmpty() ? "empty command name in the list" : "empty command");
    }
};

void compareRunList(const QVector<_system_CMD> &list, const QVector<_system_CMD> &records)
{
    MUST(list.size() == records.size(),
         QString("%1 records instead of %2").arg(list.size()).arg(records.size()));
    for (int i = 0; i < list.size(); ++i)
        MUST(sameRecord(list.at(i), records.at(i)),
             QString("record %1 is %2@%3").arg(QString::number(i), list.at(i).name, list.at(i).cmd));
}

void compareSelection(ToolWindow &window, const Expected &expected)
{
    const QStandardItemModel *operations = operationModelOf(window.widget());
    QStringList names;
    QMap<QString, _system_CMD> last;
    for (const _system_CMD &record : expected.records) {
        names.append(record.name);
        last[record.name] = record;
    }
    MUST(operations, "no operations are offered");
    MUST(textsOf(operations) == names,
         "offered: " + textsOf(operations).join('|') + "\ninstead of: " + names.join('|'));
    for (int row = 0; row < operations->rowCount(); ++row)
        MUST(operations->index(row, 0).data(Qt::TextAlignmentRole).toInt() == Qt::AlignCenter,
             "an operation does not stand in the middle");
    const QMap<QString, _system_CMD> &map = cmdMapOf(window.widget());
    MUST(map.keys() == last.keys(), "the map has other names: " + map.keys().join('|'));
    for (auto entry = last.cbegin(); entry != last.cend(); ++entry)
        MUST(sameRecord(map.value(entry.key()), entry.value()),
             "the map has another command for " + entry.key());
    MUST(runListOf(window.widget()).isEmpty(), "something is to be run that nobody has chosen");
    MUST(workerOf(window.widget())->suspended, "the worker has something to do that nobody has confirmed");
    MUST(selectedModelOf(window.widget()) && selectedModelOf(window.widget())->rowCount() == 0,
         "something is selected already");
    MUST(window.child<QListView>("operationList")->model() == operations, "the list shows another model");
    MUST(window.child<QListView>("selectedList")->model() == selectedModelOf(window.widget()),
         "the selection shows another model");
    const QTimer *countdown = rebootTimerOf(window.widget());
    MUST(countdown && countdown->isActive() && countdown->interval() == 1000, "no countdown");
    MUST(!window.child<QWidget>("widget")->isHidden() && window.child<QWidget>("widget_2")->isHidden(),
         "the page of the lists is not the one that is seen");
}

void compareDirect(ToolWindow &window, const Expected &expected)
{
    compareRunList(runListOf(window.widget()), expected.records);
    const bool starts = !expected.records.isEmpty();
    myThread *worker = workerOf(window.widget());
    MUST(worker->suspended != starts, "the worker was given the batch, or was not");
    MUST(!starts || worker->cmdList == &runListOf(window.widget()), "the worker was given another list");
    MUST(window.child<QWidget>("widget")->isHidden() == starts, "the page is another");
    MUST(window.child<QWidget>("widget_2")->isHidden() != starts, "the page is another");
    if (!starts)
        return;
    MUST(window.child<QLabel>("information")->text().isEmpty(), "an old message stands over the batch");
    requireTable(window.widget(), expected.records, false);
    window.child<QPushButton>("pushButton")->click();
    requireTable(window.widget(), expected.records, true);
    window.child<QPushButton>("pushButton")->click();
    requireTable(window.widget(), expected.records, false);
}

/// Nothing of what is not the mode's own has changed.
void compareUntouched(ToolWindow &window, const Expected &expected)
{
    Widget &widget = window.widget();
    if (expected.mode != Expected::Selection) {
        MUST(!operationModelOf(widget) && !selectedModelOf(widget), "a list was made for nothing");
        MUST(cmdMapOf(widget).isEmpty(), "the map was filled for nothing");
        MUST(!rebootTimerOf(widget), "a countdown without a choice");
    }
    if (expected.mode == Expected::Neither) {
        MUST(runListOf(widget).isEmpty(), "something is to be run out of nothing");
        MUST(workerOf(widget)->suspended, "the worker has something to do out of nothing");
    }
    MUST(endGameOf(widget) == expected.endGame, "the end of the game is another");
    MUST(mountPathOf(widget).isEmpty() && !upgradingOf(widget) && mediaTypeOf(widget) == 2,
         "a catalogue has changed what belongs to the medium");
}

/// As a window is that was just made; making one takes longer than all the rest.
void reset(ToolWindow &window)
{
    Widget &widget = window.widget();
    delete rebootTimerOf(widget);
    rebootTimerOf(widget) = nullptr;
    delete operationModelOf(widget);
    operationModelOf(widget) = nullptr;
    delete selectedModelOf(widget);
    selectedModelOf(widget) = nullptr;
    cmdMapOf(widget).clear();
    runListOf(widget).clear();
    endGameOf(widget) = true;
    workerOf(widget)->suspended = true;
    workerOf(widget)->cmdList = nullptr;
    window.child<QLabel>("information")->setText("of an earlier batch");
    window.child<QWidget>("widget")->show();
    window.child<QWidget>("widget_2")->hide();
}

} // namespace

void fuzz(const QByteArray &input)
{
    static auto window = std::make_unique<ToolWindow>();
    static int uses = 0;
    if (++uses % inputsOfAWindow == 0)
        window = std::make_unique<ToolWindow>();

    Outside nobody;
    reset(*window);
    const QString path = freshFile(input);
    const DebugLines lines;
    window->widget().check_CMD(path);
    // Asked second, so that the window is the one that has the file read.
    const Expected expected(QSettings(path, QSettings::IniFormat));
    const QStringList told = lines.lines();
    MUST(told == expected.told, "told: " + told.join('|') + "\ninstead of: " + expected.told.join('|'));
    if (expected.mode == Expected::Selection)
        compareSelection(*window, expected);
    else if (expected.mode == Expected::Direct)
        compareDirect(*window, expected);
    compareUntouched(*window, expected);
}
