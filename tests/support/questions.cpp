// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/questions.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

Questions::Questions(QMessageBox::StandardButton answer)
    : Questions([answer](QMessageBox &box) { QTest::mouseClick(box.button(answer), Qt::LeftButton); })
{
}

Questions::Questions(std::function<void(QMessageBox &)> reaction)
    : react(std::move(reaction))
{
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { attend(); });
    timer.start(10);
}

QStringList Questions::asked() const
{
    return texts;
}

void Questions::attend()
{
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box || isAttended)
        return;
    isAttended = true;
    QObject::connect(box, &QDialog::finished, &timer, [this] { isAttended = false; });
    texts.append(box->text());
    react(*box);
}
