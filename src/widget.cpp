// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "widget.h"

#include "ui_widget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDebug>
#include <QDesktopWidget>
#include <QFile>
#include <QPixmap>
#include <QProcess>
#include <QScrollBar>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int pollIntervalMs = 3000;
constexpr int tickIntervalMs = 1000;
constexpr unsigned int suspensionArgument = 600; // the watchdog gives it its meaning and its unit

constexpr unsigned long workerPollSeconds = 2;
constexpr unsigned long settleSeconds = 2;

constexpr int outputBursts = 2;
constexpr int outputTimeoutMs = 4000;

enum State { NotExecuted = 0, Executing = 1, Completed = 2 };
enum MediaType { SdCard = 0, UsbDrive = 1, OtherStorage = 2 };

const char catalogueFile[] = "/mnt/upgrade/zul_install/system.ini";

/// A QProcess that tells when the kernel refuses it a process. Qt 5.15 takes a refused one of QProcess itself
/// for started: it then waits for it for ever, and ends it by a SIGKILL to process -1, which is every process
/// there is. For a class derived from it Qt uses plain fork(2), whose refusal it notices.
class Process : public QProcess
{
};

/// Whether the kernel gives this program another process now. For QProcess::execute, which has the same fault
/// and whose class cannot be chosen.
bool isProcessLeft()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    while (child > 0 && waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
    }
    return child > 0;
}

QPixmap grabDesktop()
{
    return QPixmap::grabWindow(QApplication::desktop()->winId(), 0, 0, -1, -1);
}

} // namespace

// --- The worker -----------------------------------------------------------------------------------------

myThread::myThread(QObject *parent)
    : QThread(parent)
{
}

void myThread::setSyscmd(QVector<_system_CMD> *list)
{
    cmdList = list;
    ++handedOver; // before the flag, so that a batch at work is replaced before the next one can begin
    suspended = false;
}

void myThread::suspend()
{
    suspended = true;
}

void myThread::resume()
{
    suspended = false;
}

bool myThread::Verification_script(QString commandLine)
{
    const QStringList parts = commandLine.split(" ");
    for (int i = 1; i < parts.size(); ++i) {
        if (!parts.at(i).isEmpty())
            return false;
    }
    return true;
}

bool myThread::isSkipped(const QString &commandLine)
{
    // "sh" anywhere counts, in flash_erase and bash too: such a program is run only with an argument.
    return commandLine.contains("sh") ? Verification_script(commandLine) : commandLine.isEmpty();
}

bool myThread::isCalibration(const QString &commandLine)
{
    return commandLine == "ts_calibrate" || commandLine.contains("TSTAPP");
}

void myThread::backup_grabWindow(QString path)
{
    if (!path.contains(".jpg"))
        path.append(".jpg");
    grabDesktop().save(path, "JPG", -1);
}

void myThread::run()
{
    for (;;) {
        if (!suspended)
            runBatch();
        sleep(workerPollSeconds);
    }
}

void myThread::runBatch()
{
    atWork = handedOver;
    pageHidden = false;
    // The batch keeps the length that it starts with, but never reaches beyond a list that has shrunk since.
    const int count = cmdList ? cmdList->size() : 0;
    for (int index = 0; index < count && index < cmdList->size(); ++index) {
        announce(index);
        sleep(settleSeconds);

        // Nothing of a replaced batch is run any more: its medium is gone, and another may be in its place.
        const bool skipped = isReplaced() || isSkipped(current.cmd);
        if (skipped)
            complete(index);
        else
            execute(index);
        // Without a look at the suspend flag after a skipped command: only an executed one ends a batch
        // early.
        if (isReplaced() || (suspended && !skipped))
            break;
    }
    endBatch();
}

bool myThread::isReplaced() const
{
    return atWork != handedOver;
}

void myThread::announce(int index)
{
    current = cmdList->at(index);
    // Not written back: the list shows state 1 for a calibration command only.
    current.state = Executing;
    emit signalStateChange(current.name);
    if (isCalibration(current.cmd)) {
        writeBack(index);
        pageHidden = true;
        emit signaltsCalibrate(false);
    }
}

void myThread::execute(int index)
{
    current.succeed = isProcessLeft() && QProcess::execute(current.cmd) == 0;
    complete(index);
    if (isCalibration(current.cmd)) {
        writeBack(index);
        pageHidden = false;
        emit signaltsCalibrate(true);
    }
    writeBack(index); // once more: whatever was written there meanwhile, this is how the command ended
}

