// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef WIDGET_H
#define WIDGET_H

// Whoever includes this can use the types of the members; only the generated form stays out.
#include "watchdogfeed.h"

#include <QMap>
#include <QMessageBox>
#include <QModelIndex>
#include <QSettings>
#include <QStandardItemModel>
#include <QString>
#include <QTextCodec>
#include <QThread>
#include <QTimer>
#include <QVector>
#include <QWidget>

class Ui_Widget;

/// One command of a catalogue, copied freely. Whoever makes one sets every field; only the worker writes
/// `succeed`, and `state` above 0, afterwards.
struct _system_CMD {
    QString name; ///< what the operator reads; also the key of the window's `cmdMap`
    QString cmd;  ///< command line: a program and its arguments, split by QProcess, no shell
    bool succeed; ///< whether the executed command ended with exit code 0; false until then
    qint32 state; ///< 0 not executed, 1 executing, 2 completed
};

/// The worker: runs the commands of a run list one after another and writes each outcome back into the list.
/// Made and started once, never stopped or waited for; the process ends with it running. It shares the list
/// and the flags with the GUI thread without lock or atomic: the window does not rebuild the list while a
/// batch runs. When a change of medium makes it do so all the same, the worker looks at the list's size
/// before every access and stays inside; and once the next batch is handed over, the one at work is replaced:
/// the command that is executing ends undisturbed, nothing else of that batch runs or reaches the list, and
/// it ends without a word.
class myThread : public QThread
{
    Q_OBJECT

public:
    explicit myThread(QObject *parent = nullptr);

    /// Hands over the list to run, not owned; the batch starts within 2 s, and in place of one that is still
    /// at work within 2 s of the end of the command that is executing. GUI thread.
    void setSyscmd(QVector<_system_CMD> *list);
    /// Ends the batch after the command that is executing; a skipped command does not end it. Any thread.
    void suspend();
    /// Runs the last list again. Nothing calls it. Any thread.
    void resume();

    /// Whether the command line has no argument: every part after the first, split at single spaces, is
    /// empty.
    bool Verification_script(QString commandLine);
    /// The script check: whether a command line is marked completed without being run, because it is empty,
    /// or because it contains "sh" and has no argument.
    bool isSkipped(const QString &commandLine);
    /// Whether the command calibrates the touch screen and so needs the screen for itself.
    static bool isCalibration(const QString &commandLine);

    /// Saves a picture of the whole desktop as JPEG to `path`, ".jpg" appended where `path` does not contain
    /// it. Failures are ignored. Nothing calls it. GUI thread.
    void backup_grabWindow(QString path);

    // The window reads and clears `running` and reads `current`; this order is part of the design.
    bool running = false;  ///< busy flag; only ever cleared, on purpose: nothing sets it
    bool suspended = true; ///< idle between batches; during a batch, stop after the command in progress
    _system_CMD current; ///< copy of the record in progress; `succeed` and `state` unset until a batch starts
    QVector<_system_CMD> *cmdList = nullptr; ///< the window's run list

signals:
    /// A command starts: its name. A command has ended or was skipped: an empty text.
    void signalStateChange(QString text);
    /// A batch is over, run through or stopped. Not emitted for one that was replaced.
    void signal_end();
    /// False just before a calibration command runs, true just after it.
    void signaltsCalibrate(bool show);

protected:
    /// Polls for a batch every 2 s, for ever.
    void run() override;

private:
    void runBatch();
    bool isReplaced() const;
    void announce(int index);
    void execute(int index);
    void complete(int index);
    void writeBack(int index);
    void endBatch();

    // Plain as the flags are, and behind the members whose order is part of the design.
    unsigned int handedOver = 0; ///< how many batches were handed over so far
    unsigned int atWork = 0;     ///< which of them the worker began last; only its thread uses it
    bool pageHidden = false;     ///< a calibration has hidden the page and not shown it yet; likewise
};

/// The main window and at the same time the controller: it notices the medium, reads its catalogue, lets the
/// operator choose and confirm, hands the batch to the worker, shows its progress and takes leave of the
/// medium. GUI thread only.
class Widget : public QWidget
{
    Q_OBJECT

public:
    explicit Widget(QWidget *parent = nullptr);
    ~Widget() override;

