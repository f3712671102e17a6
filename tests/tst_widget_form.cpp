// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "debuglines.h"
#include "support/fakedf.h"
#include "support/markingtranslator.h"
#include "support/questions.h"
#include "support/sandboxed.h"
#include "support/testwindow.h"
#include "support/waiting.h"

#include "ui_widget.h"

#include <QImage>
#include <QPixmap>
#include <QResource>
#include <QScrollBar>
#include <QStringListModel>
#include <QStyle>
#include <QStyleOptionSlider>

#include <algorithm>

int qInitResources_imges();
int qCleanupResources_imges();

Q_DECLARE_METATYPE(Qt::Alignment)

namespace
{

const QByteArray listSheet = "QListView{\n"
                             "\tborder: 1px solid lightgray;\n"
                             "\tborder-radius: 6px;\n"
                             "\tfont-size:18px;\n"
                             "}\n"
                             "QListView::item{\n"
                             "\theight: 35px;\n"
                             "}\n"
                             "QListView::text{\n"
                             "\tleft: 5px;\n"
                             "}\n"
                             "QListView::icon{\n"
                             "\tleft: 5px;\n"
                             "}\n"
                             "QListView::indicator{\n"
                             "\twidth: 30px; \n"
                             "\theight: 30px;\n"
                             "}\n"
                             "QScrollBar:vertical{ \n"
                             "\twidth: 50px; \n"
                             "\tborder:1px solid rgb(125,125,125);\n"
                             "\tborder-radius: 5px;\n"
                             "\tbackground: rgb(235,235,235);\n"
                             "\tmargin: 0 0 0 0;\n"
                             "\tpadding: 3px 3px 3px 3px;\n"
                             "}\n"
                             "QScrollBar::handle:vertical{ \n"
                             "\tbackground: rgb(200,200,200);\n"
                             "\tmin-height: 35px;\n"
                             "\tborder: 1px solid rgb(125,125,125);\n"
                             "\tborder-radius:10px; \n"
                             "}\n"
                             "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical{ \n"
                             "\theight:0px; \n"
                             "}\n"
                             "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical{ \n"
                             "\tbackground: none; \n"
                             "}\n";

const QByteArray buttonSheet = "QPushButton{\n"
                               "background-color: rgb(57, 146, 235);\n"
                               "\tborder-radius:10px;\n"
                               "\tfont-size:22px;\n"
                               "\tcolor: white;\n"
                               "}\n"
                               "QPushButton::pressed{\n"
                               "background-color: rgb(12, 121, 232);\n"
                               "\tborder-radius:10px;\n"
                               "\tfont-size:22px;\n"
                               "\tcolor: white;\n"
                               "}";

const QByteArray listPageSheet = "#widget{\n"
                                 "\tbackground-color: rgb(246, 243, 239);\n"
                                 "\tbackground-image: url(:/images/background/bk1.png);\n"
                                 "}\n";

const QByteArray statusPageSheet = "#widget_2{\n"
                                   "background-color: rgb(246, 243, 239);\n"
                                   "background-image: url(:/images/background/bk1.png);}\n";

/// Keeps which texts are asked for, in which order, and how.
class AskedTexts : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *disambiguation,
                      int n) const override
    {
        texts.append(QString::fromUtf8(source));
        allPlain = allPlain && qstrcmp(context, "Widget") == 0 && !disambiguation && n == -1;
        return QString();
    }

    bool isEmpty() const override
    {
        return false;
    }

    mutable QStringList texts;
    mutable bool allPlain = true;
};

/// The object names of a layout's items; "a spacer" for one.
QStringList itemsOf(const QLayout *layout)
{
    QStringList items;
    for (int index = 0; index < layout->count(); ++index) {
        QLayoutItem *item = layout->itemAt(index);
        if (item->widget())
            items.append(item->widget()->objectName());
        else if (item->layout())
            items.append(item->layout()->objectName());
        else
            items.append("a spacer");
    }
    return items;
}

QStringList manyEntries()
{
    QStringList entries;
    for (int number = 1; number <= 100; ++number)
        entries.append(QString("entry %1").arg(number));
    return entries;
}

} // namespace