void myThread::endBatch()
{
    if (isReplaced()) {
        // Silently. The next batch needs the page, which a skipped calibration leaves hidden.
        if (pageHidden)
            emit signaltsCalibrate(true);
        return;
    }
    emit signal_end();
    running = false;
    if (!isReplaced()) // a batch that was handed over in this very moment is not lost either
        suspended = true;
}

void myThread::complete(int index)
{
    current.state = Completed;
    writeBack(index);
    emit signalStateChange("");
}

void myThread::writeBack(int index)
{
    // Not into the list of a batch that has taken this one's place.
    if (!isReplaced() && index < cmdList->size())
        (*cmdList)[index] = current;
}

// --- The window -----------------------------------------------------------------------------------------

Widget::Widget(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui_Widget)
{
    ui->setupUi(this);
    codec = QTextCodec::codecForName("UTF-8");
    watchDog = new WatchDogFeed(this);

    mountPath = "";
    showDetails = false;
    upgrading = false;
    mediaType = OtherStorage; // so that a medium of unknown kind is announced as a storage device

    tableModel = new QStandardItemModel(this);
    operationModel = nullptr;
    selectedModel = nullptr;
    rebootTimer = nullptr;
    endGame = true;

    msgBox = nullptr;
    buildQuestionBox();

    // They have no sheet of their own, but being given one, even an empty one, is what makes them take the
    // width for fingers that the lists' sheets ask for.
    const QString sheet = ui->operationList->verticalScrollBar()->styleSheet();
    ui->operationList->verticalScrollBar()->setStyleSheet(sheet);
    ui->selectedList->verticalScrollBar()->setStyleSheet(sheet);

    startWatchingForMedia();
    startWorker();
}

Widget::~Widget()
{
    // The worker, the poll timer and the question box stay: the process ends with them.
    delete ui;
}

void Widget::startWatchingForMedia()
{
    pollTimer = new QTimer;
    connect(pollTimer, SIGNAL(timeout()), this, SLOT(slotsTimerout()));
    spareFlag = false;
    pollTimer->start(pollIntervalMs);
}

void Widget::startWorker()
{
    worker = new myThread;
    connect(worker, SIGNAL(signalStateChange(QString)), this, SLOT(slotsStateChange(QString)));
    connect(worker, SIGNAL(signal_end()), this, SLOT(slotsState_end()));
    connect(worker, SIGNAL(signaltsCalibrate(bool)), this, SLOT(slotstsCalibrate(bool)));
    worker->start(QThread::InheritPriority);
}

// --- Notice the medium ----------------------------------------------------------------------------------

void Widget::slotsTimerout()
{
    QVector<QString> lines;
    myexec("df", &lines);

    bool found = false;
    QStringList fields;
    for (const QString &line : qAsConst(lines)) {
        const bool candidate = mountPath.isEmpty() ? line.contains("/dev/sd") || line.contains("/dev/mmc")
                                                   : line.contains(mountPath);
        if (!candidate)
            continue;
        found = true;
        fields = line.split(" "); // no early exit: of several media the last line decides
    }

    if (mountPath.isEmpty() && found) {
        mountPath = fields.last();
        checkMmc_udisk();
    } else if (!mountPath.isEmpty() && !found) {
        mountPath = "";
        uMount();
    }
}

void Widget::checkMmc_udisk()
{
    linkMedium();
    if (!QFile::exists(catalogueFile)) {
        qDebug() << "/mnt/upgrade/zul_install/system.ini unPresence";
        uMount();
        return; // mountPath keeps its value, so that the medium is not tried again until it is removed
    }

    // By the mount directory, not by the device; a directory with neither text keeps the last medium's kind.
    if (mountPath.contains("mmc"))
        mediaType = SdCard;
    else if (mountPath.contains("sd"))
        mediaType = UsbDrive;

    showFullScreen();
    stopPrograms();
    feed_dog_suspend(suspensionArgument);
    upgrading = true;
    showDetails = false;
    check_CMD(catalogueFile);
}

void Widget::linkMedium()
{
    systemCmdReadrealy("rm /mnt/upgrade");
    systemCmdReadrealy(QString("ln -s %1 /mnt/upgrade").arg(mountPath));
}

void Widget::stopPrograms()
{
    systemCmdReadrealy("killall zul_main");
    systemCmdReadrealy("killall zul_gui_en");
    systemCmdReadrealy("killall zul_gui_cn");
    systemCmdReadrealy("killall zul_gui_jk");
    systemCmdReadrealy("killall zul_gui_lan");
}

