// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/screentour.h"

#include "support/files.h"
#include "support/questions.h"

#include <QAbstractButton>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QTableView>
#include <QTest>

namespace
{

const char catalogue[] = "/mnt/tour/system.ini";

/// More operations than the list has rows, so that it has its scroll bar.
QByteArray catalogueText()
{
    QByteArray items;
    QByteArray commands;
    const QStringList names = ScreenTour::operationNames();
    for (int copy = 0; copy < 3; ++copy) {
        for (int i = 0; i < names.size(); ++i) {
            const QByteArray item = QByteArray::number(copy * names.size() + i);
            items += (items.isEmpty() ? "" : ",") + item;
            commands += item + "=" + names.at(i).toUtf8() + "@true\n";
        }
    }
    return "[system]\nCMD_List=\"" + items + "\"\nENDGAME=true\n[CMD]\n" + commands;
}

/// Chooses a row of a view as a tap does.
void tapCell(QAbstractItemView &view, int row, int column)
{
    const QModelIndex index = view.model()->index(row, column);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.visualRect(index).center());
}

} // namespace

ScreenTour::ScreenTour(Visit whatToDo)
    : visit(std::move(whatToDo))
{
}

QStringList ScreenTour::operationNames()
{
    return {"Update application", "Clear logs", "Calibrate touch screen"};
}

void ScreenTour::go()
{
    visitList();
    visitCountdown();
    for (const char *button : {"confirmPb", "cancelPb"})
        visitPressed(*window.child<QPushButton>(button), "list");
    visitQuestions();
    visitStatus();
    visitExecution();
    visitRequests();
    visitLongBatch();
}

void ScreenTour::visitList()
{
    window.show();
    writeCatalogue(catalogue, catalogueText());
    window.widget.check_CMD(catalogue);
    window.tick();
    window.rebootTimer->stop(); // the tour takes as long as it takes
    QCoreApplication::processEvents();
    visit("list", window.widget);
    for (int row = 0; row < operationNames().size(); ++row)
        window.tapRow("operationList", row);
    window.tapRow("selectedList", 0); // which takes it out again and chooses the next one
    QCoreApplication::processEvents();
    visit("list with a selection", window.widget);
}

/// With every digit at every place, because the countdown shows them all.
void ScreenTour::visitCountdown()
{
    auto *countdown = window.child<QLabel>("timeout");
    const QString before = countdown->text();
    for (int digit = 0; digit <= 9; ++digit) {
        countdown->setText(QString("%1%1:%1%1").arg(digit));
        visit("list", *countdown);
    }
    countdown->setText(before);
}

void ScreenTour::visitPressed(QAbstractButton &button, const QString &name)
{
    button.setDown(true);
    visit(name + ", pressed", button);
    button.setDown(false);
}

void ScreenTour::visitQuestions()
{
    visitQuestion("cancelPb", "question to abort");
    visitQuestion("confirmPb", "question to continue");
}

/// The question as it comes up, then with each button pressed. Answered with No.
void ScreenTour::visitQuestion(const char *button, const QString &name)
{
    Questions questions([&](QMessageBox &box) {
        QTimer::singleShot(0, &box, &QDialog::reject); // behind the visit, whatever that finds
        visit(name, box);
        visit("list behind the " + name, *window.child<QListView>("operationList")); // in a window at rest
        for (QAbstractButton *answer : box.buttons())
            visitPressed(*answer, name);
    });
    window.tap(button);
    QCOMPARE(questions.asked().size(), 1);
}

/// The batch is not run, because the window's worker never starts; each of its operations is given a state.
void ScreenTour::visitStatus()
{
    Questions yes(QMessageBox::Yes);
    window.tap("confirmPb");
    QCOMPARE(yes.asked().size(), 1);
    visit("status page", window.widget);
    window.runList[0].state = 2;
    window.runList[0].succeed = true;
    window.runList[1].state = 2;
    window.runList[2].state = 1;
    window.widget.slotsStateChange(QString());
    QCoreApplication::processEvents();
    visit("status page", window.widget);
    for (int column = 0; column < 3; ++column) {
        tapCell(*window.child<QTableView>("tableView"), 0, column);
        visit("status page, cell tapped", *window.child<QTableView>("tableView"));
    }
    visitPressed(*window.child<QPushButton>("pushButton"), "status page");
    window.tap("pushButton");
    QCoreApplication::processEvents();
    visit("status page with details", window.widget);
}

void ScreenTour::visitExecution()
{
    QStringList names = operationNames();
    for (const _system_CMD &record : window.runList)
        names.append(record.name);
    names.removeDuplicates();
    for (const QString &name : names) {
        window.widget.slotsStateChange(name);
        visit("status page", *window.child<QLabel>("information"));
    }
}

/// With more operations than the table has rows, so that it has its scroll bar.
void ScreenTour::visitLongBatch()
{
    window.tap("pushButton");
    window.runList.insert(0, 30, _system_CMD{operationNames().first(), "true", false, 0});
    window.widget.createTabelview();
    QCoreApplication::processEvents();
    visit("status page of a long batch", window.widget);
}

void ScreenTour::visitRequests()
{
    for (window.mediaType = 0; window.mediaType <= 2; ++window.mediaType) {
        window.widget.slotsState_end();
        visit("request to unplug", window.widget);
    }
}