/// The form on a plain window, but for what it does together with the real one.
class TestWidgetForm : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pointersAreInTheOrderOfCreation();
    void objectHasItsClassAndParent_data();
    void objectHasItsClassAndParent();
    void thereIsNothingElse();
    void anUnnamedFormIsNamed();
    void aNamedFormKeepsItsName();
    void formHasTheScreensSize();

    void objectHasItsPlace_data();
    void objectHasItsPlace();
    void objectHasItsMinimumSize_data();
    void objectHasItsMinimumSize();
    void layoutHoldsItsItemsInOrder_data();
    void layoutHoldsItsItemsInOrder();
    void outerLayoutIsInstalledWithItsMargins();
    void spacerHasItsSizeAndPolicies_data();
    void spacerHasItsSizeAndPolicies();
    void bothButtonsStandCentredWithEqualSpaceAroundThem();
    void labelIsAligned_data();
    void labelIsAligned();

    void fontsHaveTheirSizes();
    void buttonFontsComeFromTheirSheets();
    void objectHasItsSheet_data();
    void objectHasItsSheet();
    void listSheetsDifferInTheirLastCharacterOnly();
    void nothingElseHasASheet();

    void objectHasItsText_data();
    void objectHasItsText();
    void formHasItsTitle();
    void textsAreAskedForInTheirOrder();
    void everyTextIsTranslated();
    void textsCanBeSetAgain();

    void objectsTakeNoFocus_data();
    void objectsTakeNoFocus();
    void aTapOnAButtonLeavesTheFocusWhereItIs();
    void listsHaveTheirSelectionAndScrollBars();
    void aTapSelectsAtMostOneRow_data();
    void aTapSelectsAtMostOneRow();
    void listScrollBarsAreMadeForFingers_data();
    void listScrollBarsAreMadeForFingers();
    void tableHeadersStayHidden();

    void listPageCoversTheStatusPage();
    void nothingIsHiddenByTheForm();
    void bothPagesShowTheBackground_data();
    void bothPagesShowTheBackground();

    void picturesAreInTheResources_data();
    void picturesAreInTheResources();
    void resourcesCanBeRegisteredAndUnregistered();

    void detailsButtonIsBoundOnce();
    void confirmButtonIsBoundOnce();
    void cancelButtonIsBoundOnce();
    void listsAreBoundOnce();

private:
    template <class T>
    T *find(const QByteArray &name) const
    {
        T *found = form->objectName() == name ? qobject_cast<T *>(form.data()) : form->findChild<T *>(name);
        if (!found)
            qFatal("the form has no %s", name.constData());
        return found;
    }

    QScopedPointer<QWidget> form;
    QScopedPointer<Ui_Widget> ui;
};

void TestWidgetForm::init()
{
    form.reset(new QWidget);
    ui.reset(new Ui_Widget);
    ui->setupUi(form.data());
}

void TestWidgetForm::cleanup()
{
    ui.reset();
    form.reset();
}

// --- The object tree ------------------------------------------------------------------------------------

void TestWidgetForm::pointersAreInTheOrderOfCreation()
{
    const QVector<const void *> pointers{
        &ui->widget,
        &ui->cmdListWidget,
        &ui->verticalLayout_3,
        &ui->horizontalLayout_2,
        &ui->verticalLayout,
        &ui->label_2,
        &ui->operationList,
        &ui->label_4,
        &ui->verticalLayout_2,
        &ui->label1,
        &ui->selectedList,
        &ui->horizontalLayout,
        &ui->horizontalSpacer,
        &ui->confirmPb,
        &ui->horizontalSpacer_2,
        &ui->cancelPb,
        &ui->horizontalSpacer_3,
        &ui->verticalSpacer,
        &ui->label_3,
        &ui->label_5,
        &ui->timeout,
        &ui->widget_2,
        &ui->pushButton,
        &ui->tableView,
        &ui->information,
        &ui->label,
    };

    QVERIFY(std::is_sorted(pointers.begin(), pointers.end(), std::less<const void *>()));
    QCOMPARE(static_cast<size_t>(pointers.size()) * sizeof(void *), sizeof(Ui_Widget));
}

