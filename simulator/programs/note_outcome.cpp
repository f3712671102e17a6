// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Says on standard error, in the tool's log, of each program that the tool runs for a catalogue what it
// prints and what it comes to: the tool shows "Succeed" or "Failed", and an author wants to know the exit
// code. Loaded before the tool's libraries (LD_PRELOAD), so that the tool itself is the one that ships; what
// the tool starts does not get it.
//
// The program is started by in_controller, whose file is ZUL_IN_CONTROLLER, in the root ZUL_CONTROLLER_ROOT.

#include <QByteArray>
#include <QProcess>
#include <QString>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr size_t mostBytes = 100000; ///< of what a program prints first
constexpr size_t lastBytes = 20000;  ///< and at last
constexpr size_t longestLine = 3000; ///< written at once, so that nothing of another thread comes between
constexpr int lookMs = 20;
constexpr auto longestDrain = std::chrono::seconds(2);

QString starter; ///< in_controller and the root, in front of a command

__attribute__((constructor)) void keepFromPrograms()
{
    starter = QString("%1 %2").arg(qgetenv("ZUL_IN_CONTROLLER"), qgetenv("ZUL_CONTROLLER_ROOT"));
    for (const char *name : {"LD_PRELOAD", "ZUL_IN_CONTROLLER", "ZUL_CONTROLLER_ROOT"}) {
        unsetenv(name);
    }
}

void say(const std::string &line)
{
    const std::string whole = line + "\n";
    const ssize_t ignored = write(STDERR_FILENO, whole.data(), whole.size());
    static_cast<void>(ignored);
}

/// What one program prints: the beginning and the end of it is said, line by line. Read to its end, also when
/// that comes after the program's: what the program has started in the background may go on printing, and
/// would be ended by a pipe that nobody reads.
class Printed
{
public:
    explicit Printed(int end)
        : pipe(end)
    {
    }

    void read()
    {
        std::array<char, 65536> buffer{};
        for (;;) {
            pollfd waiting{pipe, POLLIN, 0};
            const bool more = poll(&waiting, 1, lookMs) > 0;
            const ssize_t count = more ? ::read(pipe, buffer.data(), buffer.size()) : 0;
            const std::lock_guard<std::mutex> lock(mutex);
            if (!told && count > 0) {
                take(buffer.data(), static_cast<size_t>(count));
            }
            if (!told && ended && (!more || count <= 0 || Clock::now() > latest)) {
                tell();
            }
            if (more && count <= 0) {
                tell();
                close(pipe);
                return;
            }
        }
    }

    /// The program has ended: says the rest of what it has printed.
    void end()
    {
        std::unique_lock<std::mutex> lock(mutex);
        ended = true;
        latest = Clock::now() + longestDrain;
        condition.wait(lock, [this] { return told; });
    }

private:
    void take(const char *bytes, size_t count)
    {
        const size_t first = std::min(count, mostBytes - said);
        said += first;
        line.append(bytes, first);
        sayLines();
        last.append(bytes + first, count - first);
        if (last.size() > 2 * lastBytes) {
            leftOut += last.size() - lastBytes;
            last.erase(0, last.size() - lastBytes);
        }
    }

    void sayLines()
    {
        size_t start = 0;
        for (;;) {
            const size_t newline = line.find('\n', start);
            const bool whole = newline != std::string::npos && newline - start <= longestLine;
            if (!whole && line.size() - start <= longestLine) {
                break;
            }
            sayPart(line.substr(start, whole ? newline - start : longestLine), whole);
            start = whole ? newline + 1 : start + longestLine;
        }
        line.erase(0, start);
    }

    /// A part of a line that goes on is told from its last one.
    void sayPart(const std::string &part, bool isLast)
    {
        say((isLast ? "rehearsal prints " : "rehearsal begins ") + part);
    }

    void tell()
    {
        if (told) {
            return;
        }
        if (last.size() > lastBytes) {
            leftOut += last.size() - lastBytes;
            last.erase(0, last.size() - lastBytes);
        }
        if (leftOut > 0) {
            if (!line.empty()) {
                sayPart(line, true);
                line.clear();
            }
            say("rehearsal leaves out " + std::to_string(leftOut));
        }
        line += last;
        sayLines();
        if (!line.empty()) {
            sayPart(line, true);
        }
        told = true;
        condition.notify_all();
    }

    const int pipe;
    std::mutex mutex;
    std::condition_variable condition;
    bool ended = false;
    bool told = false;
    Clock::time_point latest;
    std::string line; ///< of the first bytes, what has not been said
    std::string last; ///< the bytes behind the first ones, the last of them
    size_t said = 0;
    size_t leftOut = 0;
};

/// The exit code of the program as QProcess::execute would tell it: -2 when it cannot be started.
int codeOf(int code, int refused)
{
    int reason = 0;
    return read(refused, &reason, sizeof(reason)) == sizeof(reason) ? -2 : code;
}

} // namespace

int QProcess::execute(const QString &command)
{
    using Execute = int(const QString &);
    static auto *const real =
        reinterpret_cast<Execute *>(dlsym(RTLD_NEXT, "_ZN8QProcess7executeERK7QString"));
    std::array<int, 2> printed{};
    std::array<int, 2> refused{};
    if (pipe2(printed.data(), 0) != 0 || pipe2(refused.data(), O_NONBLOCK) != 0) {
        return -2;
    }
    fcntl(printed[0], F_SETFD, FD_CLOEXEC);
    fcntl(refused[0], F_SETFD, FD_CLOEXEC);
    say("rehearsal runs " + QString(command).replace('\n', ' ').toStdString());
    const auto reader = std::make_shared<Printed>(printed[0]);
    std::thread([reader] { reader->read(); }).detach();
    const auto start = Clock::now();
    const int ended = real(QString("%1 %2 %3 %4").arg(starter).arg(printed[1]).arg(refused[1]).arg(command));
    const auto took = Clock::now() - start;
    const int code = codeOf(ended, refused[0]);
    for (const int end : {printed[1], refused[0], refused[1]}) {
        ::close(end);
    }
    reader->end();
    say("rehearsal exit " + std::to_string(code) + " after "
        + std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()) + " ms");
    return code;
}
