// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// What is newer than Qt 5.9, of every kind. Each line that says since when has to be reported, with that
// version.
#include <QCoreApplication>
#include <QDate>
#include <QDebug>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator> // since 5.10
#include <QScopeGuard>      // since 5.12
#include <QSharedPointer>
#include <QSortFilterProxyModel>
#include <QStringListModel>
#include <QThread>
#include <QTimer>
#include <QVector>
#include <QtWidgets>

class Planted : public QStringListModel
{
public:
    bool moveRows(const QModelIndex &, int, int, const QModelIndex &, int) override; // since 5.13
    Q_DISABLE_MOVE(Planted)                                                          // since 5.13
};

class Window : public QWidget
{
public:
    void use(QProcess *process, QString text);
};

void Window::use(QProcess *process, QString text)
{
    // Methods, static ones and inline ones of templates too.
    screen();                                     // since 5.14
    text.isUpper();                               // since 5.12
    QFontMetrics(font()).horizontalAdvance(text); // since 5.11
    QThread::create([] {});                       // since 5.10
    QSharedPointer<int>().get();                  // since 5.11
    QAtomicInt(1).loadRelaxed();                  // since 5.14
    QModelIndex().siblingAtRow(1);                // since 5.11
    QFileInfo(text).isSymbolicLink();             // since 5.14
    QMap<int, int>().keyValueBegin();             // since 5.10
    QComboBox(this).setPlaceholderText(text);     // since 5.15
    QDate::currentDate().startOfDay();            // since 5.14
    QMetaObject::invokeMethod(this, [] {});       // since 5.10
    QTimer(this).callOnTimeout([] {});            // since 5.12
    QLocale().formattedDataSize(3);               // since 5.10

    // Overloads of what is older.
    text.split(" ", Qt::SkipEmptyParts);                       // since 5.14
    QVector<QChar> letters(text.begin(), text.end());          // since 5.14
    process->startDetached();                                  // since 5.10
    QMap<int, int>().insert(QMap<int, int>());                 // since 5.15
    QTextBrowser().setSource({}, QTextDocument::HtmlResource); // since 5.14
    QThread().wait(QDeadlineTimer(1));                         // since 5.15

    // Functions outside of classes, macros.
    qDebug() << Qt::endl;                  // since 5.14
    qEnvironmentVariable("HOME");          // since 5.10
    qExchange(text, QString());            // since 5.14
    const auto guard = qScopeGuard([] {}); // since 5.12
    const char *noun = QT_TR_N_NOOP("%n"); // since 5.12

    // Classes, types, values.
    QRecursiveMutex mutex;                            // since 5.14
    QStringView view;                                 // since 5.10
    const qsizetype size = 0;                         // since 5.10
    setAttribute(Qt::WA_StyleSheetTarget);            // since 5.12
    QImage picture(1, 1, QImage::Format_Grayscale16); // since 5.13
    QDataStream().setVersion(QDataStream::Qt_5_12);   // since 5.12

    // Signals, by address and by name.
    QSortFilterProxyModel model;
    connect(&model, &QSortFilterProxyModel::sortRoleChanged, this, &QWidget::close);   // since 5.15
    connect(windowHandle(), SIGNAL(transientParentChanged(QWindow *)), SLOT(close())); // since 5.14
}