    // Notice and leave

    /// Enters upgrade mode for the medium mounted on `mountPath`; one without a catalogue gets one debug
    /// line.
    void checkMmc_udisk();
    /// Leaves upgrade mode, or cleans up after a rejected medium.
    void uMount();

    // Read

    /// Reads the catalogue at `path` and offers its operations (selection mode) or starts them at once
    /// (direct mode). Whatever is wrong with it gets a debug line only.
    void check_CMD(QString path);
    /// Stores the value of `key` in `text`; an empty text when there is none or it is a list.
    void get_string(QSettings *settings, QString key, QString *text);
    /// Writes `text` under `key`. Nothing calls it.
    void set_string(QSettings *settings, QString key, QString *text);

    // Report

    /// Rebuilds the status table from `runList` and `showDetails`. The rows that were in sight stay there, as
    /// far as they still exist.
    void createTabelview();

    // Shell and screen

    /// Runs `command` through a shell and waits for its end. Puts each line of its standard output into
    /// `lines`, without the line feed; a line of over 1023 bytes becomes several entries. Returns the number
    /// of entries, -1 when no shell could be started.
    int myexec(const char *command, QVector<QString> *lines);
    /// Runs a command line without a shell and waits for two bursts of output, at most 4 s each, then kills
    /// it. Returns true only when both came; a command that ends after less gives false and its output as
    /// debug lines.
    bool systemCmdReadrealy(QString commandLine);
    /// Saves a picture of the whole desktop as JPEG to exactly `path`. Failures are ignored. Nothing calls
    /// it.
    void backup_grabWindow(QString path);

    // Watchdog

    void feed_dog_stop();
    void feed_dog_suspend(unsigned int n);
    void app_restart();

    // The order of the slots is part of the design.
private slots:
    void on_pushButton_clicked();
    void on_operationList_clicked(const QModelIndex &index);
    void on_selectedList_clicked(const QModelIndex &index);
    void on_confirmPb_clicked();
    void on_cancelPb_clicked();
    void slot_rebootTimeout();

public slots:
    void slotsStateChange(QString dat);
    void slotstsCalibrate(bool state);
    void slotsState_end();
    void slotsTimerout();

private:
    void startWatchingForMedia();
    void startWorker();
    void linkMedium();
    void stopPrograms();
    void runAtOnce(QSettings *settings);
    void offerChoice(QSettings *settings);
    void startCountdown();
    void offerOperation(QSettings *settings, const QString &item);
    QString commandLine(QSettings *settings, const QString &item);
    void ensureSelectedModel();
    void removeFromSelection(const QStandardItem *item);
    void buildQuestionBox();
    bool isAnsweredYes(const QString &question);
    void collectSelectedCommands(int rows);
    void quitAndReboot();
    void startBatch();
    void buildTableHead();
    void appendTableRows();

    // The order of the members is part of the design.
    Ui_Widget *ui;
    QString mountPath; ///< mount directory of the medium in use or rejected; empty without one
    QTimer *pollTimer; ///< 3000 ms; never deleted
    WatchDogFeed *watchDog;
    bool showDetails;  ///< the status table shows the command lines too
    bool upgrading;    ///< upgrade mode: window shown, controller's programs stopped
    bool spareFlag;    ///< never read; kept, as the places of the members are part of the design
    QTextCodec *codec; ///< stored only
    myThread *worker;  ///< never deleted, never stopped
    QString spareText; ///< never read; kept for the same reason
    QStandardItemModel *tableModel;
    QStandardItemModel *operationModel; ///< null until a catalogue with a choice is read
    QStandardItemModel *selectedModel;  ///< null until then, or the first tap or confirmation
    QMessageBox *msgBox;                ///< the Yes/No question; no parent, never deleted
    bool endGame;                       ///< a confirmed batch ends with "sync" and "reboot"
    QTimer *rebootTimer;                ///< 1000 ms; null until a catalogue with a choice is read
    int mediaType; ///< 0 SD card, 1 USB drive, 2 other; a medium of unknown kind leaves it as it is
    QMap<QString, _system_CMD> cmdMap; ///< what the catalogue offers, by name
    QVector<_system_CMD> runList;      ///< what the batch runs, in order; the worker holds a pointer to it
};

#endif
