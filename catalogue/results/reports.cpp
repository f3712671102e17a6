// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/reports.h"

#include "common/failure.h"

#include <QBuffer>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QTextCodec>

#include <cstdio>

namespace
{

constexpr qint64 longestLine = 1 << 20; ///< read at once; what is longer is no line of a step
constexpr int keptOfDamage = 1024;

/// Takes the lines of one file after the other.
class Reader
{
public:
    explicit Reader(Reports *target)
        : reports(target)
    {
    }

    /// "-" is the standard input.
    bool readFile(const QString &path, Failure *failure)
    {
        QFile file(path);
        if (path == "-" ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly)) {
            ++reports->files;
            readText(path, &file);
            if (file.error() == QFileDevice::NoError)
                return true;
        }
        *failure = {ExitNoInput, path + ": cannot be read: " + file.errorString()};
        return false;
    }

private:
    /// What went through a program that writes UTF-16, or a mark of the bytes' order, is read all the same.
    void readText(const QString &path, QIODevice *device)
    {
        const QByteArray begin = device->peek(3);
        if (begin.startsWith("\xff\xfe") || begin.startsWith("\xfe\xff")) {
            QByteArray bytes = device->readAll();
            bytes = QTextCodec::codecForUtfText(bytes)->toUnicode(bytes).toUtf8();
            QBuffer text(&bytes);
            text.open(QIODevice::ReadOnly);
            return readLines(path, &text);
        }
        if (begin == "\xef\xbb\xbf")
            device->read(3);
        readLines(path, device);
    }

    void readLines(const QString &path, QIODevice *device)
    {
        int number = 1;
        bool goesOn = false;
        for (QByteArray line = device->readLine(longestLine); !line.isEmpty();
             line = device->readLine(longestLine)) {
            takeLine(path, number, line.trimmed(), goesOn);
            goesOn = !line.endsWith('\n');
            number += goesOn ? 0 : 1;
        }
    }

    /// Where a line is cut off, the next one may stand right behind it. An empty object is room for a line.
    /// What goes on with a line that is too long has been told with its beginning.
    void takeLine(const QString &path, int number, const QByteArray &line, bool goesOn)
    {
        if (line == "{}")
            return;
        int begin = goesOn ? line.indexOf(stepMark) : 0;
        if (begin < 0)
            return;
        while (begin < line.size()) {
            const int next = line.indexOf(stepMark, begin + 1);
            takePart(path, number, line.mid(begin, next < 0 ? -1 : next - begin));
            begin = next < 0 ? line.size() : next;
        }
    }

    void takePart(const QString &path, int number, const QByteArray &part)
    {
        StepRun run;
        const QString wrong = readStepRun(part, &run);
        if (wrong.isEmpty())
            takeRun(run, part.trimmed());
        else
            reports->damaged.append({path, number, wrong, part.left(keptOfDamage)});
    }

    /// A step is told when it begins and again when it has ended, and both may have been collected, on other
    /// ways.
    void takeRun(const StepRun &run, const QByteArray &line)
    {
        if (seen.contains(line)) {
            ++reports->duplicates;
            return;
        }
        seen.insert(line);
        const QString key = run.controller + '\n' + run.history + '\n' + QString::number(run.number);
        const auto known = places.constFind(key);
        if (run.history == "none" || known == places.constEnd()) {
            places.insert(key, reports->runs.size());
            reports->runs.append(run);
        } else if (reports->runs.at(*known).hasBegunOnly()) {
            reports->runs[*known] = run;
        } else if (!run.hasBegunOnly()) {
            reports->runs.append(run); // a copy of the controller, or its clock has gone: nothing is left out
        }
    }

    Reports *reports;
    QSet<QByteArray> seen;
    QHash<QString, int> places; ///< in the runs
};

/// Fails when it may not look into one of the folders, so that no report is left out unnoticed.
bool findFiles(const QString &place, QStringList *files, Failure *failure)
{
    files->clear();
    if (place == "-" || !QFileInfo(place).isDir()) {
        files->append(place);
        return true;
    }
    QStringList folders{place};
    QDirIterator below(place, {"*.jsonl"},
                       QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::NoSymLinks,
                       QDirIterator::Subdirectories);
    while (below.hasNext()) {
        const QString path = below.next();
        (below.fileInfo().isDir() ? &folders : files)->append(path);
    }
    for (const QString &folder : qAsConst(folders)) {
        if (!QFileInfo(folder).isReadable() || !QFileInfo(folder).isExecutable()) {
            *failure = {ExitNoInput, folder + ": cannot be looked into"};
            return false;
        }
    }
    files->sort();
    return true;
}

} // namespace

bool readReports(const QStringList &places, Reports *reports, Failure *failure)
{
    Reader reader(reports);
    QStringList files;
    for (const QString &place : places) {
        if (place != "-" && !QFileInfo::exists(place)) {
            *failure = {ExitNoInput, place + ": there is no such file or folder"};
            return false;
        }
        if (!findFiles(place, &files, failure))
            return false;
        for (const QString &file : qAsConst(files)) {
            if (!reader.readFile(file, failure))
                return false;
        }
    }
    if (!reports->runs.isEmpty() || !reports->damaged.isEmpty())
        return true;
    *failure = {ExitNoInput, places.join(", ") + ": no reports of steps"};
    return false;
}
