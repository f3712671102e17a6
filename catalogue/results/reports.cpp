// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/reports.h"

#include "common/failure.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

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

    bool readFile(const QString &path, Failure *failure)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            *failure = {ExitNoInput, path + ": cannot be read: " + file.errorString()};
            return false;
        }
        ++reports->files;
        int number = 1;
        for (QByteArray line = file.readLine(longestLine); !line.isEmpty();
             line = file.readLine(longestLine)) {
            takeLine(path, number, line.trimmed());
            number += line.endsWith('\n');
        }
        if (file.error() == QFileDevice::NoError)
            return true;
        *failure = {ExitNoInput, path + ": cannot be read: " + file.errorString()};
        return false;
    }

private:
    /// Where a line is cut off, the next one may stand right behind it. An empty object is room for a line.
    void takeLine(const QString &path, int number, const QByteArray &line)
    {
        if (line == "{}")
            return;
        int begin = 0;
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

QStringList filesBelow(const QString &place)
{
    if (!QFileInfo(place).isDir())
        return {place};
    QStringList files;
    QDirIterator below(place, {"*.jsonl"}, QDir::Files | QDir::Hidden | QDir::NoSymLinks,
                       QDirIterator::Subdirectories);
    while (below.hasNext())
        files.append(below.next());
    files.sort();
    return files;
}

} // namespace

bool readReports(const QStringList &places, Reports *reports, Failure *failure)
{
    Reader reader(reports);
    for (const QString &place : places) {
        if (!QFileInfo::exists(place)) {
            *failure = {ExitNoInput, place + ": there is no such file or folder"};
            return false;
        }
        for (const QString &file : filesBelow(place)) {
            if (!reader.readFile(file, failure))
                return false;
        }
    }
    if (!reports->runs.isEmpty() || !reports->damaged.isEmpty())
        return true;
    *failure = {ExitNoInput, places.join(", ") + ": no reports of steps"};
    return false;
}
