// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "support/fakeprograms.h"
#include "support/heldprogram.h"
#include "support/noprocesses.h"
#include "support/reddesktop.h"
#include "support/sandboxed.h"
#include "support/waiting.h"
#include "support/workerbench.h"

#include "widget.h"

#include <QFile>
#include <QImageReader>
#include <QMetaMethod>

#include <memory>

using List = QVector<_system_CMD>;
Q_DECLARE_METATYPE(List)

namespace
{

enum State { NotExecuted = 0, Executing = 1, Completed = 2 };

/// The events of a batch, and the two sleeps after it.
QStringList batch(const QStringList &eventsOfTheCommands)
{
    return eventsOfTheCommands + QStringList{"end", "sleep 2", "sleep 2"};
}

/// The events of an ordinary command, run or skipped.
QStringList command(const QString &name)
{
    return {"start " + name, "sleep 2", "done"};
}

QVector<qint32> statesOf(const List &list)
{
    QVector<qint32> states;
    for (const _system_CMD &entry : list)
        states.append(entry.state);
    return states;
}

QVector<bool> outcomesOf(const List &list)
{
    QVector<bool> outcomes;
    for (const _system_CMD &entry : list)
        outcomes.append(entry.succeed);
    return outcomes;
}

QStringList namesInList(const List &list)
{
    QStringList names;
    for (const _system_CMD &entry : list)
        names.append(entry.name);
    return names;
}

} // namespace

class TestWorker : public QObject
{
    Q_OBJECT

private slots:
    void startsIdleAndWithoutACommand();
    void hasItsThreeSignalsInOrder();
    void idleItLooksEveryTwoSecondsAndSaysNothing();

    void sleepsTwoSecondsBeforeEveryCommandAndAfterEveryPass();
    void anEmptyListEndsAtOnceAndSaysNothingElse();
    void theOutcomeFollowsTheExitCode_data();
    void theOutcomeFollowsTheExitCode();
    void commandsRunInTheirOrder();
    void aFailedCommandDoesNotEndTheBatch();
    void aCommandThatIsRefusedAProcessHasFailed();
    void theListShowsAnOrdinaryCommandAsNotExecutedWhileItRuns();
    void theRecordInProgressCanBeRead();
    void aCopyOfTheListIsNotTouched();
    void theBusyFlagIsOnlyEverCleared();

    void anArgumentIsAnyPartAfterTheFirst_data();
    void anArgumentIsAnyPartAfterTheFirst();
    void theScriptCheckDecidesWhatIsRun_data();
    void theScriptCheckDecidesWhatIsRun();
    void aScriptWithAnArgumentIsRun_data();
    void aScriptWithAnArgumentIsRun();
    void aSkippedCommandKeepsItsOutcome_data();
    void aSkippedCommandKeepsItsOutcome();

    void calibrationIsRecognised_data();
    void calibrationIsRecognised();
    void calibrationHidesThePageAndShowsItAgain_data();
    void calibrationHidesThePageAndShowsItAgain();
    void theListShowsACalibrationAsExecutingWhileItRuns();
    void aSkippedCalibrationLeavesThePageHidden();

    void theRecordIsWrittenBackOnceMoreAfterEachSignal_data();
    void theRecordIsWrittenBackOnceMoreAfterEachSignal();

    void suspendingEndsTheBatchAfterTheCommandInProgress();
    void suspendingInTheSleepBeforeACommandStillRunsIt();
    void suspendingDuringASkippedCommandEndsTheBatchAfterTheNextExecutedOne();
    void suspendingWhereNothingIsExecutedAnyMoreRunsToTheEnd();
    void theSameListRunsAgain();
    void aCommandThatFailsTheSecondTimeIsFailed();
    void resumeRunsTheLastListAgain();
    void resumeWithoutAListDoesNoHarm();

    void theListMayChangeUnderARunningCommand_data();
    void theListMayChangeUnderARunningCommand();
    void theListMayBecomeEmptyDuringASkippedCommand();
    void theListMayBecomeEmptyUnderACalibration();

    void aReplacedBatchEndsSilentlyAndTheNextOneRunsWhole_data();
    void aReplacedBatchEndsSilentlyAndTheNextOneRunsWhole();
    void anotherListMayBeHandedOverUnderARunningCommand();
    void ofSeveralReplacementsOnlyTheLastRuns();
    void aReplacementIsNotSuspendedByTheEndOfTheReplacedBatch();
    void aReplacementThatIsSuspendedNeverBegins();
    void aReplacedBatchDoesNotRunTheCommandThatItHasOnlyAnnounced();
    void theNextBatchMayBeHandedOverDuringASkippedCommand();
    void thePageComesBackForTheNextBatch_data();
    void thePageComesBackForTheNextBatch();
    void aBatchHandedOverAtTheEndOfTheOneBeforeIsNotLost();

    void keepsItsRealPace();

    void savesAPictureOfTheDesktop_data();
    void savesAPictureOfTheDesktop();
    void aPictureThatCannotBeSavedIsIgnored();
};

