// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/shellsyntax.h"

#include <QRegularExpression>
#include <QString>

#include <cerrno>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// A file that has no name, for the shell to read from or to write to.
class NamelessFile
{
public:
    explicit NamelessFile(const QByteArray &bytes = QByteArray())
        : descriptor(memfd_create("script", MFD_CLOEXEC))
    {
        const bool isWritten = write(descriptor, bytes.constData(), static_cast<size_t>(bytes.size()))
                               == static_cast<ssize_t>(bytes.size());
        isGood = isWritten && lseek(descriptor, 0, SEEK_SET) == 0;
    }
    ~NamelessFile()
    {
        close(descriptor);
    }
    Q_DISABLE_COPY(NamelessFile)

    QByteArray content() const
    {
        QByteArray bytes(4096, '\0');
        const ssize_t size = pread(descriptor, bytes.data(), static_cast<size_t>(bytes.size()), 0);
        bytes.resize(static_cast<int>(qMax<ssize_t>(size, 0)));
        return bytes;
    }

    const int descriptor;
    bool isGood = false;
};

/// False, with what the shell says, when it cannot read the script.
bool canBeRead(const QByteArray &shell, const QByteArray &script, QString *said)
{
    const NamelessFile input(script);
    const NamelessFile output;
    if (!input.isGood || !output.isGood)
        return true;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.descriptor, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.descriptor, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.descriptor, STDERR_FILENO);
    QByteArray name = shell;
    QByteArray option = "-n";
    char *const arguments[] = {name.data(), option.data(), nullptr};
    pid_t process = 0;
    const int failed = posix_spawnp(&process, name.constData(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0)
        return true;
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR)
            return true;
    }
    *said = QString::fromLocal8Bit(output.content());
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

SyntaxError errorOf(int script, const QString &said)
{
    static const QRegularExpression place("(?:line )?(\\d+): (?:[Ss]yntax error: )?([^\\n]+)");
    const QRegularExpressionMatch match = place.match(said);
    return {script, qMax(1, match.captured(1).toInt()), match.captured(2).trimmed()};
}

/// Each as the body of a function, so that all of them are one script.
QByteArray together(const QVector<QByteArray> &scripts, int begin, int end)
{
    QByteArray all;
    for (int i = begin; i < end; ++i)
        all += "f() {\n:\n" + scripts.at(i) + "\n}\n";
    return all;
}

void find(const QByteArray &shell, const QVector<QByteArray> &scripts, int begin, int end, int most,
          QVector<SyntaxError> *errors)
{
    QString said;
    if (begin >= end || errors->size() >= most)
        return;
    if (end - begin == 1) {
        if (!canBeRead(shell, scripts.at(begin), &said))
            errors->append(errorOf(begin, said));
        return;
    }
    if (canBeRead(shell, together(scripts, begin, end), &said))
        return;
    const int half = begin + (end - begin) / 2;
    find(shell, scripts, begin, half, most, errors);
    find(shell, scripts, half, end, most, errors);
}

} // namespace

QVector<SyntaxError> syntaxErrors(const QByteArray &shell, const QVector<QByteArray> &scripts, int most)
{
    QVector<SyntaxError> errors;
    find(shell, scripts, 0, scripts.size(), most, &errors);
    return errors;
}
