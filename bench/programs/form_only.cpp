// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Baseline: the tool's form on a plain window and its question box, both hidden, and nothing behind them.
//
// Usage: form_only [bars]
//
// With "bars" the lists' scroll bars are given their empty sheets too, as the window does: only then do they
// have their width for fingers, and the lists' sheets are read for it at once.

#include "ui_widget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QScrollBar>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QWidget window;
    Ui_Widget form;
    form.setupUi(&window);
    if (argc > 1) {
        form.operationList->verticalScrollBar()->setStyleSheet(QString());
        form.selectedList->verticalScrollBar()->setStyleSheet(QString());
    }

    // As the window makes it.
    QMessageBox question(QMessageBox::NoIcon, "Attention", " ", QMessageBox::Yes | QMessageBox::No, nullptr,
                         Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    question.setStyleSheet("QMessageBox{border:1px solid;border-radius:10px;background:white;"
                           "min-width:600px;min-height:350px;} "
                           "QPushButton{background:lightgray;border:1px solid;border-radius:5px;"
                           "min-width:100px;min-height:50px;}");
    question.setFont(QFont("Arial", 18, QFont::Bold));
    for (QAbstractButton *button : question.buttons())
        button->setFont(question.font());

    window.hide();
    return QApplication::exec();
}