// --- As made, and idle ----------------------------------------------------------------------------------

void TestWorker::startsIdleAndWithoutACommand()
{
    QObject parent;
    myThread withParent(&parent);
    const myThread worker;

    QVERIFY(!worker.running);
    QVERIFY(worker.suspended);
    QCOMPARE(worker.current.name, QString());
    QCOMPARE(worker.current.cmd, QString());
    QVERIFY(!worker.parent());
    QCOMPARE(withParent.parent(), &parent);
}

void TestWorker::hasItsThreeSignalsInOrder()
{
    const QMetaObject &meta = myThread::staticMetaObject;
    QVector<QByteArray> own;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        own.append(meta.method(index).methodSignature());

    QCOMPARE(own,
             (QVector<QByteArray>{"signalStateChange(QString)", "signal_end()", "signaltsCalibrate(bool)"}));
}

void TestWorker::idleItLooksEveryTwoSecondsAndSaysNothing()
{
    WorkerBench bench({record("never", "true")});
    QStringList events;
    bench.atEachEvent([&events](const QString &event) { events.append(event); });

    bench.startThread();

    QTRY_VERIFY_WITH_TIMEOUT(bench.sleeps().size() >= 5, waitingLimitMs);
    QCOMPARE(bench.sleeps().mid(0, 5), QVector<unsigned long>(5, 2));
    QCOMPARE(events, QStringList());
    QCOMPARE(bench.list().first().state, qint32(NotExecuted));
}

// --- A batch --------------------------------------------------------------------------------------------

void TestWorker::sleepsTwoSecondsBeforeEveryCommandAndAfterEveryPass()
{
    WorkerBench bench({record("run", "true"), record("failed", "false"), record("skipped", "")});

    QCOMPARE(bench.run(), batch(command("run") + command("failed") + command("skipped")));

    QCOMPARE(statesOf(bench.list()), QVector<qint32>(3, Completed));
    QVERIFY(bench.worker()->suspended);
}

void TestWorker::anEmptyListEndsAtOnceAndSaysNothingElse()
{
    WorkerBench bench;

    QCOMPARE(bench.run(), batch({}));
}

void TestWorker::theOutcomeFollowsTheExitCode_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("succeed");

    QTest::newRow("exit code 0") << "true" << false << true;
    QTest::newRow("exit code 0 again") << "true" << true << true;
    QTest::newRow("exit code 1") << "false" << false << false;
    QTest::newRow("exit code 3") << "sh -c \"exit 3\"" << true << false;
    QTest::newRow("crash") << "sh -c \"kill -SEGV $$\"" << true << false;
    QTest::newRow("killed") << "sh -c \"kill -KILL $$\"" << true << false;
    QTest::newRow("no such program") << "/nowhere/program" << true << false;
    QTest::newRow("no program but a directory") << "/" << true << false;
    QTest::newRow("quoted arguments") << "test \"a b\" = \"a b\"" << false << true;
    QTest::newRow("several spaces between arguments") << "test   a   =   a" << false << true;
    QTest::newRow("no shell: nothing behind || runs") << "false || true" << true << false;
    QTest::newRow("no shell: a variable is a word") << "test $HOME = /" << true << false;
}

void TestWorker::theOutcomeFollowsTheExitCode()
{
    QFETCH(QString, line);
    QFETCH(bool, before);
    QFETCH(bool, succeed);
    WorkerBench bench({record("command", line, before)});

    QCOMPARE(bench.run(), batch(command("command")));

    QCOMPARE(bench.list().first().succeed, succeed);
    QCOMPARE(bench.list().first().state, qint32(Completed));
    QCOMPARE(bench.list().first().name, QString("command"));
    QCOMPARE(bench.list().first().cmd, line);
}

void TestWorker::commandsRunInTheirOrder()
{
    FakePrograms programs;
    programs.add("note", QString("echo \"$1\" >>%1").arg(programs.filePath("notes")));
    WorkerBench bench({record("a", "note first"), record("b", "note second"), record("c", "note third")});

    QCOMPARE(bench.run(), batch(command("a") + command("b") + command("c")));

    QCOMPARE(contentOf(programs.filePath("notes")), QByteArray("first\nsecond\nthird\n"));
}

void TestWorker::aFailedCommandDoesNotEndTheBatch()
{
    WorkerBench bench({record("missing", "/nowhere/program"), record("crash", "sh -c \"kill -KILL $$\""),
                       record("last", "true")});

    bench.run();

    QCOMPARE(outcomesOf(bench.list()), (QVector<bool>{false, false, true}));
    QCOMPARE(statesOf(bench.list()), QVector<qint32>(3, Completed));
}

void TestWorker::aCommandThatIsRefusedAProcessHasFailed()
{
    WorkerBench bench({record("before", "true"), record("refused", "true"), record("after", "true")});
    std::unique_ptr<NoProcesses> noProcesses;
    bench.atEachEvent([&noProcesses](const QString &event) {
        if (event == "start refused")
            noProcesses.reset(new NoProcesses);
        else if (event == "done")
            noProcesses.reset();
    });

    QCOMPARE(bench.run(), batch(command("before") + command("refused") + command("after")));

    QCOMPARE(statesOf(bench.list()), QVector<qint32>(3, Completed));
    QCOMPARE(outcomesOf(bench.list()), QVector<bool>({true, false, true}));
}