void TestWidgetForm::objectHasItsClassAndParent_data()
{
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QByteArray>("parent");
    const auto row = [](const char *name, const char *className, const char *parent) {
        QTest::newRow(name) << QByteArray(className) << QByteArray(parent);
    };

    row("widget", "QWidget", "Widget");
    row("cmdListWidget", "QWidget", "widget");
    row("verticalLayout_3", "QVBoxLayout", "cmdListWidget");
    row("horizontalLayout_2", "QHBoxLayout", "verticalLayout_3");
    row("verticalLayout", "QVBoxLayout", "horizontalLayout_2");
    row("label_2", "QLabel", "cmdListWidget");
    row("operationList", "QListView", "cmdListWidget");
    row("label_4", "QLabel", "cmdListWidget");
    row("verticalLayout_2", "QVBoxLayout", "horizontalLayout_2");
    row("label1", "QLabel", "cmdListWidget");
    row("selectedList", "QListView", "cmdListWidget");
    row("horizontalLayout", "QHBoxLayout", "verticalLayout_3");
    row("confirmPb", "QPushButton", "cmdListWidget");
    row("cancelPb", "QPushButton", "cmdListWidget");
    row("label_3", "QLabel", "widget");
    row("label_5", "QLabel", "widget");
    row("timeout", "QLabel", "widget");
    row("widget_2", "QWidget", "Widget");
    row("pushButton", "QPushButton", "widget_2");
    row("tableView", "QTableView", "widget_2");
    row("information", "QLabel", "widget_2");
    row("label", "QLabel", "widget_2");
}

void TestWidgetForm::objectHasItsClassAndParent()
{
    QFETCH(QByteArray, className);
    QFETCH(QByteArray, parent);
    const auto *object = find<QObject>(QTest::currentDataTag());

    QCOMPARE(QByteArray(object->metaObject()->className()), className);
    QCOMPARE(object->parent()->objectName(), QString(parent));
}

void TestWidgetForm::thereIsNothingElse()
{
    const auto names = [](const QObject *parent) {
        QStringList found;
        for (const QObject *child : parent->children())
            found.append(child->objectName());
        return found;
    };

    QCOMPARE(names(form.data()), (QStringList{"widget_2", "widget"}));
    QCOMPARE(names(ui->widget), (QStringList{"cmdListWidget", "label_3", "label_5", "timeout"}));
    QCOMPARE(names(ui->widget_2), (QStringList{"pushButton", "tableView", "information", "label"}));
    QCOMPARE(names(ui->cmdListWidget), (QStringList{"verticalLayout_3", "label_2", "operationList", "label_4",
                                                    "label1", "selectedList", "confirmPb", "cancelPb"}));
}

void TestWidgetForm::anUnnamedFormIsNamed()
{
    QCOMPARE(form->objectName(), QString("Widget"));
}

void TestWidgetForm::aNamedFormKeepsItsName()
{
    QWidget named;
    named.setObjectName("another");
    Ui_Widget itsUi;

    itsUi.setupUi(&named);

    QCOMPARE(named.objectName(), QString("another"));
}

void TestWidgetForm::formHasTheScreensSize()
{
    QCOMPARE(form->size(), QSize(800, 480));
}

// --- Places and layouts ---------------------------------------------------------------------------------

void TestWidgetForm::objectHasItsPlace_data()
{
    QTest::addColumn<QRect>("place");

    QTest::newRow("widget") << QRect(0, 0, 800, 480);
    QTest::newRow("cmdListWidget") << QRect(0, 55, 800, 420);
    QTest::newRow("label_3") << QRect(5, 5, 625, 45);
    QTest::newRow("label_5") << QRect(635, 5, 100, 45);
    QTest::newRow("timeout") << QRect(735, 5, 60, 45);
    QTest::newRow("widget_2") << QRect(0, 0, 800, 480);
    QTest::newRow("pushButton") << QRect(670, 10, 121, 41);
    QTest::newRow("tableView") << QRect(10, 60, 781, 401);
    QTest::newRow("information") << QRect(0, 0, 661, 61);
    QTest::newRow("label") << QRect(700, 460, 91, 16);
}

