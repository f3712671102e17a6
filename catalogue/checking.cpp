// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "checking.h"

#include "common/controller.h"
#include "common/failure.h"
#include "options.h"
#include "reading/medium.h"
#include "report/formats.h"
#include "report/report.h"
#include "window/screen.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

volatile std::sig_atomic_t isStopped = 0;

void stop(int)
{
    isStopped = 1;
}

/// A medium and all that is found in it.
struct Check {
    Medium medium;
    Verdict verdict;
    Findings findings;
};

bool fail(Failure *failure, int exitCode, const QString &message)
{
    *failure = {exitCode, message};
    return false;
}

/// What stands on the standard input, in a file of its own for the window to read.
bool openStandardInput(const QTemporaryDir &folder, Medium *medium, Failure *failure)
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return fail(failure, ExitNoInput, "-: cannot be read: " + input.errorString());
    const QByteArray bytes = input.read(largestCatalogue + 1);
    if (input.error() != QFile::NoError)
        return fail(failure, ExitNoInput, "-: cannot be read: " + input.errorString());
    QFile copy(folder.filePath("standard-input"));
    if (!copy.open(QIODevice::WriteOnly) || copy.write(bytes) != bytes.size() || !copy.flush())
        return fail(failure, ExitNoOutput, copy.fileName() + ": cannot be written: " + copy.errorString());
    const bool isOpen = openMedium(copy.fileName(), medium, failure);
    failure->message.replace(copy.fileName(), "-");
    return isOpen;
}

bool checkOne(const Options &options, const QString &argument, const Screen &screen, Check *check,
              Failure *failure)
{
    const QTemporaryDir folder;
    const bool isInput = argument == "-";
    Medium &medium = check->medium;
    if (isInput ? !openStandardInput(folder, &medium, failure) : !openMedium(argument, &medium, failure))
        return false;
    if (!options.mountedAt.isEmpty())
        medium.mountDirectory = options.mountedAt;
    medium.isForShellcheck = true;
    check->verdict = readVerdict(medium.catalogue);
    if (isInput)
        medium.catalogue = "-";
    check->findings = findAll(medium, IniFile(medium.bytes), check->verdict, screen);
    return true;
}

QByteArray reportOn(const Options &options, const Checks &checks)
{
    if (options.format == "sarif")
        return sarifReport(checks, ZUL_VERSION);
    if (options.format == "github")
        return githubReport(checks);
    if (options.format == "json")
        return jsonReports(checks);
    QByteArray report;
    for (const Checked &one : checks.media)
        report += (report.isEmpty() ? "" : "\n")
                  + textReport(one.medium, one.verdict, one.findings, wantsColours());
    return report;
}

/// The same for each name of one catalogue in one medium.
QString identityOf(const QString &argument)
{
    const QFileInfo info(argument);
    const QFileInfo catalogue(info.isDir() ? argument + '/' + catalogueName : argument);
    const QString root = rootOf(catalogue.filePath());
    return QFileInfo(root).canonicalFilePath() + '\n'
           + (argument == "-" ? argument : catalogue.canonicalFilePath());
}

/// Names, kinds, sizes, times and numbers of a file: it may have been replaced by one as big, as old.
QByteArray stateOfFile(const QString &path)
{
    struct stat state = {};
    const bool isThere = lstat(QFile::encodeName(path).constData(), &state) == 0;
    QByteArray text = path.toUtf8();
    if (isThere)
        for (const auto number :
             {qint64(state.st_dev), qint64(state.st_ino), qint64(state.st_mode), qint64(state.st_size),
              qint64(state.st_mtim.tv_sec), qint64(state.st_mtim.tv_nsec), qint64(state.st_ctim.tv_sec),
              qint64(state.st_ctim.tv_nsec)})
            text += ' ' + QByteArray::number(number);
    return text + '\n';
}

/// What tells that something has changed: of a catalogue in a medium, the whole medium.
QByteArray stateOf(const QStringList &arguments)
{
    QByteArray state;
    for (const QString &argument : arguments) {
        const QString root = QFileInfo(argument).isDir() ? argument : rootOf(argument);
        state += stateOfFile(argument);
        if (root.isEmpty())
            continue;
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        QDirIterator files(root, all, QDirIterator::Subdirectories);
        while (files.hasNext())
            state += stateOfFile(files.next());
    }
    return state;
}

/// Until it is another state, or somebody stops it. Looking takes a tenth of the time at most, however big it
/// is.
void waitForChange(const QStringList &arguments, const QByteArray &state)
{
    constexpr qint64 shortest = 300; // milliseconds
    constexpr int share = 10;
    for (;;) {
        QElapsedTimer timer;
        timer.start();
        if (stateOf(arguments) != state)
            return;
        const qint64 pause = qMax(shortest, timer.elapsed() * share);
        for (qint64 waited = 0; waited < pause; waited += shortest) {
            if (isStopped)
                return;
            usleep(static_cast<useconds_t>(shortest) * 1000);
        }
    }
}

} // namespace

int check(const Options &options)
{
    const Screen screen;
    const QStringList arguments = options.words.mid(1);
    QVector<Check> found;
    Checks checks = {{}, {}, arguments.size() > 1, ExitClean};
    QStringList seen;
    for (const QString &argument : arguments) {
        if (seen.contains(identityOf(argument)))
            continue;
        seen.append(identityOf(argument));
        Check one;
        Failure failure;
        if (checkOne(options, argument, screen, &one, &failure)) {
            checks.exitCode = qMax(checks.exitCode, exitCodeOf(one.findings, options.strict));
            found.append(one);
        } else {
            checks.exitCode = qMax(checks.exitCode, fail(failure.exitCode, failure.message));
            checks.unchecked.append({argument, failure});
        }
    }
    for (const Check &one : qAsConst(found))
        checks.media.append({one.medium, one.verdict, one.findings});
    const QByteArray report = reportOn(options, checks);
    std::fwrite(report.constData(), 1, static_cast<size_t>(report.size()), stdout);
    return checks.exitCode;
}

int watch(const Options &options)
{
    struct sigaction action = {}; // without restarts, so that it wakes from its sleep
    action.sa_handler = stop;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    const QStringList arguments = options.words.mid(1);
    while (!isStopped) {
        const QByteArray state = stateOf(arguments);
        if (isatty(STDOUT_FILENO))
            std::fputs("\x1b[2J\x1b[H", stdout);
        check(options);
        if (std::fflush(stdout) != 0)
            return ExitNoOutput;
        waitForChange(arguments, state);
    }
    return ExitClean;
}