// --- Read its catalogue ---------------------------------------------------------------------------------

namespace
{

/// An item that stands in the middle of its cell.
QStandardItem *centredItem(const QString &text)
{
    auto *item = new QStandardItem(text);
    item->setTextAlignment(Qt::AlignCenter);
    return item;
}

/// The record of a catalogue line "name@command". The settings reader has no codec and so read the file byte
/// by byte; where the local encoding has one byte a character, this gives back the UTF-8 text of the file.
_system_CMD recordOf(const QString &line)
{
    const QString text = QString::fromUtf8(line.toLocal8Bit().constData());
    return {text.section("@", 0, 0), text.section("@", 1, 1), false, NotExecuted};
}

} // namespace

void Widget::check_CMD(QString path)
{
    // One settings object a read, never released: its cache is part of how a catalogue is read.
    auto *settings = new QSettings(path, QSettings::IniFormat);
    if (settings->contains("/system/CMD_List"))
        offerChoice(settings);
    else if (settings->contains("/system/CMD_Type"))
        runAtOnce(settings);
    else
        qDebug() << "unrecognized command line";
}

void Widget::runAtOnce(QSettings *settings)
{
    QString list;
    get_string(settings, "/system/CMD_Type", &list);
    const QStringList items = list.split(",");

    runList.resize(0);
    for (const QString &item : items) {
        const QString line = commandLine(settings, item);
        if (!item.isEmpty() && !line.isEmpty())
            runList.append(recordOf(line));
    }
    if (!runList.isEmpty())
        startBatch();
}

void Widget::offerChoice(QSettings *settings)
{
    startCountdown();
    if (settings->contains("/system/ENDGAME"))
        endGame = settings->value("/system/ENDGAME", true).toBool();

    QString list;
    get_string(settings, "/system/CMD_List", &list);
    const QStringList items = list.split(",");

    cmdMap.clear();
    runList.resize(0);
    if (!operationModel)
        operationModel = new QStandardItemModel(this);
    ensureSelectedModel();
    operationModel->clear();
    selectedModel->clear();
    ui->widget->show(); // an earlier batch may have left the status page

    if (items.isEmpty()) {
        qDebug() << "empty command list";
        return;
    }
    for (const QString &item : items)
        offerOperation(settings, item);

    ui->operationList->setModel(operationModel);
    ui->selectedList->setModel(selectedModel);
    ui->operationList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->selectedList->setEditTriggers(QAbstractItemView::NoEditTriggers);
}

void Widget::startCountdown()
{
    if (!rebootTimer)
        rebootTimer = new QTimer(this);
    // One more connection every time, on purpose: a second catalogue makes the countdown run twice as fast.
    connect(rebootTimer, SIGNAL(timeout()), this, SLOT(slot_rebootTimeout()));
    rebootTimer->start(tickIntervalMs);
}

void Widget::offerOperation(QSettings *settings, const QString &item)
{
    if (item.isEmpty()) {
        qDebug() << "empty command name in the list";
        return;
    }
    const QString line = commandLine(settings, item);
    if (line.isEmpty()) {
        qDebug() << "empty command";
        return;
    }
    const _system_CMD record = recordOf(line);
    cmdMap.insert(record.name, record); // a repeated name shows twice and keeps the later command
    operationModel->appendRow(centredItem(record.name));
}

QString Widget::commandLine(QSettings *settings, const QString &item)
{
    QString line;
    get_string(settings, QString("/CMD/%1").arg(item), &line);
    return line;
}

void Widget::get_string(QSettings *settings, QString key, QString *text)
{
    *text = settings->value(key, QVariant()).toString();
}

void Widget::set_string(QSettings *settings, QString key, QString *text)
{
    settings->setValue(key, *text);
}

// --- Choose operations ----------------------------------------------------------------------------------

void Widget::ensureSelectedModel()
{
    if (!selectedModel)
        selectedModel = new QStandardItemModel(this);
}

void Widget::on_operationList_clicked(const QModelIndex &index)
{
    const QString text = index.data(Qt::DisplayRole).toString();
    ensureSelectedModel();
    const QList<QStandardItem *> found = selectedModel->findItems(text, Qt::MatchExactly, 0);
    if (found.isEmpty()) {
        selectedModel->appendRow(centredItem(text));
        qDebug().noquote() << QString("append item [%1] to selected list").arg(text);
    } else {
        removeFromSelection(found.first());
    }
    ui->selectedList->setModel(selectedModel);
}

