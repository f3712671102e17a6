// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/questions.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"

#include <QAbstractButton>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QTableView>

#include <functional>

/// The places of scripts/lib/facts.sh, which the simulator and the virtual board touch and look at, are those
/// of the real window. The file has what they need, the window where it is.
class TestWidgetPlaces : public QObject
{
    Q_OBJECT

    struct Fact {
        QString value;
        int line;
    };
    QMap<QByteArray, Fact> facts;

    QByteArray difference(const QByteArray &name, const QString &found) const;

private slots:
    void initTestCase();
    void placeIsWhereTheWindowHasIt_data();
    void placeIsWhereTheWindowHasIt();
    void placeLiesInItsArea_data();
    void placeLiesInItsArea();
    void questionsButtonsAreTouchedInBothBoxes();
    void everyPlaceIsLookedAt();
};

namespace
{

constexpr int rowsOfMedia = 7; // the most that a medium of the tests has in its list

/// The window with a full list, with the page of this object name in front.
class ShownWindow
{
public:
    explicit ShownWindow(const char *page = "widget")
    {
        for (int row = 0; row < rowsOfMedia; ++row)
            entries.appendRow(new QStandardItem("Operation"));
        list("operationList")->setModel(&entries);
        list("selectedList")->setModel(&entries);
        window.show();
        for (const char *each : {"widget", "widget_2"})
            window.child<QWidget>(each)->setVisible(qstrcmp(each, page) == 0);
    }

    QListView *list(const char *name) const
    {
        return window.child<QListView>(name);
    }

    /// The rectangle of a widget, on the screen.
    QRect area(const char *name) const
    {
        const auto *widget = window.child<QWidget>(name);
        return QRect(widget->mapTo(&window.widget, QPoint()), widget->size());
    }

    /// The rectangle of a list's row, counted from 0, on the screen.
    QRect row(const char *name, int number) const
    {
        const QListView *view = list(name);
        const QRect inView = view->visualRect(entries.index(number, 0));
        return QRect(view->viewport()->mapTo(&window.widget, inView.topLeft()), inView.size());
    }

    TestWindow window;

private:
    QStandardItemModel entries;
};

QString number(int value)
{
    return QString::number(value);
}

QString place(const QPoint &point)
{
    return QString("%1 %2").arg(point.x()).arg(point.y());
}

QString geometry(const QRect &area)
{
    return QString("%1x%2+%3+%4").arg(area.width()).arg(area.height()).arg(area.x()).arg(area.y());
}

QPoint point(const QString &value)
{
    return {value.section(' ', 0, 0).toInt(), value.section(' ', 1, 1).toInt()};
}

/// Where windows have no frame, as on the controller, Qt leaves room for one and puts a dialog off the
/// middle.
const QPoint expectedFrame(10, 40);

/// The rectangles of a question's buttons, Yes and No, where the controller's screen has them.
QPair<QRect, QRect> buttonsOfQuestion(const char *opener)
{
    TestWindow window;
    window.selectedModel = new QStandardItemModel(&window.widget);
    window.selectedModel->appendRow(new QStandardItem("A"));
    window.show();
    QPair<QRect, QRect> buttons;
    const Questions questions([&](QMessageBox &box) {
        QTimer::singleShot(0, &box, &QDialog::reject);
        const QSize screen = window.widget.size();
        const QPoint middle(screen.width() / 2 - box.width() / 2, screen.height() / 2 - box.height() / 2);
        const auto onScreen = [&](QMessageBox::StandardButton which) {
            const QWidget *button = box.button(which);
            return QRect(button->mapTo(&box, QPoint()) + middle - expectedFrame, button->size());
        };
        buttons = {onScreen(QMessageBox::Yes), onScreen(QMessageBox::No)};
    });
    window.tap(opener);
    return buttons;
}

} // namespace

void TestWidgetPlaces::initTestCase()
{
    QFile file(ZUL_FACTS);
    QVERIFY2(file.open(QIODevice::ReadOnly), ZUL_FACTS);
    for (int line = 1; !file.atEnd(); ++line) {
        static const QRegularExpression fact("^(\\w+)=(\"?)([^\"#]*?)\\2\\s*(#|$)");
        const auto match = fact.match(QString::fromUtf8(file.readLine()).trimmed());
        if (match.hasMatch())
            facts.insert(match.captured(1).toUtf8(), {match.captured(3), line});
    }
}