void TestWidgetForm::objectHasItsPlace()
{
    QFETCH(QRect, place);

    QCOMPARE(find<QWidget>(QTest::currentDataTag())->geometry(), place);
}

void TestWidgetForm::objectHasItsMinimumSize_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("label_2") << QSize(120, 41);
    QTest::newRow("label_4") << QSize(50, 0);
    QTest::newRow("label1") << QSize(120, 41);
    QTest::newRow("confirmPb") << QSize(121, 41);
    QTest::newRow("cancelPb") << QSize(121, 41);
    QTest::newRow("operationList") << QSize(0, 0);
    QTest::newRow("selectedList") << QSize(0, 0);
}

void TestWidgetForm::objectHasItsMinimumSize()
{
    QFETCH(QSize, size);

    QCOMPARE(find<QWidget>(QTest::currentDataTag())->minimumSize(), size);
}

void TestWidgetForm::layoutHoldsItsItemsInOrder_data()
{
    QTest::addColumn<QStringList>("items");

    QTest::newRow("verticalLayout_3") << QStringList{"horizontalLayout_2", "horizontalLayout", "a spacer"};
    QTest::newRow("horizontalLayout_2") << QStringList{"verticalLayout", "label_4", "verticalLayout_2"};
    QTest::newRow("verticalLayout") << QStringList{"label_2", "operationList"};
    QTest::newRow("verticalLayout_2") << QStringList{"label1", "selectedList"};
    QTest::newRow("horizontalLayout")
        << QStringList{"a spacer", "confirmPb", "a spacer", "cancelPb", "a spacer"};
}

void TestWidgetForm::layoutHoldsItsItemsInOrder()
{
    QFETCH(QStringList, items);
    const auto *layout = find<QLayout>(QTest::currentDataTag());

    QCOMPARE(itemsOf(layout), items);
    QCOMPARE(layout->spacing(), 6);
}

void TestWidgetForm::outerLayoutIsInstalledWithItsMargins()
{
    QCOMPARE(ui->cmdListWidget->layout(), ui->verticalLayout_3);
    QCOMPARE(ui->verticalLayout_3->contentsMargins(), QMargins(11, 11, 11, 11));
}

void TestWidgetForm::spacerHasItsSizeAndPolicies_data()
{
    QTest::addColumn<QString>("layout");
    QTest::addColumn<int>("index");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("horizontal");

    const int expanding = QSizePolicy::Expanding;
    const int minimum = QSizePolicy::Minimum;
    QTest::newRow("horizontalSpacer") << "horizontalLayout" << 0 << QSize(40, 20) << expanding;
    QTest::newRow("horizontalSpacer_2") << "horizontalLayout" << 2 << QSize(40, 20) << expanding;
    QTest::newRow("horizontalSpacer_3") << "horizontalLayout" << 4 << QSize(40, 20) << expanding;
    QTest::newRow("verticalSpacer") << "verticalLayout_3" << 2 << QSize(20, 10) << minimum;
}

void TestWidgetForm::spacerHasItsSizeAndPolicies()
{
    QFETCH(QString, layout);
    QFETCH(int, index);
    QFETCH(QSize, size);
    QFETCH(int, horizontal);
    QSpacerItem *spacer = find<QLayout>(layout.toLatin1())->itemAt(index)->spacerItem();

    QVERIFY(spacer);
    QCOMPARE(spacer->sizeHint(), size);
    QCOMPARE(int(spacer->sizePolicy().horizontalPolicy()), horizontal);
    QCOMPARE(int(spacer->sizePolicy().verticalPolicy()), int(QSizePolicy::Minimum));
}

void TestWidgetForm::bothButtonsStandCentredWithEqualSpaceAroundThem()
{
    form->show();
    const QRect confirm = ui->confirmPb->geometry();
    const QRect cancel = ui->cancelPb->geometry();
    const int left = confirm.left() - 11 - 6; // less the margin and the spacings
    const int between = cancel.left() - confirm.right() - 1 - 12;
    const int right = ui->cmdListWidget->width() - 11 - 6 - cancel.right() - 1;

    QVERIFY(qAbs(left - between) <= 2); // what does not divide by three
    QVERIFY(qAbs(right - between) <= 2);
    QCOMPARE(confirm.top(), cancel.top());
}

