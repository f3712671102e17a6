// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/shell.h"

#include "reading/commandline.h"

#include <QRegularExpression>

#include <cstring>

namespace
{

const QString shellName = "(?:\\S*/)?(?:sh|ash|bash|dash|hush|ksh|mksh|zsh)";
const QString shellCommand = "(?:" + shellName + "|(?:\\S*/)?busybox\\s+" + shellName + ")";

} // namespace

bool isOneOf(const char *characters, QChar character)
{
    const char latin = character.toLatin1(); // a text for each character that is asked about takes its time
    return latin != '\0' && strchr(characters, latin);
}

int shellWords(const QStringList &words)
{
    static const QRegularExpression shell("^" + shellCommand + "$");
    const QString first = words.value(0);
    if (!first.endsWith(QLatin1String("sh")) && !first.endsWith(QLatin1String("busybox")))
        return 0; // most commands are none
    for (const int count : {1, 2}) {
        if (shell.match(words.mid(0, count).join(' ')).hasMatch())
            return count;
    }
    return 0;
}

ShellCall shellCall(const QString &commandLine)
{
    static const QRegularExpression call("^(" + shellCommand + "(?:\\s+-\\S+)*?\\s+-\\w*c)\\s+(\\S.*)$",
                                         QRegularExpression::DotMatchesEverythingOption);
    if (!commandLine.contains(QLatin1String("sh")))
        return {};
    const QRegularExpressionMatch match = call.match(commandLine);
    // What is written like one need not be one: a quotation mark may make more than a shell's name of it.
    const CommandLine shell = splitCommandLine(match.captured(1));
    if (shell.openQuote || shellWords(shell.words) == 0)
        return {};
    return {match.captured(1), match.captured(2)};
}

QString throughShell(const QString &script, const QString &shell)
{
    QString literal = script;
    literal.replace("\"", "\"\"\"");
    return shell + " \"" + literal + '"';
}

QString shellWord(const QString &path)
{
    static const QRegularExpression harmless("^[\\w./+-]+$");
    QString quoted = path;
    return harmless.match(path).hasMatch() ? path : '\'' + quoted.replace("'", "'\\''") + '\'';
}
