// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "common/guard.h"
#include "support/sandboxed.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

const char place[] = "/mnt/.guard";
const char file[] = "/mnt/.guard-file";
const char otherFile[] = "/mnt/.guard-other";

void makeFile()
{
    QFile made(file);
    QVERIFY(made.open(QIODevice::WriteOnly));
}

/// 0, or the error of the call.
int errorOf(long result)
{
    return result == -1 ? errno : 0;
}

/// A process that ends by itself, because nobody may end it.
class Sleeper
{
public:
    Sleeper()
        : id(fork())
    {
        if (id == 0) {
            ::sleep(1);
            _exit(0);
        }
    }

    ~Sleeper()
    {
        waitpid(id, nullptr, 0);
    }

    const pid_t id;
};

int startProgram()
{
    char name[] = "/bin/true";
    char *arguments[] = {name, nullptr};
    pid_t child = 0;
    const int result = posix_spawn(&child, name, nullptr, nullptr, arguments, environ);
    if (result == 0)
        waitpid(child, nullptr, 0);
    return result;
}

int startThroughShell()
{
    const int result = std::system("true"); // NOLINT(cert-env33-c): it is what must not work
    return WIFEXITED(result) && WEXITSTATUS(result) == 0 ? 0 : EPERM;
}

int startFromThread()
{
    int result = 0;
    std::thread([&result] { result = startProgram(); }).join();
    return result;
}

int signalOther()
{
    const Sleeper other;
    return errorOf(kill(other.id, 0));
}

int signalEveryone()
{
    const Sleeper other;
    return errorOf(kill(-1, 0));
}

int signalThreadOfOther()
{
    const Sleeper other;
    return errorOf(syscall(SYS_tgkill, other.id, other.id, 0));
}

int mountSomething()
{
    return errorOf(mount("none", place, "tmpfs", 0, nullptr));
}

int unmountIt()
{
    return errorOf(umount(place));
}

int removeFile()
{
    return errorOf(::unlink(file));
}

int removeFileAt()
{
    return errorOf(unlinkat(AT_FDCWD, otherFile, 0));
}

int renameFile()
{
    return errorOf(std::rename(file, otherFile));
}

int linkFile()
{
    return errorOf(symlink(file, "/mnt/.guard-link"));
}

using Attempt = int (*)();

} // namespace

Q_DECLARE_METATYPE(Attempt)

class TestGuard : public QObject
{
    Q_OBJECT

private slots:
    void without_data()
    {
        attempts();
    }

    void without()
    {
        QFETCH(Attempt, attempt);
        makeFile();
        QCOMPARE(attempt(), 0);
    }

    void theGuardIsShut()
    {
        makeFile();
        QVERIFY(closeTheWayOut());
    }

    void with_data()
    {
        attempts();
    }

    void with()
    {
        QFETCH(Attempt, attempt);
        QCOMPARE(attempt(), EPERM);
    }

    void aQProcessDoesNotStart()
    {
        QCOMPARE(QProcess::execute("true"), -2);
    }

    void aProcessCanStillEndItself()
    {
        QCOMPARE(kill(getpid(), 0), 0);
        QCOMPARE(syscall(SYS_tgkill, getpid(), gettid(), 0), 0L);
    }

    void filesAreStillWritten()
    {
        QFile written("/mnt/.guard-written");
        QVERIFY(written.open(QIODevice::WriteOnly));
    }

private:
    static void attempts()
    {
        QTest::addColumn<Attempt>("attempt");
        mkdir(place, 0755);
        QTest::newRow("starting a program") << &startProgram;
        QTest::newRow("starting one through a shell") << &startThroughShell;
        QTest::newRow("starting one from another thread") << &startFromThread;
        QTest::newRow("signalling another process") << &signalOther;
        QTest::newRow("signalling every process") << &signalEveryone;
        QTest::newRow("signalling another's thread") << &signalThreadOfOther;
        QTest::newRow("mounting") << &mountSomething;
        QTest::newRow("unmounting") << &unmountIt;
        QTest::newRow("linking") << &linkFile;
        QTest::newRow("renaming") << &renameFile;
        QTest::newRow("removing") << &removeFile;
        QTest::newRow("removing, the other way") << &removeFileAt;
    }
};

SANDBOXED_TEST_MAIN(TestGuard)
#include "tst_guard.moc"