void TestWidgetForm::labelIsAligned_data()
{
    QTest::addColumn<Qt::Alignment>("alignment");

    QTest::newRow("label_2") << Qt::Alignment(Qt::AlignCenter);
    QTest::newRow("label_4") << Qt::Alignment(Qt::AlignCenter);
    QTest::newRow("label1") << Qt::Alignment(Qt::AlignCenter);
    QTest::newRow("label_3") << Qt::Alignment(Qt::AlignCenter);
    QTest::newRow("label_5") << Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter);
    QTest::newRow("timeout") << Qt::Alignment(Qt::AlignLeft | Qt::AlignVCenter);
    QTest::newRow("information") << Qt::Alignment(Qt::AlignCenter);
    QTest::newRow("label") << Qt::Alignment(Qt::AlignLeft | Qt::AlignVCenter);
}

void TestWidgetForm::labelIsAligned()
{
    QFETCH(Qt::Alignment, alignment);

    QCOMPARE(find<QLabel>(QTest::currentDataTag())->alignment(), alignment);
}

// --- Fonts and sheets -----------------------------------------------------------------------------------

void TestWidgetForm::fontsHaveTheirSizes()
{
    QCOMPARE(form->font().pointSize(), 16);
    QCOMPARE(form->font().family(), QApplication::font().family());
    QCOMPARE(ui->label->font().pointSize(), 16); // as every child without a font of its own
    QVERIFY(!ui->label->testAttribute(Qt::WA_SetFont));
    QCOMPARE(ui->tableView->font().pointSize(), 16);
    QVERIFY(ui->tableView->testAttribute(Qt::WA_SetFont));
    QCOMPARE(ui->information->font().pointSize(), 28);

    form->setFont(QFont(QString(), 9));
    QCOMPARE(ui->tableView->font().pointSize(), 16);
}

void TestWidgetForm::buttonFontsComeFromTheirSheets()
{
    for (QPushButton *button : {ui->confirmPb, ui->cancelPb, ui->pushButton}) {
        button->ensurePolished();
        QCOMPARE(button->font().pixelSize(), 22);
        QCOMPARE(button->font().family(), QApplication::font().family());
        QVERIFY(!button->font().bold());
    }
}

void TestWidgetForm::objectHasItsSheet_data()
{
    QTest::addColumn<QByteArray>("sheet");

    QByteArray detailsSheet = buttonSheet;
    detailsSheet.replace("border-radius:10px;", "border-radius:20px;");
    QTest::newRow("widget") << listPageSheet;
    QTest::newRow("label_2") << QByteArray("font-size:18px;");
    QTest::newRow("operationList") << listSheet;
    QTest::newRow("label_4") << QByteArray("font-size:22px;");
    QTest::newRow("label1") << QByteArray("font-size:18px;");
    QTest::newRow("selectedList") << listSheet.left(listSheet.size() - 1);
    QTest::newRow("confirmPb") << buttonSheet;
    QTest::newRow("cancelPb") << buttonSheet;
    QTest::newRow("label_3") << QByteArray("font-size:18pt;");
    QTest::newRow("label_5") << QByteArray("font-size:12pt;");
    QTest::newRow("timeout") << QByteArray("font-size:12pt;");
    QTest::newRow("widget_2") << statusPageSheet;
    QTest::newRow("pushButton") << detailsSheet;
    QTest::newRow("tableView") << QByteArray("background-color: rgb(255, 255, 255);\n");
}

void TestWidgetForm::objectHasItsSheet()
{
    QFETCH(QByteArray, sheet);

    QCOMPARE(find<QWidget>(QTest::currentDataTag())->styleSheet().toUtf8(), sheet);
}

void TestWidgetForm::listSheetsDifferInTheirLastCharacterOnly()
{
    QCOMPARE(ui->operationList->styleSheet().size(), 708);
    QCOMPARE(ui->selectedList->styleSheet().size(), 707);
    QCOMPARE(ui->operationList->styleSheet(), ui->selectedList->styleSheet() + '\n');
}

