// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What Qt 5.9 can do and a newer one does in another way, or only the compiler here. Nothing of it may be
// reported.
#include <QtWidgets>

#include <optional>

class Planted : public QWidget
{
public:
    void use(QProcess *process, QString text, QStringList list);

    // The standard that the compiler here takes without being told, and the reader does not.
    std::optional<QString> found;

protected:
    bool eventFilter(QObject *object, QEvent *event) override;
};

void Planted::use(QProcess *process, QString text, QStringList list)
{
    // An overload that the newer one is preferred to.
    text.split(" ");
    text.split(' ');
    text.split(" ", QString::SkipEmptyParts);
    text = QString("%1%2").arg(text, text) + QString("%1").arg(3);
    QVector<QString> texts;
    texts << QString("moved") << text;
    texts.append(QString("moved"));
    QDate(2020, 1, 2).addMonths(3).toString(Qt::ISODate);
    QDateTime::currentDateTime().toString("yyyy");
    process->start("program", list);
    QProcess::startDetached("program");

    // What was inline, implicit or in another namespace.
    QCoreApplication::sendEvent(this, nullptr);
    text.clear();
    QThread().wait();
    QListWidgetItem().setSelected(true);
    QTreeWidgetItem().setHidden(true);
    QColor("red").lighter(150);
    QTextStream stream(&text);
    stream << hex << 3 << endl;
    QFlags<Qt::AlignmentFlag> none;
    QLinearGradient gradient;
    QBasicTimer copied = QBasicTimer();

    // Signals and slots by name.
    connect(process, SIGNAL(errorOccurred(QProcess::ProcessError)), SLOT(close()));
    QTimer::singleShot(0, this, SLOT(close()));

#if QT_VERSION >= QT_VERSION_CHECK(5, 14, 0)
    text.split(" ", Qt::SkipEmptyParts);
#endif
}

bool Planted::eventFilter(QObject *object, QEvent *event)
{
    return QWidget::eventFilter(object, event);
}