void TestWorker::theListShowsAnOrdinaryCommandAsNotExecutedWhileItRuns()
{
    HeldProgram program;
    WorkerBench bench({record("held", program.commandLine())});
    QStringList seen;
    bench.atEachEvent([&](const QString &event) {
        seen.append(QString("%1: %2").arg(event).arg(bench.list().first().state));
    });

    bench.begin();
    QVERIFY(program.isRunning());
    const qint32 stateInTheList = bench.list().first().state;
    program.release();
    bench.events();

    QCOMPARE(stateInTheList, qint32(NotExecuted));
    QCOMPARE(seen.mid(0, 4), (QStringList{"start held: 0", "sleep 2: 0", "done: 2", "end: 2"}));
}

void TestWorker::theRecordInProgressCanBeRead()
{
    HeldProgram program;
    WorkerBench bench({record("before", "true"), record("held", program.commandLine())});

    bench.begin();
    QVERIFY(program.isRunning());
    const _system_CMD inProgress = bench.worker()->current;
    program.release();
    bench.events();

    QCOMPARE(inProgress.name, QString("held"));
    QCOMPARE(inProgress.cmd, program.commandLine());
    QCOMPARE(inProgress.state, qint32(Executing));
}

void TestWorker::aCopyOfTheListIsNotTouched()
{
    const List copy{record("shared", "true")};
    WorkerBench bench(copy);

    bench.run();

    QCOMPARE(bench.list().first().state, qint32(Completed));
    QCOMPARE(copy.first().state, qint32(NotExecuted));
    QVERIFY(!copy.first().succeed);
}

void TestWorker::theBusyFlagIsOnlyEverCleared()
{
    WorkerBench bench({record("command", "true")});
    QVector<bool> seen;
    bench.atEachEvent([&](const QString &) { seen.append(bench.worker()->running); });

    bench.run();
    QVERIFY(!seen.contains(true));

    seen.clear();
    bench.worker()->running = true;
    bench.run(); // start, sleep, done, end, sleep, sleep
    QCOMPARE(seen, (QVector<bool>{true, true, true, true, false, false}));
}

// --- The script check -----------------------------------------------------------------------------------

void TestWorker::anArgumentIsAnyPartAfterTheFirst_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("without");

    QTest::newRow("nothing") << "" << true;
    QTest::newRow("one word") << "update.sh" << true;
    QTest::newRow("one word and a space") << "sh " << true;
    QTest::newRow("one word and several spaces") << "sh    " << true;
    QTest::newRow("spaces only") << "   " << true;
    QTest::newRow("two words") << "sh update.sh" << false;
    QTest::newRow("two words far apart") << "sh   update.sh" << false;
    QTest::newRow("a word and a space after it") << "sh update.sh " << false;
    QTest::newRow("a space before the only word") << " update.sh" << false;
    QTest::newRow("words without the two letters") << "ls -l" << false;
    QTest::newRow("a tab is no separator") << "sh\tupdate.sh" << true;
    QTest::newRow("a tab is an argument") << "sh \t" << false;
}

void TestWorker::anArgumentIsAnyPartAfterTheFirst()
{
    QFETCH(QString, line);
    QFETCH(bool, without);
    myThread worker;

    QCOMPARE(worker.Verification_script(line), without);
}

void TestWorker::theScriptCheckDecidesWhatIsRun_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("skipped");

    QTest::newRow("a script alone") << "update.sh" << true;
    QTest::newRow("the shell alone") << "sh" << true;
    QTest::newRow("the shell and a space") << "sh " << true;
    QTest::newRow("the shell and several spaces") << "sh     " << true;
    QTest::newRow("a shell's path alone") << "/bin/sh" << true;
    QTest::newRow("bash alone") << "bash" << true;
    QTest::newRow("flash_erase alone") << "flash_erase" << true;
    QTest::newRow("the two letters in a directory") << "/opt/share/tool" << true;
    QTest::newRow("a tab before the argument") << "sh\tupdate.sh" << true;
    QTest::newRow("nothing") << "" << true;
    QTest::newRow("the shell and a script") << "sh update.sh" << false;
    QTest::newRow("the shell, spaces and a script") << "sh    update.sh" << false;
    QTest::newRow("a script with an argument") << "update.sh now" << false;
    QTest::newRow("a script after a space") << " update.sh" << false;
    QTest::newRow("flash_erase and a device") << "flash_erase /dev/mtd1" << false;
    QTest::newRow("the two letters in the argument") << "cat notes.sh" << false;
    QTest::newRow("capital letters") << "UPDATE.SH" << false;
    QTest::newRow("one capital letter") << "update.Sh" << false;
    QTest::newRow("the two letters apart") << "s h" << false;
    QTest::newRow("one word without them") << "reboot" << false;
    QTest::newRow("a calibration") << "ts_calibrate" << false;
    QTest::newRow("a space") << " " << false;
}