void TestWidgetForm::nothingElseHasASheet()
{
    QStringList styled;
    for (const QWidget *widget : form->findChildren<QWidget *>()) {
        if (!widget->styleSheet().isEmpty())
            styled.append(widget->objectName());
    }

    QCOMPARE(form->styleSheet(), QString());
    QCOMPARE(styled.size(), 14);
    QCOMPARE(ui->cmdListWidget->styleSheet() + ui->information->styleSheet() + ui->label->styleSheet(),
             QString());
}

// --- Texts ----------------------------------------------------------------------------------------------

void TestWidgetForm::objectHasItsText_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("label_2") << "Operations list";
    QTest::newRow("label_4") << QString::fromUtf8("\xe2\x86\x92\n\xe2\x86\x90"); // arrows right and left
    QTest::newRow("label1") << "Selected operations";
    QTest::newRow("confirmPb") << "Confirm";
    QTest::newRow("cancelPb") << "Cancel";
    QTest::newRow("label_3") << "Please select operation(s) in the list to execute";
    QTest::newRow("label_5") << "Remaining: ";
    QTest::newRow("timeout") << "";
    QTest::newRow("pushButton") << "Details";
    QTest::newRow("information") << "";
    QTest::newRow("label") << "Ver2.0.1";
}

void TestWidgetForm::objectHasItsText()
{
    QFETCH(QString, text);

    QCOMPARE(find<QWidget>(QTest::currentDataTag())->property("text").toString(), text);
}

void TestWidgetForm::formHasItsTitle()
{
    QCOMPARE(form->windowTitle(), QString("Widget"));
}

void TestWidgetForm::textsAreAskedForInTheirOrder()
{
    AskedTexts asked;
    QCoreApplication::installTranslator(&asked);
    asked.texts.clear(); // the application has asked for the direction of its layouts
    asked.allPlain = true;

    ui->retranslateUi(form.data());

    QCOMPARE(asked.texts,
             (QStringList{"Widget", "Operations list", QString::fromUtf8("\xe2\x86\x92\n\xe2\x86\x90"),
                          "Selected operations", "Confirm", "Cancel",
                          "Please select operation(s) in the list to execute", "Remaining: ", "Details",
                          "Ver2.0.1"}));
    QVERIFY(asked.allPlain);
}

void TestWidgetForm::everyTextIsTranslated()
{
    const MarkingTranslator translator;
    QWidget translated;
    Ui_Widget itsUi;

    itsUi.setupUi(&translated);

    QCOMPARE(translated.windowTitle(), QString("<Widget>"));
    for (const QLabel *label :
         {itsUi.label_2, itsUi.label_4, itsUi.label1, itsUi.label_3, itsUi.label_5, itsUi.label})
        QVERIFY2(label->text().startsWith('<') && label->text().endsWith('>'), qPrintable(label->text()));
    for (const QPushButton *button : {itsUi.confirmPb, itsUi.cancelPb, itsUi.pushButton})
        QVERIFY2(button->text().startsWith('<') && button->text().endsWith('>'), qPrintable(button->text()));
    QCOMPARE(itsUi.timeout->text() + itsUi.information->text(), QString());
}

void TestWidgetForm::textsCanBeSetAgain()
{
    const MarkingTranslator translator;

    ui->retranslateUi(form.data());

    QCOMPARE(ui->confirmPb->text(), QString("<Confirm>"));
}

// --- Focus, selection, headers --------------------------------------------------------------------------

void TestWidgetForm::objectsTakeNoFocus_data()
{
    QTest::addColumn<bool>("takesFocus");

    QTest::newRow("confirmPb") << false;
    QTest::newRow("cancelPb") << false;
    QTest::newRow("pushButton") << false;
    QTest::newRow("tableView") << false;
    QTest::newRow("operationList") << true;
    QTest::newRow("selectedList") << true;
}

void TestWidgetForm::objectsTakeNoFocus()
{
    QFETCH(bool, takesFocus);

    QCOMPARE(find<QWidget>(QTest::currentDataTag())->focusPolicy() != Qt::NoFocus, takesFocus);
}

