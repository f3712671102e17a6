#ifndef SHELL_H
#define SHELL_H

#include <QString>
#include <QStringList>

/// Whether a command hands a script to a shell: "sh -c SCRIPT".
bool isShellScript(const QStringList &words);

/// The command line that hands `script` to a shell.
QString throughShell(const QString &script);

/// A path as it is written for a shell.
QString shellWord(const QString &path);

#endif