void TestWorker::theScriptCheckDecidesWhatIsRun()
{
    QFETCH(QString, line);
    QFETCH(bool, skipped);
    myThread worker;

    QCOMPARE(worker.isSkipped(line), skipped);
}

void TestWorker::aScriptWithAnArgumentIsRun_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("line");

    QTest::newRow("flash_erase") << "flash_erase"
                                 << "flash_erase /dev/mtd1";
    QTest::newRow("a script") << "update.sh"
                              << "update.sh now";
    QTest::newRow("a script by its shell") << "update.sh"
                                           << "sh %1";
}

void TestWorker::aScriptWithAnArgumentIsRun()
{
    QFETCH(QString, program);
    QFETCH(QString, line);
    FakePrograms programs;
    const QString path = programs.add(program, QString("touch %1").arg(programs.filePath("was-run")));
    WorkerBench bench({record("script", line.replace("%1", path))});

    QCOMPARE(bench.run(), batch(command("script")));

    QVERIFY(QFile::exists(programs.filePath("was-run")));
    QVERIFY(bench.list().first().succeed);
}

void TestWorker::aSkippedCommandKeepsItsOutcome_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("succeed");

    QTest::newRow("a script, failed before") << "update.sh" << false;
    QTest::newRow("a script, succeeded before") << "update.sh" << true;
    QTest::newRow("no command, failed before") << "" << false;
    QTest::newRow("no command, succeeded before") << "" << true;
}

void TestWorker::aSkippedCommandKeepsItsOutcome()
{
    QFETCH(QString, line);
    QFETCH(bool, succeed);
    FakePrograms programs;
    programs.add("update.sh", QString("touch %1").arg(programs.filePath("was-run")));
    WorkerBench bench({record("skipped", line, succeed)});

    QCOMPARE(bench.run(), batch(command("skipped")));

    QCOMPARE(bench.list().first().state, qint32(Completed));
    QCOMPARE(bench.list().first().succeed, succeed);
    QVERIFY(!QFile::exists(programs.filePath("was-run")));
}

// --- Touch calibration ----------------------------------------------------------------------------------

void TestWorker::calibrationIsRecognised_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("calibration");

    QTest::newRow("the program") << "ts_calibrate" << true;
    QTest::newRow("the program with an argument") << "ts_calibrate -r 1" << false;
    QTest::newRow("the program by its path") << "/usr/bin/ts_calibrate" << false;
    QTest::newRow("the program in capitals") << "TS_CALIBRATE" << false;
    QTest::newRow("the other text alone") << "TSTAPP" << true;
    QTest::newRow("the other text inside") << "/opt/TSTAPP_2 now" << true;
    QTest::newRow("the other text in small letters") << "tstapp" << false;
    QTest::newRow("neither") << "true" << false;
    QTest::newRow("nothing") << "" << false;
}

void TestWorker::calibrationIsRecognised()
{
    QFETCH(QString, line);
    QFETCH(bool, calibration);

    QCOMPARE(myThread::isCalibration(line), calibration);
}

void TestWorker::calibrationHidesThePageAndShowsItAgain_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("succeed");

    QTest::newRow("ts_calibrate") << "ts_calibrate"
                                  << "ts_calibrate" << true;
    QTest::newRow("TSTAPP") << "TSTAPP_run"
                            << "TSTAPP_run 5" << true;
    QTest::newRow("a missing program") << "another"
                                       << "ts_calibrate" << false;
}

void TestWorker::calibrationHidesThePageAndShowsItAgain()
{
    QFETCH(QString, program);
    QFETCH(QString, line);
    QFETCH(bool, succeed);
    FakePrograms programs;
    programs.add(program);
    WorkerBench bench({record("Touch", line), record("after", "true")});

    const QStringList touch{"start Touch", "calibrate off", "sleep 2", "done", "calibrate on"};
    QCOMPARE(bench.run(), batch(touch + command("after")));

    QCOMPARE(bench.list().first().state, qint32(Completed));
    QCOMPARE(bench.list().first().succeed, succeed);
}

void TestWorker::theListShowsACalibrationAsExecutingWhileItRuns()
{
    HeldProgram program;
    FakePrograms programs;
    programs.add("ts_calibrate", "exec " + program.commandLine());
    WorkerBench bench({record("Touch", "ts_calibrate")});
    QStringList seen;
    bench.atEachEvent([&](const QString &event) {
        seen.append(QString("%1: %2").arg(event).arg(bench.list().first().state));
    });

    bench.begin();
    QVERIFY(program.isRunning());
    const qint32 stateInTheList = bench.list().first().state;
    program.release();
    bench.events();

    QCOMPARE(stateInTheList, qint32(Executing));
    QCOMPARE(seen.mid(0, 5),
             (QStringList{"start Touch: 0", "calibrate off: 1", "sleep 2: 1", "done: 2", "calibrate on: 2"}));
}