void TestWidgetForm::aTapOnAButtonLeavesTheFocusWhereItIs()
{
    form->show();
    QApplication::setActiveWindow(form.data());
    ui->operationList->setFocus();
    QTRY_VERIFY_WITH_TIMEOUT(ui->operationList->hasFocus(), waitingLimitMs);

    QTest::mouseClick(ui->confirmPb, Qt::LeftButton);
    QTest::mouseClick(ui->cancelPb, Qt::LeftButton);

    QVERIFY(ui->operationList->hasFocus());
}

void TestWidgetForm::listsHaveTheirSelectionAndScrollBars()
{
    for (const QListView *list : {ui->operationList, ui->selectedList}) {
        QCOMPARE(list->selectionMode(), QAbstractItemView::SingleSelection);
        QCOMPARE(list->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        QCOMPARE(list->horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    }
}

void TestWidgetForm::aTapSelectsAtMostOneRow_data()
{
    QTest::addColumn<Qt::KeyboardModifiers>("keys");

    QTest::newRow("a tap") << Qt::KeyboardModifiers(Qt::NoModifier);
    QTest::newRow("with Control") << Qt::KeyboardModifiers(Qt::ControlModifier);
    QTest::newRow("with Shift") << Qt::KeyboardModifiers(Qt::ShiftModifier);
}

void TestWidgetForm::aTapSelectsAtMostOneRow()
{
    QFETCH(Qt::KeyboardModifiers, keys);
    QStringListModel model({"first", "second", "third"});
    form->show();

    for (QListView *list : {ui->operationList, ui->selectedList}) {
        list->setModel(&model);
        for (int row : {0, 2}) {
            const QPoint place = list->visualRect(model.index(row)).center();
            QTest::mouseClick(list->viewport(), Qt::LeftButton, keys, place);
        }
        QCOMPARE(list->selectionModel()->selectedIndexes(), QModelIndexList{model.index(2)});
    }
}

void TestWidgetForm::listScrollBarsAreMadeForFingers_data()
{
    QTest::addColumn<QString>("list");

    QTest::newRow("operationList") << "operationList";
    QTest::newRow("selectedList") << "selectedList";
}

void TestWidgetForm::listScrollBarsAreMadeForFingers()
{
    QFETCH(QString, list);
    FakeDf df;
    TestWindow window; // the sheets reach the bars only after the window has set the bars' own, empty ones
    QStringListModel model(manyEntries());
    auto *view = window.child<QListView>(list.toLatin1());
    view->setModel(&model);
    window.show();
    QScrollBar *bar = view->verticalScrollBar();
    QTRY_VERIFY_WITH_TIMEOUT(bar->isVisible(), waitingLimitMs);

    QStyleOptionSlider option;
    option.initFrom(bar);
    option.orientation = Qt::Vertical;
    option.minimum = bar->minimum();
    option.maximum = bar->maximum();
    option.pageStep = bar->pageStep();
    const auto sizeOf = [&](QStyle::SubControl part) {
        return bar->style()->subControlRect(QStyle::CC_ScrollBar, &option, part, bar).size();
    };

    QCOMPARE(bar->width(), 50);
    QVERIFY(sizeOf(QStyle::SC_ScrollBarSlider).height() >= 35);
    QVERIFY(sizeOf(QStyle::SC_ScrollBarAddLine).isEmpty());
    QVERIFY(sizeOf(QStyle::SC_ScrollBarSubLine).isEmpty());
}

void TestWidgetForm::tableHeadersStayHidden()
{
    FakeDf df;
    TestWindow window;
    window.showDetails = true;
    window.runList.append({"name", "command", false, 0});

    window.widget.createTabelview();

    auto *table = window.child<QTableView>("tableView");
    QCOMPARE(table->model()->headerData(0, Qt::Horizontal).toString(), QString("Name"));
    QVERIFY(table->horizontalHeader()->isHidden());
    QVERIFY(table->verticalHeader()->isHidden());
}

// --- Pages and pictures ---------------------------------------------------------------------------------

void TestWidgetForm::listPageCoversTheStatusPage()
{
    form->show();

    for (const QPoint &place : {QPoint(1, 1), QPoint(400, 240), QPoint(730, 30), QPoint(798, 478)}) {
        const QWidget *top = form->childAt(place);
        QVERIFY(top == ui->widget || ui->widget->isAncestorOf(top));
    }
    ui->widget->hide();
    QCOMPARE(form->childAt(730, 30), ui->pushButton);
}

void TestWidgetForm::nothingIsHiddenByTheForm()
{
    for (const QWidget *widget : form->findChildren<QWidget *>(QRegularExpression("^[a-z]\\w+$"))) {
        if (!widget->objectName().startsWith("qt_"))
            QVERIFY2(!widget->isHidden(), qPrintable(widget->objectName()));
    }
}

void TestWidgetForm::bothPagesShowTheBackground_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QPoint>("place");

    QTest::newRow("list page, left edge") << "widget" << QPoint(2, 52);
    QTest::newRow("list page, bottom") << "widget" << QPoint(400, 477);
    QTest::newRow("status page, left edge") << "widget_2" << QPoint(4, 300);
    QTest::newRow("status page, bottom") << "widget_2" << QPoint(400, 470);
}

void TestWidgetForm::bothPagesShowTheBackground()
{
    QFETCH(QString, page);
    QFETCH(QPoint, place);
    const QImage picture(":/images/background/bk1.png");
    form->show();

    const QImage shown = find<QWidget>(page.toLatin1())->grab().toImage();

    QCOMPARE(shown.size(), picture.size());
    QCOMPARE(shown.pixelColor(place), picture.pixelColor(place));
}

void TestWidgetForm::picturesAreInTheResources_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow(":/images/background/bk1.png") << QSize(800, 480);
    QTest::newRow(":/images/background/bk2.png") << QSize(800, 420);
}