void Widget::on_selectedList_clicked(const QModelIndex &index)
{
    const QString text = index.data(Qt::DisplayRole).toString();
    ensureSelectedModel();
    const QList<QStandardItem *> found = selectedModel->findItems(text, Qt::MatchExactly, 0);
    if (found.isEmpty())
        qDebug().noquote() << QString("item [%1] not in the selected list").arg(text);
    else
        removeFromSelection(found.first());
    ui->selectedList->setModel(selectedModel);
}

void Widget::removeFromSelection(const QStandardItem *item)
{
    const int row = item->row();
    const QString text = item->text();
    selectedModel->removeRow(row);
    qDebug().noquote() << QString("remove item %1[%2] in the selected list").arg(QString::number(row), text);
}

// --- Confirm, abort, count down -------------------------------------------------------------------------

void Widget::buildQuestionBox()
{
    if (msgBox)
        return;
    //: The title of both questions; a frame buffer shows none.
    msgBox = new QMessageBox(QMessageBox::NoIcon, tr("Attention"), " ", QMessageBox::Yes | QMessageBox::No,
                             nullptr, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    msgBox->setStyleSheet("QMessageBox{border:1px solid;border-radius:10px;background:white;"
                          "min-width:600px;min-height:350px;} "
                          "QPushButton{background:lightgray;border:1px solid;border-radius:5px;"
                          "min-width:100px;min-height:50px;}");
    msgBox->setFont(QFont("Arial", 18, QFont::Bold));
    // The style sheet keeps the box's font from its buttons, and the default one is too small to read. And
    // whether they have icons is up to the platform: on the frame buffer they have none.
    for (QAbstractButton *button : msgBox->buttons()) {
        button->setFont(msgBox->font());
        button->setIcon(QIcon());
    }
}

bool Widget::isAnsweredYes(const QString &question)
{
    msgBox->setText(question);
    return msgBox->exec() == QMessageBox::Yes;
}

void Widget::on_confirmPb_clicked()
{
    ensureSelectedModel();
    const int rows = selectedModel->rowCount();
    if (rows < 1) {
        qDebug() << "no item selected";
        return;
    }

    buildQuestionBox();
    if (!isAnsweredYes(QString("\n %1 \n %2 \n\n %3 \n\n")
                           .arg(
                               //: Also the first line of a question, with "will be executed." as the second:
                               //: they make one sentence, and have to agree in gender and number.
                               tr("Selected operations"),
                               //: The second line of a question; the first one is "Selected operations".
                               //: They make one sentence. 350 px at 18 pt, bold.
                               tr("will be executed."),
                               //: Below "Selected operations will be executed."; answered with Yes or No.
                               //: 350 px at 18 pt, bold.
                               tr("Are you sure to continue?"))))
        return;

    runList.resize(0);
    collectSelectedCommands(rows);
    if (endGame) {
        //: The name of an operation, as an operator would call it: in the status table's first column, 194 px
        //: at 16 pt, and behind "Executing：", together 661 px at 28 pt.
        runList.append({tr("Save data"), "sync", false, NotExecuted});
        //: The name of an operation, as an operator would call it: in the status table's first column, 194 px
        //: at 16 pt, and behind "Executing：", together 661 px at 28 pt.
        runList.append({tr("Reboot system"), "reboot", false, NotExecuted});
    }
    if (!runList.isEmpty())
        startBatch(); // the countdown goes on: its five minutes cover choosing and running
}

void Widget::collectSelectedCommands(int rows)
{
    for (int row = 0; row < rows; ++row) {
        const QStandardItem *item = selectedModel->item(row, 0);
        if (!item) {
            qDebug().noquote() << QString("item[%1] is null").arg(row);
            continue;
        }
        const QString name = item->text();
        if (cmdMap.contains(name))
            runList.append(cmdMap.value(name));
        else
            qDebug().noquote() << QString("item[%1] is not in the command list").arg(name);
    }
}

void Widget::on_cancelPb_clicked()
{
    buildQuestionBox();
    if (isAnsweredYes(QString("\n %1 \n\n %2 \n\n")
                          .arg(
                              //: The first line of a question, asked after a tap on Cancel; answered with Yes
                              //: or No. 350 px at 18 pt, bold.
                              tr("Are you sure to abort?"),
                              //: Below "Are you sure to abort?": what Yes does. 350 px at 18 pt, bold.
                              tr("System will reboot."))))
        quitAndReboot();
}

void Widget::slot_rebootTimeout()
{
    static int timeoutTick = 300;
    if (timeoutTick < 0) {
        timeoutTick = 360; // not 300, on purpose: a timer started again would count from 06:00
        if (rebootTimer)
            rebootTimer->stop();
        quitAndReboot();
        return;
    }
    ui->timeout->setText(QString("%1:%2")
                             .arg(timeoutTick / 60, 2, 10, QLatin1Char('0'))
                             .arg(timeoutTick % 60, 2, 10, QLatin1Char('0')));
    --timeoutTick;
}

void Widget::quitAndReboot()
{
    QCoreApplication::exit(0);
    // Nothing is left to do when it fails: the event loop ends all the same.
    const int ignored = system("reboot");
    Q_UNUSED(ignored)
}

// --- Run and report -------------------------------------------------------------------------------------

void Widget::startBatch()
{
    // What the worker has still to say of an earlier batch comes first, or it would stand over this one.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    ui->information->clear(); // an earlier batch's request to unplug must not stand over this one
    ui->widget->hide();
    ui->widget_2->show();
    worker->setSyscmd(&runList);
    createTabelview();
    ui->tableView->scrollToTop();
}

void Widget::slotsStateChange(QString dat)
{
    qDebug().noquote() << "#################" << dat;
    // The empty text after a command leaves the label without a name until the next one starts.
    //: Followed at once by the name of an operation, or by nothing between two of them; so it ends as two
    //: words are parted in your language, mostly with a blank. Together 661 px at 28 pt.
    ui->information->setText(tr("Executing：") + dat);
    createTabelview();
}

void Widget::slotstsCalibrate(bool state)
{
    ui->widget_2->setVisible(state);
}

void Widget::slotsState_end()
{
    if (mediaType == SdCard)
        //: Asks for an SD card to be taken out when everything has run. The line has 661 px at 28 pt.
        ui->information->setText(tr("Operation completed，please unplug SD card！"));
    else if (mediaType == UsbDrive)
        //: Asks for a USB drive to be taken out when everything has run. The line has 661 px at 28 pt.
        ui->information->setText(tr("Operation completed，please unplug USB drive！"));
    else
        //: Asks for any other medium to be taken out when everything has run. The line has 661 px at 28 pt.
        ui->information->setText(tr("Operation completed，please unplug storage device！"));
}

namespace
{

/// The cells of the status table that tell a record's state, in the operator's language. Made once a table
/// and copied for every row: a copy shares its content, so that it costs a third of a new cell.
class StateCells
{
public:
    const QStandardItem *status(const _system_CMD &record) const
    {
        if (record.state == Executing)
            return executing.data();
        return record.state == Completed ? completed.data() : notExecuted.data();
    }

    const QStandardItem *outcome(const _system_CMD &record) const
    {
        if (record.state != Completed)
            return none.data();
        return record.succeed ? succeed.data() : failed.data();
    }

private:
    using Cell = QScopedPointer<QStandardItem>;
    //: Status table, second column: the state of an operation, with which it agrees. 144 px at 16 pt.
    const Cell notExecuted{centredItem(Widget::tr("Not executed"))};
    //: Status table, second column: the state of an operation, with which it agrees. 144 px at 16 pt.
    const Cell executing{centredItem(Widget::tr("Executing"))};
    //: Status table, second column: the state of an operation, with which it agrees. 144 px at 16 pt.
    const Cell completed{centredItem(Widget::tr("Completed"))};
    const Cell none{centredItem(QString())};
    //: Status table, third column: how an operation has ended, with which it agrees. 144 px at 16 pt.
    const Cell succeed{centredItem(Widget::tr("Succeed"))};
    //: Status table, third column: how an operation has ended, with which it agrees. 144 px at 16 pt.
    const Cell failed{centredItem(Widget::tr("Failed"))};
};

} // namespace

void Widget::createTabelview()
{
    // A view that is given new rows goes back to its first one; the operator goes on seeing what he looks at.
    QScrollBar *const place = ui->tableView->verticalScrollBar();
    const int firstVisibleRow = place->value();

    buildTableHead();
    appendTableRows();

    ui->tableView->doItemsLayout(); // the scroll bar knows of the rows only then
    place->setValue(firstVisibleRow);
}

void Widget::buildTableHead()
{
    tableModel->clear();
    tableModel->setColumnCount(showDetails ? 4 : 3);
    //: Status table, heading of the fourth column: the command of an operation. The form hides the headings.
    //: 254 px at 16 pt.
    if (showDetails)
        tableModel->setHeaderData(3, Qt::Horizontal, tr("Operation"));
    //: Status table, heading of the first column: the name of an operation. The form hides the headings.
    //: 194 px at 16 pt.
    tableModel->setHeaderData(0, Qt::Horizontal, tr("Name"));
    //: Status table, heading of the second column: the state of an operation. The form hides the headings.
    //: 144 px at 16 pt.
    tableModel->setHeaderData(1, Qt::Horizontal, tr("Status"));
    //: Status table, heading of the third column: "Succeed" or "Failed". The form hides the headings.
    //: 144 px at 16 pt.
    tableModel->setHeaderData(2, Qt::Horizontal, tr("Succeed?"));

    ui->tableView->setModel(tableModel);
    ui->tableView->setColumnWidth(0, 200);
    ui->tableView->setColumnWidth(1, 150);
    ui->tableView->setColumnWidth(2, 150);
    if (showDetails)
        ui->tableView->setColumnWidth(3, 260);
    ui->tableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
}

void Widget::appendTableRows()
{
    const StateCells cells;
    for (const _system_CMD &record : qAsConst(runList)) {
        // Whole: a cell that is set in a row that is there already is told to the view by itself, which costs
        // more than all the rest.
        QList<QStandardItem *> row{centredItem(record.name), cells.status(record)->clone(),
                                   cells.outcome(record)->clone()};
        if (showDetails)
            row.append(centredItem(record.cmd));
        tableModel->appendRow(row);
    }
}

void Widget::on_pushButton_clicked()
{
    showDetails = !showDetails;
    createTabelview();
}

// --- Leave the medium -----------------------------------------------------------------------------------

void Widget::uMount()
{
    if (upgrading) {
        upgrading = false;
        hide();
        // An open question counts as No: nothing runs for a medium that is gone.
        if (msgBox && msgBox->isVisible())
            msgBox->reject();
        app_restart();
        if (worker->running) {
            worker->running = false;
            if (worker->current.cmd == "ts_calibrate")
                systemCmdReadrealy("killall ts_calibrate");
        }
    }
    systemCmdReadrealy("rm /mnt/upgrade");
    worker->suspend();
}

void Widget::feed_dog_stop()
{
    watchDog->onStop();
}

void Widget::feed_dog_suspend(unsigned int n)
{
    watchDog->onSuspend(n);
}

void Widget::app_restart()
{
    watchDog->onRestartApp();
}

// --- Shell and screen -----------------------------------------------------------------------------------

int Widget::myexec(const char *command, QVector<QString> *lines)
{
    lines->resize(0);
    FILE *pipe = popen(command, "r");
    if (!pipe)
        return -1;

    // The end of another program, such as a command of the batch, would be the end of the list: where Qt
    // handles SIGCHLD, it interrupts a read that is under way. It is handled on another thread, or after the
    // list.
    sigset_t endOfProgram;
    sigset_t before;
    sigemptyset(&endOfProgram);
    sigaddset(&endOfProgram, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &endOfProgram, &before);
    char buffer[1024];
    while (fgets(buffer, sizeof buffer, pipe)) {
        size_t length = std::strlen(buffer);
        if (length > 0 && buffer[length - 1] == '\n')
            --length;
        lines->append(QString::fromUtf8(buffer, static_cast<int>(length)));
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pclose(pipe);
    return lines->size();
}

bool Widget::systemCmdReadrealy(QString commandLine)
{
    Process process;
    process.start(commandLine, QIODevice::ReadWrite);
    for (int burst = 0; burst < outputBursts; ++burst) {
        if (!process.waitForReadyRead(outputTimeoutMs)) {
            // Read first: closing discards what the program has written.
            const QByteArray output = process.readAllStandardOutput();
            const QByteArray errors = process.readAllStandardError();
            process.close();
            qDebug().noquote() << QString::fromLocal8Bit(output);
            qDebug().noquote() << QString::fromLocal8Bit(errors);
            return false;
        }
        if (process.exitStatus() == QProcess::CrashExit) {
            qDebug().noquote() << QString::fromLocal8Bit(process.readAllStandardError());
            return false;
        }
    }
    process.close();
    return true;
}

void Widget::backup_grabWindow(QString path)
{
    grabDesktop().save(path, "JPG", -1);
}
