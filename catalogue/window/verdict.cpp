#include "window/verdict.h"

#include "debuglines.h"
#include "reading/commandline.h"
#include "windowmembers.h"

#include <QAbstractButton>
#include <QListView>
#include <QMessageBox>
#include <QStandardItemModel>
#include <QTimer>

namespace
{

Operation operationOf(Widget &window, const _system_CMD &record)
{
    Operation operation;
    operation.name = record.name;
    operation.command = record.cmd;
    operation.skipped = workerOf(window)->isSkipped(record.cmd);
    operation.calibration = myThread::isCalibration(record.cmd);
    if (!operation.skipped)
        operation.words = splitCommandLine(record.cmd).words;
    return operation;
}

/// Chooses the first operation and confirms, as an operator would; the run list then holds it and whatever
/// the tool adds.
void confirmFirst(Widget &window)
{
    auto *list = window.findChild<QListView *>("operationList");
    emit list->clicked(operationModelOf(window)->index(0, 0));
    QTimer::singleShot(0, &window, [&window] { msgBoxOf(window)->button(QMessageBox::Yes)->click(); });
    window.findChild<QAbstractButton *>("confirmPb")->click();
}

void readChoice(Widget &window, Verdict *verdict)
{
    const QStandardItemModel *model = operationModelOf(window);
    for (int row = 0; row < model->rowCount(); ++row) {
        const QString name = model->item(row)->text();
        verdict->operations.append(operationOf(window, cmdMapOf(window).value(name)));
    }
    verdict->endGame = endGameOf(window);
    if (verdict->operations.isEmpty())
        return; // nothing can be confirmed, so nothing is added
    confirmFirst(window);
    for (const _system_CMD &record : runListOf(window).mid(1))
        verdict->closing.append(operationOf(window, record));
}

} // namespace

Verdict readVerdict(Widget &window, const QString &path)
{
    Verdict verdict;
    pollTimerOf(window)->stop();
    {
        const DebugLines debug;
        window.check_CMD(path);
        verdict.log = debug.lines();
    }
    const DebugLines chatter; // of the confirmation, which is ours
    if (operationModelOf(window)) {
        rebootTimerOf(window)->stop();
        verdict.mode = Verdict::Selection;
        readChoice(window, &verdict);
    } else if (!verdict.log.contains("unrecognized command line")) {
        verdict.mode = Verdict::Direct;
        for (const _system_CMD &record : qAsConst(runListOf(window)))
            verdict.operations.append(operationOf(window, record));
    }
    return verdict;
}
