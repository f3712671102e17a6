// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Measures the real window in one process: rebuilding its status table, and reading a catalogue until its
// list is painted. Prints lines "group<TAB>row<TAB>subject<TAB>milliseconds of processor time".
//
// Usage: simulator/sandbox window_costs table|catalogue REPETITIONS LARGEST

#include "support/files.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QEvent>
#include <QListView>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>

namespace
{

/// Of this thread alone, so that what else the computer does is left out.
double processorMilliseconds()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

template <class Work>
void report(const char *group, const QString &row, const char *subject, const Work &work)
{
    const double begin = processorMilliseconds();
    work();
    std::printf("%s\t%s\t%s\t%.6f\n", group, qPrintable(row), subject, processorMilliseconds() - begin);
}

/// Ends when the viewport of a shown view has been painted.
void untilPainted(QAbstractItemView *view)
{
    struct Watcher : QObject {
        bool painted = false;
        bool eventFilter(QObject *, QEvent *event) override
        {
            painted = painted || event->type() == QEvent::Paint;
            return false;
        }
    } watcher;
    view->viewport()->installEventFilter(&watcher);
    while (!watcher.painted)
        QCoreApplication::processEvents();
}

// --- The status table -------------------------------------------------------------------------------------

QStandardItem *centredItem(const QString &text)
{
    auto *item = new QStandardItem(text);
    item->setTextAlignment(Qt::AlignCenter);
    return item;
}

/// Baseline: the same table, set cell by cell into the model that the view shows.
void rebuildCellByCell(TestWindow &window)
{
    QStandardItemModel *model = window.tableModel;
    auto *view = window.child<QTableView>("tableView");
    model->clear();
    model->setColumnCount(3);
    model->setHeaderData(0, Qt::Horizontal, "Name");
    model->setHeaderData(1, Qt::Horizontal, "Status");
    model->setHeaderData(2, Qt::Horizontal, "Succeed?");
    view->setModel(model);
    view->setColumnWidth(0, 200);
    view->setColumnWidth(1, 150);
    view->setColumnWidth(2, 150);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int row = 0; row < window.runList.size(); ++row) {
        model->setItem(row, 0, centredItem(window.runList.at(row).name));
        model->setItem(row, 1, centredItem("Not executed"));
        model->setItem(row, 2, centredItem(QString()));
    }
}

void measureTable(int repetitions, int largest)
{
    TestWindow window;
    window.child<QWidget>("widget")->hide(); // the status page is what is seen during a batch
    window.child<QWidget>("widget_2")->show();
    window.show();
    for (const int rows : {12, 100, 1000, 10000}) {
        if (rows > largest)
            break;
        window.runList.clear();
        for (int row = 0; row < rows; ++row)
            window.runList.append({QString("Operation %1").arg(row), "true", false, 0});
        const QString name = QString::number(rows);
        for (int repetition = 0; repetition < repetitions; ++repetition) {
            report("table", name, "tool", [&] { window.widget.createTabelview(); });
            untilPainted(window.child<QTableView>("tableView"));
            report("table", name, "cell by cell", [&] { rebuildCellByCell(window); });
            untilPainted(window.child<QTableView>("tableView"));
        }
    }
}

// --- Catalogues -------------------------------------------------------------------------------------------

QByteArray catalogueOf(int operations)
{
    QByteArrayList names;
    QByteArray commands;
    for (int number = 1; number <= operations; ++number) {
        const QByteArray digits = QByteArray::number(number);
        names.append("op" + digits);
        commands += "op" + digits + "=Copy file number " + digits + "@cp -f /var/log/app/" + digits
                    + " /opt/app/" + digits + "\n";
    }
    return "[system]\nCMD_List=\"" + names.join(',') + "\"\n\n[CMD]\n" + commands;
}

void readAllKeys(const QString &path)
{
    QSettings settings(path, QSettings::IniFormat);
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys)
        settings.value(key).toString();
}

/// Every reading gets a file and a window of its own: a file read before comes from a cache, and a second
/// catalogue makes a window's countdown run faster.
void measureCatalogues(int repetitions, int largest)
{
    const QTemporaryDir directory;
    int file = 0;
    const auto written = [&](int operations) {
        QString path = directory.filePath(QString::number(++file));
        writeCatalogue(path, catalogueOf(operations));
        return path;
    };
    for (const int operations : {10, 1000, 10000}) {
        if (operations > largest)
            break;
        const QString name = QString::number(operations);
        for (int repetition = 0; repetition < repetitions; ++repetition) {
            TestWindow window;
            window.show();
            const QString path = written(operations);
            report("catalogue", name, "tool", [&] {
                window.widget.check_CMD(path);
                untilPainted(window.child<QListView>("operationList"));
            });
            if (window.operationModel->rowCount() != operations)
                qFatal("the window offers %d of %d operations", window.operationModel->rowCount(),
                       operations);
            const QString other = written(operations);
            report("catalogue", name, "settings reader", [&] { readAllKeys(other); });
        }
    }
}

} // namespace

int main(int argc, char *argv[])
{
    if (!isSandboxed())
        return 77;
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4)
        return 64;
    if (arguments.at(1) == "table")
        measureTable(arguments.at(2).toInt(), arguments.at(3).toInt());
    else
        measureCatalogues(arguments.at(2).toInt(), arguments.at(3).toInt());
    return 0;
}
