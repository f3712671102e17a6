#include "reading/shell.h"

#include <QRegularExpression>

bool isShellScript(const QStringList &words)
{
    static const QStringList shells = {"sh", "ash", "bash", "dash"};
    return words.size() > 2 && shells.contains(words.at(0).section('/', -1)) && words.at(1).startsWith('-')
           && words.at(1).contains('c');
}

QString throughShell(const QString &script)
{
    QString literal = script;
    literal.replace("\"", "\"\"\"");
    return "sh -c \"" + literal + '"';
}

QString shellWord(const QString &path)
{
    static const QRegularExpression harmless("^[\\w./+-]+$");
    QString quoted = path;
    return harmless.match(path).hasMatch() ? path : '\'' + quoted.replace("'", "'\\''") + '\'';
}
