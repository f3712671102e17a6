// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef ISOLATION_H
#define ISOLATION_H

#include <functional>

class QString;

// The isolation has two halves. standins.cpp defines the functions by which the tool's code would reach this
// computer, so that they do nothing; here is what the program has to do with them. They are only ever linked
// together, by the target zul_catalogue_core, and requireIsolation() is for the day on which they are not.

/// Answers in the place of a program: given a command line, returns the exit code that it would have had.
using Rehearsal = std::function<int(const QString &commandLine)>;

/// From now on `rehearsal` answers whatever the worker would have run. Without one, and with an empty one,
/// every command "cannot be started".
void rehearseCommands(Rehearsal rehearsal);

/// Ends the program with ExitSoftware, and a line on standard error that names the function, when one of
/// those that standins.cpp stands in for would reach this computer. Starts nothing in order to find out. To
/// be called before a window of the tool is made.
void requireIsolation();

/// For standins.cpp: what a command line comes to, and that one of its functions was called.
int rehearsed(const QString &commandLine);
void noteStandIn();

#endif