void TestWorker::aSkippedCalibrationLeavesThePageHidden()
{
    WorkerBench bench({record("Touch", "TSTAPP.sh")});

    QCOMPARE(bench.run(), batch({"start Touch", "calibrate off", "sleep 2", "done"}));

    QCOMPARE(bench.list().first().state, qint32(Completed));
}

// --- Written back ---------------------------------------------------------------------------------------

void TestWorker::theRecordIsWrittenBackOnceMoreAfterEachSignal_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("moment");
    QTest::addColumn<QString>("next");
    QTest::addColumn<QString>("nameAtNext");

    QTest::newRow("an ordinary command") << "true"
                                         << "done"
                                         << "end"
                                         << "command";
    QTest::newRow("a calibration, before the page comes back") << "ts_calibrate"
                                                               << "done"
                                                               << "calibrate on"
                                                               << "command";
    QTest::newRow("a calibration, after the page has come back") << "ts_calibrate"
                                                                 << "calibrate on"
                                                                 << "end"
                                                                 << "command";
    QTest::newRow("a skipped command: not again") << "update.sh"
                                                  << "done"
                                                  << "end"
                                                  << "changed";
}

void TestWorker::theRecordIsWrittenBackOnceMoreAfterEachSignal()
{
    QFETCH(QString, line);
    QFETCH(QString, moment);
    QFETCH(QString, next);
    QFETCH(QString, nameAtNext);
    FakePrograms programs;
    programs.add("ts_calibrate");
    WorkerBench bench({record("command", line)});
    QString found;
    bench.atEachEvent([&](const QString &event) {
        if (event == moment)
            bench.list()[0] = record("changed", "changed");
        else if (event == next)
            found = bench.list().first().name;
    });

    bench.run();

    QCOMPARE(found, nameAtNext);
    QCOMPARE(bench.list().first().state, qint32(nameAtNext == "command" ? Completed : NotExecuted));
}

// --- Suspend, again, resume -----------------------------------------------------------------------------

void TestWorker::suspendingEndsTheBatchAfterTheCommandInProgress()
{
    HeldProgram program;
    WorkerBench bench({record("held", program.commandLine()), record("never", "true")});

    bench.begin();
    QVERIFY(program.isRunning());
    bench.worker()->suspend();
    program.release();

    QCOMPARE(bench.events(), batch(command("held")));
    QCOMPARE(statesOf(bench.list()), (QVector<qint32>{Completed, NotExecuted}));
    QCOMPARE(outcomesOf(bench.list()), (QVector<bool>{true, false}));
}

void TestWorker::suspendingInTheSleepBeforeACommandStillRunsIt()
{
    WorkerBench bench({record("run", "true"), record("never", "true")});
    bench.atEachEvent([&](const QString &event) {
        if (event == "sleep 2")
            bench.worker()->suspend();
    });

    QCOMPARE(bench.run(), batch(command("run")));
    QVERIFY(bench.list().first().succeed);
}

void TestWorker::suspendingDuringASkippedCommandEndsTheBatchAfterTheNextExecutedOne()
{
    WorkerBench bench({record("skipped", "update.sh"), record("also skipped", ""), record("run", "true"),
                       record("never", "true")});
    bench.atEachEvent([&](const QString &event) {
        if (event == "start skipped")
            bench.worker()->suspend();
    });

    QCOMPARE(bench.run(), batch(command("skipped") + command("also skipped") + command("run")));
    QCOMPARE(statesOf(bench.list()), (QVector<qint32>{Completed, Completed, Completed, NotExecuted}));
}

void TestWorker::suspendingWhereNothingIsExecutedAnyMoreRunsToTheEnd()
{
    WorkerBench bench({record("skipped", "update.sh"), record("last", "")});
    bench.atEachEvent([&](const QString &event) {
        if (event == "start skipped")
            bench.worker()->suspend();
    });

    QCOMPARE(bench.run(), batch(command("skipped") + command("last")));
}

void TestWorker::theSameListRunsAgain()
{
    FakePrograms programs;
    programs.add("note", QString("echo \"$1\" >>%1").arg(programs.filePath("notes")));
    WorkerBench bench({record("a", "note first"), record("b", "note second")});

    const QStringList firstTime = bench.run();
    const QStringList secondTime = bench.run();

    QCOMPARE(firstTime, batch(command("a") + command("b")));
    QCOMPARE(secondTime, firstTime);
    QCOMPARE(contentOf(programs.filePath("notes")), QByteArray("first\nsecond\nfirst\nsecond\n"));
}

void TestWorker::aCommandThatFailsTheSecondTimeIsFailed()
{
    FakePrograms programs;
    programs.add("once", QString("mkdir %1").arg(programs.filePath("directory")));
    WorkerBench bench({record("once", "once")});

    bench.run();
    const bool firstTime = bench.list().first().succeed;
    bench.run();

    QVERIFY(firstTime);
    QVERIFY(!bench.list().first().succeed);
}

void TestWorker::resumeRunsTheLastListAgain()
{
    WorkerBench bench({record("command", "true")});
    bench.run();

    bench.beginBy([&bench] { bench.worker()->resume(); });

    QCOMPARE(bench.events(), batch(command("command")));
}

