// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// The simulated controller's watchdog: the other end of the queue that zul_upgrade sends its commands to.
//
// Starts the five application programs beside its own file and restarts one that dies, unless a command has
// told it not to. Prints every command it receives and everything it does, one line each. Ends on SIGTERM or
// SIGINT together with the programs.

#include "watchdogfeed.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr long commandType = 1;
constexpr auto tick = std::chrono::milliseconds(100);
// Within a second of its end, but not at once: the tool stops the programs first and suspends the supervision
// then.
constexpr auto usualRestartDelay = std::chrono::milliseconds(900);
static_assert(usualRestartDelay + tick <= std::chrono::seconds(1),
              "what dies is started again within a second");

volatile std::sig_atomic_t endRequested = 0;

void requestEnd(int)
{
    endRequested = 1;
}

void say(const std::string &text)
{
    std::puts(text.c_str());
    std::fflush(stdout);
}

/// How long after its end a program is started again. ZUL_RESTART_DELAY_MS says another time where stopping
/// five programs may take longer than that: on an emulated controller, and on a computer that does much else.
std::chrono::milliseconds restartDelay()
{
    const char *given = std::getenv("ZUL_RESTART_DELAY_MS");
    return given != nullptr ? std::chrono::milliseconds(std::atoi(given)) : usualRestartDelay;
}

std::string ownFile()
{
    std::array<char, 4096> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size() - 1);
    return length > 0 ? std::string(path.data(), static_cast<size_t>(length)) : std::string();
}

/// One application program of the controller and the process that runs it.
class Application
{
public:
    Application(std::string directory, std::string program)
        : file(std::move(directory) + program)
        , name(std::move(program))
    {
    }

    bool isRunning() const
    {
        return process > 0;
    }
    bool isDue() const
    {
        return !isRunning() && Clock::now() >= due;
    }
    void makeDue()
    {
        due = Clock::now();
    }

    void start()
    {
        process = fork();
        if (process == 0) {
            execl(file.c_str(), file.c_str(), nullptr);
            _exit(127);
        }
        say(process > 0 ? "started " + name : "cannot start " + name + ": " + std::strerror(errno));
    }

    /// Notices that the process has ended.
    void check()
    {
        int status = 0;
        if (!isRunning() || waitpid(process, &status, WNOHANG) != process) {
            return;
        }
        process = -1;
        due = Clock::now() + restartDelay();
        say(name
            + (WIFSIGNALED(status) ? " was killed by signal " + std::to_string(WTERMSIG(status))
                                   : " ended with " + std::to_string(WEXITSTATUS(status))));
    }

    void end()
    {
        if (isRunning()) {
            kill(process, SIGTERM);
            waitpid(process, nullptr, 0);
            process = -1;
        }
    }

private:
    std::string file;
    std::string name;
    pid_t process = -1;
    Clock::time_point due; ///< when it is started again, as long as it is supervised
};

/// The receiving end of the queue.
class CommandQueue
{
public:
    explicit CommandQueue(std::string file)
        : keyFile(std::move(file))
    {
    }

    /// The next command, if one is waiting. Opens the queue, again if it has been removed.
    std::optional<std::string> receive()
    {
        if (identifier == -1 && !open()) {
            return std::nullopt;
        }
        WatchdogMessage message{};
        // A message longer than the record is cut off, or it would stay in front of the queue for ever.
        const ssize_t size =
            msgrcv(identifier, &message, sizeof(message.mtext), commandType, IPC_NOWAIT | MSG_NOERROR);
        if (size < 0) {
            if (errno != ENOMSG && errno != EINTR) {
                identifier = -1;
            }
            return std::nullopt;
        }
        // What follows the zero byte may be the tail of an earlier, longer command.
        return std::string(message.mtext, strnlen(message.mtext, static_cast<size_t>(size)));
    }

private:
    bool open()
    {
        const key_t key = ftok(keyFile.c_str(), watchdogQueueId % 256);
        identifier = msgget(key, IPC_CREAT | 0666);
        if (identifier != -1) {
            say("listening on queue " + std::to_string(key));
        }
        return identifier != -1;
    }

    std::string keyFile;
    int identifier = -1;
};

/// The number in "syscmd_suspend@N"; nothing when it is not a decimal 32-bit number.
std::optional<std::chrono::seconds> suspensionTime(const std::string &digits)
{
    constexpr size_t mostDigits = 10;
    if (digits.empty() || digits.size() > mostDigits
        || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const unsigned long long seconds = std::stoull(digits);
    if (seconds > UINT32_MAX) {
        return std::nullopt;
    }
    return std::chrono::seconds(static_cast<long long>(seconds));
}

std::string printable(std::string text)
{
    for (char &character : text) {
        if (static_cast<unsigned char>(character) < ' ') {
            character = '?';
        }
    }
    return text;
}

class Watchdog
{
public:
    explicit Watchdog(const std::string &keyFile)
        : queue(keyFile)
        , applications{{{directoryOf(keyFile), "zul_main"},
                        {directoryOf(keyFile), "zul_gui_en"},
                        {directoryOf(keyFile), "zul_gui_cn"},
                        {directoryOf(keyFile), "zul_gui_jk"},
                        {directoryOf(keyFile), "zul_gui_lan"}}}
    {
    }

    void run()
    {
        while (endRequested == 0) {
            while (const auto command = queue.receive()) {
                obey(*command);
            }
            for (Application &application : applications) {
                application.check();
            }
            supervise();
            std::this_thread::sleep_for(tick);
        }
        for (Application &application : applications) {
            application.end();
        }
    }

private:
    static std::string directoryOf(const std::string &file)
    {
        return file.substr(0, file.rfind('/') + 1);
    }

    void obey(const std::string &command)
    {
        static const std::string suspend = "syscmd_suspend@";
        say("received " + printable(command));
        if (command == "syscmd_apprestart" || command == "syscmd_resume") {
            superviseAgain();
        } else if (command == "syscmd_stop") {
            supervising = false;
            suspendedUntil.reset();
        } else if (command.compare(0, suspend.size(), suspend) == 0) {
            const auto time = suspensionTime(command.substr(suspend.size()));
            if (time) {
                supervising = false;
                suspendedUntil = Clock::now() + *time;
            } else {
                say("ignored: not a number of seconds");
            }
        } else {
            say("ignored: not a command");
        }
    }

    void superviseAgain()
    {
        supervising = true;
        suspendedUntil.reset();
        for (Application &application : applications) {
            application.makeDue();
        }
    }

    void supervise()
    {
        if (suspendedUntil && Clock::now() >= *suspendedUntil) {
            say("the suspension is over");
            superviseAgain();
        }
        if (!supervising) {
            return;
        }
        for (Application &application : applications) {
            if (application.isDue()) {
                application.start();
            }
        }
    }

    CommandQueue queue;
    std::array<Application, 5> applications;
    bool supervising = true;
    std::optional<Clock::time_point>
        suspendedUntil; ///< without it, "not supervising" lasts until told otherwise
};

} // namespace

int main()
{
    std::signal(SIGTERM, requestEnd);
    std::signal(SIGINT, requestEnd);
    Watchdog(ownFile()).run();
    return 0;
}
