// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "reading/asking.h"

#include <cerrno>
#include <memory>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

/// A file that has no name, for a program to read from or to write to.
class NamelessFile
{
public:
    /// The program has it open as well where it is handed on.
    explicit NamelessFile(const QByteArray &bytes = QByteArray(), bool isHandedOn = false)
        : descriptor(memfd_create("text", isHandedOn ? 0 : MFD_CLOEXEC))
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
        constexpr off_t most = off_t(4) * 1024 * 1024; // bytes, whatever the program has written
        struct stat state = {};
        fstat(descriptor, &state);
        QByteArray bytes(static_cast<int>(qMin(state.st_size, most)), '\0');
        const ssize_t size = pread(descriptor, bytes.data(), static_cast<size_t>(bytes.size()), 0);
        bytes.resize(static_cast<int>(qMax<ssize_t>(size, 0)));
        return bytes;
    }

    const int descriptor;
    bool isGood = false;
};

/// Its environment is that of this program, but for what would have it do more than its arguments say, and
/// answer in a form that cannot be read.
std::vector<char *> environmentFor(QByteArray *encoding)
{
    std::vector<char *> environment;
    for (char **one = environ; *one; ++one) {
        const QByteArray variable = QByteArray::fromRawData(*one, static_cast<int>(qstrlen(*one)));
        if (!variable.startsWith("SHELLCHECK_OPTS=") && !variable.startsWith("LC_ALL="))
            environment.push_back(*one);
    }
    environment.push_back(encoding->data());
    environment.push_back(nullptr);
    return environment;
}

/// Its exit code; -1 where it did not come to its end.
int run(QVector<QByteArray> *arguments, int input, int output, int errors)
{
    std::vector<char *> words;
    for (QByteArray &argument : *arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    QByteArray encoding = "LC_ALL=C.UTF-8";
    const std::vector<char *> environment = environmentFor(&encoding);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    pid_t process = 0;
    const int failed =
        posix_spawnp(&process, words.front(), &actions, nullptr, words.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0)
        return -1;
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

Answered askProgram(QVector<QByteArray> arguments, const QByteArray &input, const QVector<QByteArray> &texts)
{
    const NamelessFile standardInput(input);
    const NamelessFile output;
    const NamelessFile errors;
    Answered answer;
    bool isGood = standardInput.isGood && output.isGood && errors.isGood;
    std::vector<std::unique_ptr<NamelessFile>> files;
    for (const QByteArray &text : texts) {
        files.push_back(std::make_unique<NamelessFile>(text, true));
        isGood = isGood && files.back()->isGood;
        answer.names.append("/dev/fd/" + QByteArray::number(files.back()->descriptor));
    }
    arguments += answer.names;
    if (!isGood)
        return answer;
    answer.exitCode = run(&arguments, standardInput.descriptor, output.descriptor, errors.descriptor);
    answer.output = output.content();
    answer.errors = errors.content();
    return answer;
}