void TestWorker::resumeWithoutAListDoesNoHarm()
{
    WorkerBench bench;

    bench.beginBy([&bench] { bench.worker()->resume(); });

    QCOMPARE(bench.events(), batch({}));
}

// --- A list that changes under the worker ---------------------------------------------------------------

void TestWorker::theListMayChangeUnderARunningCommand_data()
{
    QTest::addColumn<List>("changed");
    QTest::addColumn<QStringList>("commandsAfter");
    QTest::addColumn<QVector<qint32>>("states");
    QTest::addColumn<QStringList>("names");

    using States = QVector<qint32>;
    using Names = QStringList;
    const _system_CMD fresh = record("new", "true");
    QTest::newRow("emptied") << List() << QStringList() << States() << Names();
    QTest::newRow("shrunk to before the command")
        << List{fresh} << QStringList() << States{NotExecuted} << Names{"new"};
    QTest::newRow("shrunk to the command")
        << List{fresh, fresh} << QStringList() << States{NotExecuted, Completed} << Names{"new", "held"};
    QTest::newRow("replaced") << List{fresh, fresh, fresh} << command("new")
                              << States{NotExecuted, Completed, Completed} << Names{"new", "held", "new"};
    QTest::newRow("grown") << List{fresh, fresh, fresh, fresh, fresh} << command("new")
                           << States{NotExecuted, Completed, Completed, NotExecuted, NotExecuted}
                           << Names{"new", "held", "new", "new", "new"};
    QTest::newRow("grown much") << List(5000, fresh) << command("new")
                                << States{NotExecuted, Completed, Completed} + States(4997, NotExecuted)
                                << Names{"new", "held"} + QVector<QString>(4998, "new").toList();
}

void TestWorker::theListMayChangeUnderARunningCommand()
{
    QFETCH(List, changed);
    QFETCH(QStringList, commandsAfter);
    QFETCH(QVector<qint32>, states);
    QFETCH(QStringList, names);
    HeldProgram program;
    WorkerBench bench(
        {record("first", "true"), record("held", program.commandLine()), record("last", "true")});

    bench.begin();
    QVERIFY(program.isRunning());
    bench.list() = changed;
    program.release();

    QCOMPARE(bench.events(), batch(command("first") + command("held") + commandsAfter));
    QCOMPARE(statesOf(bench.list()), states);
    QCOMPARE(namesInList(bench.list()), names);
}

void TestWorker::theListMayBecomeEmptyDuringASkippedCommand()
{
    WorkerBench bench({record("skipped", "update.sh"), record("never", "true")});
    bench.atEachEvent([&](const QString &event) {
        if (event == "start skipped")
            bench.list().clear();
    });

    QCOMPARE(bench.run(), batch(command("skipped")));
    QCOMPARE(bench.list().size(), 0);
}

void TestWorker::theListMayBecomeEmptyUnderACalibration()
{
    FakePrograms programs;
    programs.add("ts_calibrate");
    WorkerBench bench({record("Touch", "ts_calibrate"), record("never", "true")});
    bench.atEachEvent([&](const QString &event) {
        if (event == "start Touch")
            bench.list().clear();
    });

    QCOMPARE(bench.run(), batch({"start Touch", "calibrate off", "sleep 2", "done", "calibrate on"}));
    QCOMPARE(bench.list().size(), 0);
}

// --- A batch that is replaced ---------------------------------------------------------------------------

void TestWorker::aReplacedBatchEndsSilentlyAndTheNextOneRunsWhole_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");
    QTest::addColumn<int>("next");

    QTest::newRow("the first of many, by one") << 0 << 3 << 1;
    QTest::newRow("the first of many, by as many") << 0 << 3 << 4;
    QTest::newRow("the last of many, by one") << 3 << 0 << 1;
    QTest::newRow("the last of many, by as many") << 3 << 0 << 4;
    QTest::newRow("one in the middle, by many more") << 1 << 1 << 9;
    QTest::newRow("the only one, by another") << 0 << 0 << 1;
    QTest::newRow("by nothing") << 1 << 1 << 0;
}

void TestWorker::aReplacedBatchEndsSilentlyAndTheNextOneRunsWhole()
{
    QFETCH(int, before);
    QFETCH(int, after);
    QFETCH(int, next);
    HeldProgram program;
    FakePrograms programs;
    programs.add("note", QString("echo \"$1\" >>%1").arg(programs.filePath("notes")));
    const List old = List(before, record("before", "true")) + List{record("held", program.commandLine())}
                     + List(after, record("after", "note after"));
    WorkerBench bench(old);
    List replacement;
    QStringList expected;
    QByteArray notes;
    for (int index = 0; index < before; ++index)
        expected += command("before");
    expected += command("held") + QStringList{"sleep 2"};
    for (int index = 0; index < next; ++index) {
        const QString name = QString("next %1").arg(index);
        replacement.append(record(name, QString("note %1").arg(index)));
        expected += command(name);
        notes += QByteArray::number(index) + "\n";
    }

    bench.begin();
    QVERIFY(program.isRunning());
    bench.worker()->suspend(); // the medium is pulled, and plugged in again
    bench.list() = replacement;
    bench.worker()->setSyscmd(&bench.list());
    program.release();

    QCOMPARE(bench.events(), batch(expected));
    QCOMPARE(contentOf(programs.filePath("notes")), notes);
    QCOMPARE(statesOf(bench.list()), QVector<qint32>(next, Completed));
    QCOMPARE(outcomesOf(bench.list()), QVector<bool>(next, true));
}

