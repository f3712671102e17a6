#ifndef ISOLATION_H
#define ISOLATION_H

#include <functional>

class QString;

/// Answers in the place of a program: given a command line, returns the exit code that it would have had.
using Rehearsal = std::function<int(const QString &commandLine)>;

/// From now on `rehearsal` answers whatever the worker would have run. Without one, and with an empty one,
/// every command "cannot be started".
void rehearseCommands(Rehearsal rehearsal);

#endif