/// What to say of a fact that should be another.
QByteArray TestWidgetPlaces::difference(const QByteArray &name, const QString &found) const
{
    const Fact fact = facts.value(name);
    return QString("%1:%2: %3 is \"%4\", the window has \"%5\"")
        .arg(ZUL_FACTS, number(fact.line), name, fact.value, found)
        .toUtf8();
}

void TestWidgetPlaces::placeIsWhereTheWindowHasIt_data()
{
    QTest::addColumn<QString>("found");
    const ShownWindow list("widget");
    const ShownWindow status("widget_2");
    const QRect screen = list.window.widget.rect();
    const QRect firstRow = list.row("operationList", 0);
    QTest::newRow("screen_width") << number(screen.width());
    QTest::newRow("screen_height") << number(screen.height());
    QTest::newRow("operation_x") << number(list.area("operationList").center().x());
    QTest::newRow("selected_x") << number(list.area("selectedList").center().x());
    QTest::newRow("first_row_y") << number(firstRow.center().y());
    QTest::newRow("row_height") << number(list.row("operationList", 1).y() - firstRow.y());
    QTest::newRow("at_confirm") << place(list.area("confirmPb").center());
    QTest::newRow("at_cancel") << place(list.area("cancelPb").center());
    QTest::newRow("at_details") << place(status.area("pushButton").center());
    QTest::newRow("at_rest") << place(screen.bottomRight());
    QTest::newRow("countdown_area") << geometry(list.area("timeout"));
    QRect message = status.area("information");
    message.setBottom(qMin(message.bottom(), status.area("tableView").top() - 1));
    QTest::newRow("message_area") << geometry(message);
    QCOMPARE(list.row("selectedList", 0).center().y(), firstRow.center().y());
}

void TestWidgetPlaces::placeIsWhereTheWindowHasIt()
{
    QFETCH(const QString, found);
    const QByteArray name = QTest::currentDataTag();
    QVERIFY2(facts.value(name).value == found, difference(name, found).constData());
}

void TestWidgetPlaces::placeLiesInItsArea_data()
{
    QTest::addColumn<QRect>("area");
    const ShownWindow list("widget");
    const ShownWindow status("widget_2");
    QRect between = list.area("label_4");
    between.setLeft(list.area("operationList").right() + 1);
    between.setRight(list.area("selectedList").left() - 1);
    QTest::newRow("between_lists") << between.intersected(status.area("tableView"));
    QRect low = list.area("operationList");
    low.setTop(list.row("operationList", rowsOfMedia - 1).bottom() + 1);
    QTest::newRow("low_in_list") << low;
}

void TestWidgetPlaces::placeLiesInItsArea()
{
    QFETCH(const QRect, area);
    const QByteArray name = QTest::currentDataTag();
    QVERIFY2(area.contains(point(facts.value(name).value)), difference(name, geometry(area)).constData());
}

void TestWidgetPlaces::questionsButtonsAreTouchedInBothBoxes()
{
    const auto first = buttonsOfQuestion("confirmPb");
    const auto second = buttonsOfQuestion("cancelPb");
    const QString yes = place(first.first.intersected(second.first).center());
    const QString no = place(first.second.intersected(second.second).center());
    QVERIFY2(facts.value("at_question_yes").value == yes, difference("at_question_yes", yes).constData());
    QVERIFY2(facts.value("at_question_no").value == no, difference("at_question_no", no).constData());
}

void TestWidgetPlaces::everyPlaceIsLookedAt()
{
    // The facts that are no places of the window: tests/facts looks at them.
    const QSet<QByteArray> ofTheSources{"application_programs", "suspension", "countdown_seconds",
                                        "queue_project_id"};
    const QSet<QByteArray> here{"screen_width",  "screen_height",   "operation_x",    "selected_x",
                                "first_row_y",   "row_height",      "at_confirm",     "at_cancel",
                                "at_details",    "at_question_yes", "at_question_no", "at_rest",
                                "between_lists", "low_in_list",     "countdown_area", "message_area"};
    for (const QByteArray &name : facts.keys())
        QVERIFY2(here.contains(name) || ofTheSources.contains(name), name.constData());
    for (const QByteArray &name : here)
        QVERIFY2(facts.contains(name), name.constData());
}

SANDBOXED_TEST_MAIN(TestWidgetPlaces)
#include "tst_widget_places.moc"