void TestWorker::anotherListMayBeHandedOverUnderARunningCommand()
{
    HeldProgram program;
    WorkerBench bench({record("held", program.commandLine()), record("old", "true"), record("old", "true")});
    List other{record("other", "true"), record("next", "true")};

    bench.begin();
    QVERIFY(program.isRunning());
    bench.worker()->setSyscmd(&other);
    program.release();
    const QStringList events = bench.events();
    bench.worker()->cmdList = nullptr; // the worker outlives the other list

    QCOMPARE(events, batch(command("held") + QStringList{"sleep 2"} + command("other") + command("next")));
    QCOMPARE(statesOf(bench.list()), QVector<qint32>(3, NotExecuted));
    QCOMPARE(statesOf(other), QVector<qint32>(2, Completed));
}

void TestWorker::ofSeveralReplacementsOnlyTheLastRuns()
{
    HeldProgram program;
    WorkerBench bench({record("held", program.commandLine()), record("old", "true")});

    bench.begin();
    QVERIFY(program.isRunning());
    for (const char *name : {"second", "third", "fourth"}) {
        bench.worker()->suspend();
        bench.list() = {record(name, "true"), record(name, "true")};
        bench.worker()->setSyscmd(&bench.list());
    }
    program.release();

    QCOMPARE(bench.events(),
             batch(command("held") + QStringList{"sleep 2"} + command("fourth") + command("fourth")));
}

void TestWorker::aReplacementIsNotSuspendedByTheEndOfTheReplacedBatch()
{
    HeldProgram program;
    WorkerBench bench({record("held", program.commandLine())});
    QVector<bool> suspended;
    bench.atEachEvent([&](const QString &) { suspended.append(bench.worker()->suspended); });

    bench.begin();
    QVERIFY(program.isRunning());
    bench.list() = {record("next", "true")};
    bench.worker()->setSyscmd(&bench.list());
    program.release();
    bench.events();

    // start, sleep, done of the old one, sleep, start, sleep, done, end, sleep, sleep
    QCOMPARE(suspended, QVector<bool>(8, false) + QVector<bool>(2, true));
}

void TestWorker::aReplacementThatIsSuspendedNeverBegins()
{
    HeldProgram program;
    WorkerBench bench({record("held", program.commandLine())});
    QStringList events;
    bench.atEachEvent([&](const QString &event) { events.append(event); });

    bench.begin();
    QVERIFY(program.isRunning());
    bench.list() = {record("next", "true")};
    bench.worker()->setSyscmd(&bench.list());
    bench.worker()->suspend(); // pulled once more
    const int sleepsSoFar = bench.sleeps().size();
    program.release();

    QTRY_VERIFY_WITH_TIMEOUT(bench.sleeps().size() >= sleepsSoFar + 3, waitingLimitMs);
    bench.atEachEvent(nullptr);
    QCOMPARE(events.mid(0, 6), command("held") + QStringList({"sleep 2", "sleep 2", "sleep 2"}));
    QCOMPARE(statesOf(bench.list()), QVector<qint32>{NotExecuted});
}

void TestWorker::aReplacedBatchDoesNotRunTheCommandThatItHasOnlyAnnounced()
{
    FakePrograms programs;
    programs.add("note", QString("echo \"$1\" >>%1").arg(programs.filePath("notes")));
    WorkerBench bench({record("skipped", "update.sh"), record("old", "note old")});
    bench.atEachEvent([&](const QString &event) {
        if (event != "start old")
            return;
        bench.list() = {record("next", "note next"), record("last", "note last")};
        bench.worker()->setSyscmd(&bench.list());
    });

    QCOMPARE(bench.run(), batch(command("skipped") + command("old") + QStringList{"sleep 2"} + command("next")
                                + command("last")));
    QCOMPARE(contentOf(programs.filePath("notes")), QByteArray("next\nlast\n"));
    QCOMPARE(statesOf(bench.list()), QVector<qint32>(2, Completed));
}

void TestWorker::theNextBatchMayBeHandedOverDuringASkippedCommand()
{
    WorkerBench bench({record("skipped", "update.sh"), record("never", "true")});
    bench.atEachEvent([&](const QString &event) {
        if (event != "start skipped")
            return;
        bench.list() = {record("next", "true"), record("last", "true")};
        bench.worker()->setSyscmd(&bench.list());
    });

    QCOMPARE(bench.run(),
             batch(command("skipped") + QStringList{"sleep 2"} + command("next") + command("last")));
    QCOMPARE(outcomesOf(bench.list()), QVector<bool>(2, true));
}

