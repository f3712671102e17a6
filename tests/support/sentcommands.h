// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef SENTCOMMANDS_H
#define SENTCOMMANDS_H

#include <QStringList>

/// Takes all messages off the queues of this sandbox and returns their texts, oldest first. The watchdog's
/// queue is the only one, whatever its key.
QStringList takeSentCommands();

#endif