void TestWidgetForm::picturesAreInTheResources()
{
    QFETCH(QSize, size);
    const QResource resource(QTest::currentDataTag());
    QVERIFY(resource.isValid());
    const auto *bytes = reinterpret_cast<const char *>(resource.data());

    QVERIFY(!resource.isCompressed());
    QVERIFY(QByteArray(bytes, 8) == QByteArray("\x89PNG\r\n\x1a\n"));
    QCOMPARE(QImage(QTest::currentDataTag(), "PNG").size(), size);
}

void TestWidgetForm::resourcesCanBeRegisteredAndUnregistered()
{
    const QString picture = ":/images/background/bk1.png";

    QVERIFY(QFile::exists(picture));
    QCOMPARE(qCleanupResources_imges(), 1);
    QVERIFY(!QFile::exists(picture));
    QCOMPARE(qInitResources_imges(), 1);
    QVERIFY(QFile::exists(picture));
}

// --- The form and its window ----------------------------------------------------------------------------

void TestWidgetForm::detailsButtonIsBoundOnce()
{
    FakeDf df;
    TestWindow window;
    window.show();
    window.child<QWidget>("widget")->hide();

    window.tap("pushButton");
    QVERIFY(window.showDetails);
    window.tap("pushButton");
    QVERIFY(!window.showDetails);
}

void TestWidgetForm::confirmButtonIsBoundOnce()
{
    FakeDf df;
    TestWindow window;
    window.show();
    const DebugLines debug;

    window.tap("confirmPb");

    QCOMPARE(debug.lines(), QStringList{"no item selected"});
}

void TestWidgetForm::cancelButtonIsBoundOnce()
{
    FakeDf df;
    TestWindow window;
    window.show();
    const Questions questions(QMessageBox::No);

    window.tap("cancelPb");

    QCOMPARE(questions.asked().size(), 1);
    QVERIFY(questions.asked().first().contains("Are you sure to abort?"));
}

void TestWidgetForm::listsAreBoundOnce()
{
    FakeDf df;
    TestWindow window;
    QStringListModel operations({"A", "B"});
    window.child<QListView>("operationList")->setModel(&operations);
    window.show();
    const DebugLines debug;

    window.tapRow("operationList", 1);
    window.tapRow("selectedList", 0);

    QCOMPARE(debug.lines(),
             (QStringList{"append item [B] to selected list", "remove item 0[B] in the selected list"}));
}

SANDBOXED_TEST_MAIN(TestWidgetForm)
#include "tst_widget_form.moc"