void TestWorker::thePageComesBackForTheNextBatch_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("moment");

    QTest::newRow("a calibration that is announced") << "ts_calibrate"
                                                     << "start Touch";
    QTest::newRow("a calibration in the sleep before it") << "ts_calibrate"
                                                          << "sleep 2";
    QTest::newRow("a calibration that is skipped") << "TSTAPP.sh"
                                                   << "sleep 2";
    QTest::newRow("a calibration that was skipped") << "TSTAPP.sh"
                                                    << "done";
}

void TestWorker::thePageComesBackForTheNextBatch()
{
    QFETCH(QString, line);
    QFETCH(QString, moment);
    FakePrograms programs;
    programs.add("ts_calibrate", QString("touch %1").arg(programs.filePath("was-run")));
    WorkerBench bench({record("Touch", line), record("never", "true")});
    bool replaced = false;
    bench.atEachEvent([&](const QString &event) {
        if (replaced || event != moment)
            return;
        replaced = true;
        bench.list() = {record("next", "true")};
        bench.worker()->setSyscmd(&bench.list());
    });

    QCOMPARE(bench.run(),
             batch(QStringList{"start Touch", "calibrate off", "sleep 2", "done", "calibrate on", "sleep 2"}
                   + command("next")));
    QVERIFY(!QFile::exists(programs.filePath("was-run")));
    QCOMPARE(statesOf(bench.list()), QVector<qint32>{Completed});
}

void TestWorker::aBatchHandedOverAtTheEndOfTheOneBeforeIsNotLost()
{
    WorkerBench bench({record("first", "true")});
    bool replaced = false;
    bench.atEachEvent([&](const QString &event) {
        if (replaced || event != "end")
            return;
        replaced = true;
        bench.list() = {record("next", "true")};
        bench.worker()->setSyscmd(&bench.list());
    });

    bench.begin();

    // Before the first command, after its batch, before the next command, after that batch, and idle.
    QTRY_VERIFY_WITH_TIMEOUT(bench.sleeps().size() >= 5, waitingLimitMs);
    QCOMPARE(statesOf(bench.list()), QVector<qint32>{Completed});
    QCOMPARE(namesInList(bench.list()), QStringList{"next"});
}

// --- Pace -----------------------------------------------------------------------------------------------

void TestWorker::keepsItsRealPace()
{
    constexpr qint64 sleepMs = 2000;
    constexpr qint64 slackMs = 4000; // of a computer that does much else
    WorkerBench bench({record("command", "true")}, WorkerBench::Real);
    bench.startThread();

    bench.run();
    QVERIFY2(bench.timeOf("start command") <= sleepMs + slackMs, "the batch starts at the next look");
    const qint64 before = bench.timeOf("done") - bench.timeOf("start command");
    QVERIFY2(before >= sleepMs, "a sleep before the command");
    QVERIFY2(before <= sleepMs + slackMs, "no more than one sleep before the command");
    QTRY_VERIFY_WITH_TIMEOUT(bench.worker()->suspended, waitingLimitMs);

    bench.list().clear();
    bench.run();
    const qint64 afterEnd = bench.timeOf("end");
    QVERIFY2(afterEnd >= sleepMs / 2, "a sleep after the pass"); // less what the wait for its end took
    QVERIFY2(afterEnd <= sleepMs + slackMs, "an empty list ends at the next look");
}

// --- A picture of the desktop ---------------------------------------------------------------------------

void TestWorker::savesAPictureOfTheDesktop_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("saved");

    QTest::newRow("without suffix") << "picture"
                                    << "picture.jpg";
    QTest::newRow("with its suffix") << "picture.jpg"
                                     << "picture.jpg";
    QTest::newRow("with the suffix in capitals") << "picture.JPG"
                                                 << "picture.JPG.jpg";
    QTest::newRow("with another suffix") << "picture.png"
                                         << "picture.png.jpg";
    QTest::newRow("with the suffix inside") << "picture.jpg.png"
                                            << "picture.jpg.png";
}

void TestWorker::savesAPictureOfTheDesktop()
{
    QFETCH(QString, given);
    QFETCH(QString, saved);
    const QTemporaryDir directory;
    const RedDesktop desktop;
    myThread worker;

    worker.backup_grabWindow(directory.filePath(given));

    QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList{saved});
    QImageReader reader(directory.filePath(saved));
    reader.setDecideFormatFromContent(true);
    QCOMPARE(reader.format(), QByteArray("jpeg"));
    QVERIFY(RedDesktop::isOn(reader.read()));
}

void TestWorker::aPictureThatCannotBeSavedIsIgnored()
{
    const QTemporaryDir directory;
    const RedDesktop desktop;
    myThread worker;

    worker.backup_grabWindow(directory.filePath("missing/picture"));

    QVERIFY(QDir(directory.path()).isEmpty());
}

SANDBOXED_TEST_MAIN(TestWorker)
#include "tst_widget_worker.moc"
