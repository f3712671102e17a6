// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "window/verdict.h"

#include "debuglines.h"
#include "reading/commandline.h"
#include "window/isolatedwindow.h"

namespace
{

Operation operationOf(const _system_CMD &record)
{
    Operation operation;
    operation.name = record.name;
    operation.command = record.cmd;
    operation.skipped = isSkipped(record.cmd);
    operation.calibration = myThread::isCalibration(record.cmd);
    if (!operation.skipped)
        operation.words = splitCommandLine(record.cmd).words;
    return operation;
}

void readChoice(IsolatedWindow &window, Verdict *verdict)
{
    const QStandardItemModel *model = window.operations();
    for (int row = 0; row < model->rowCount(); ++row)
        verdict->operations.append(operationOf(window.command(model->item(row)->text())));
    verdict->endGame = window.endGame();
    if (verdict->operations.isEmpty())
        return; // nothing can be confirmed, so nothing is added
    // Of a confirmed batch, what is behind the one that was chosen is what the tool adds.
    window.tap(0);
    window.confirm();
    for (const _system_CMD &record : window.runList().mid(1))
        verdict->closing.append(operationOf(record));
}

} // namespace

bool isSkipped(const QString &command)
{
    myThread worker; // never started; asked only
    return worker.isSkipped(command);
}

Verdict readVerdict(const QString &path)
{
    IsolatedWindow window;
    Verdict verdict;
    {
        const DebugLines debug;
        window.read(path);
        verdict.log = debug.lines();
    }
    const DebugLines chatter; // of the confirmation, which is ours
    if (window.operations()) {
        verdict.mode = Verdict::Selection;
        readChoice(window, &verdict);
    } else if (!verdict.log.contains("unrecognized command line")) {
        verdict.mode = Verdict::Direct;
        for (const _system_CMD &record : qAsConst(window.runList()))
            verdict.operations.append(operationOf(record));
    }
    return verdict;
}
