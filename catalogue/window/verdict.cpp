#include "window/verdict.h"

#include "reading/commandline.h"
#include "window/windowaccess.h"

#include <QAbstractButton>
#include <QListView>
#include <QMessageBox>
#include <QStandardItemModel>
#include <QTimer>

namespace
{

/// Collects the debug lines of the tool as long as it lives.
class DebugLines
{
public:
    explicit DebugLines(QStringList *lines)
        : previousLines(target)
        , previousHandler(qInstallMessageHandler(collect))
    {
        target = lines;
    }

    ~DebugLines()
    {
        qInstallMessageHandler(previousHandler);
        target = previousLines;
    }

    Q_DISABLE_COPY(DebugLines)

private:
    static void collect(QtMsgType, const QMessageLogContext &, const QString &text)
    {
        target->append(text);
    }

    static QStringList *target;
    QStringList *previousLines;
    QtMessageHandler previousHandler;
};

QStringList *DebugLines::target = nullptr;

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
        DebugLines collector(&verdict.log);
        window.check_CMD(path);
    }
    QStringList chatter; // of the confirmation, which is ours
    DebugLines collector(&chatter);
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
