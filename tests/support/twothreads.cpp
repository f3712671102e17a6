// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A worker that runs two batches, for tests/a-new-race-is-told. With the argument "new-race" the window's
// thread writes what is the worker's alone.

#include "support/sandboxed.h"
#include "support/workerbench.h"

#include "privatemember.h"

#include <QCoreApplication>

namespace
{

PRIVATE_MEMBER(myThread, bool, pageHidden)

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (!isSandboxed())
        return 1;
    WorkerBench bench({record("Quick operation", "true")});
    bench.begin();
    if (application.arguments().contains("new-race"))
        pageHiddenOf(*bench.worker()) = false;
    const bool first = bench.events().contains("end");
    const bool second = bench.run().contains("end");
    return first && second ? 0 : 1;
}
