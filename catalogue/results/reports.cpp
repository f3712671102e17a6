// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "results/reports.h"

#include "common/failure.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QScopedPointer>
#include <QSet>
#include <QTextCodec>

#include <cstdio>

namespace
{

constexpr qint64 pieceSize = 1 << 16;
constexpr int longestLine = 1 << 20; ///< what is longer is no line of a step, and not kept whole
constexpr int keptOfDamage = 1024;

/// Takes the lines of one file after the other, without having more of a file than a line.
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
            here = {path, 1, false, {}};
            readText(&file);
            if (file.error() == QFileDevice::NoError)
                return true;
        }
        *failure = {ExitNoInput, path + ": cannot be read: " + file.errorString()};
        return false;
    }

private:
    /// Where it is in a file.
    struct Place {
        QString path;
        qint64 line = 1;
        bool isInLine = false; ///< which is too long, and was begun before
        QByteArray rest;       ///< what was read and not yet taken
    };

    /// What went through a program that writes UTF-16, or a mark of the bytes' order, is read all the same.
    void readText(QIODevice *device)
    {
        const QByteArray begin = device->peek(3);
        if (begin == "\xef\xbb\xbf")
            device->read(3);
        const bool isWide = begin.startsWith("\xff\xfe") || begin.startsWith("\xfe\xff");
        const QScopedPointer<QTextDecoder> from(QTextCodec::codecForUtfText(begin)->makeDecoder());
        const QScopedPointer<QTextEncoder> to(
            QTextCodec::codecForName("UTF-8")->makeEncoder(QTextCodec::IgnoreHeader));
        for (QByteArray piece = device->read(pieceSize); !piece.isEmpty(); piece = device->read(pieceSize))
            takePiece(isWide ? to->fromUnicode(from->toUnicode(piece)) : piece);
        takeLine(here.rest);
    }

    void takePiece(const QByteArray &piece)
    {
        QByteArray &rest = here.rest;
        int end = rest.size();
        int begin = 0;
        rest += piece;
        for (end = rest.indexOf('\n', end); end >= 0; end = rest.indexOf('\n', begin)) {
            takeLine(rest.mid(begin, end - begin));
            begin = end + 1;
            here.isInLine = false;
            ++here.line;
        }
        rest.remove(0, begin);
        if (rest.size() >= longestLine)
            takeBeginning(rest.lastIndexOf(stepMark));
    }

    /// Of a line that is too long, but not the report that begins last in it, which may go on; nor what may
    /// be the beginning of one.
    void takeBeginning(int last)
    {
        const int end = last > 0 ? last : here.rest.size() - static_cast<int>(sizeof(stepMark));
        takeLine(here.rest.left(end));
        here.rest.remove(0, end);
        here.isInLine = true;
    }

    /// Where a line is cut off, the next one may stand right behind it. An empty object is room for a line.
    /// What goes on with a line that is too long has been told with its beginning.
    void takeLine(const QByteArray &whole)
    {
        const QByteArray line = whole.trimmed();
        if (line == "{}")
            return;
        int begin = here.isInLine ? line.indexOf(stepMark) : 0;
        if (begin < 0)
            return;
        while (begin < line.size()) {
            const int next = line.indexOf(stepMark, begin + 1);
            takePart(line.mid(begin, next < 0 ? -1 : next - begin).trimmed());
            begin = next < 0 ? line.size() : next;
        }
    }

    void takePart(const QByteArray &part)
    {
        StepRun run;
        const QString wrong = readStepRun(part, &run);
        if (wrong.isEmpty())
            return takeRun(run, part);
        ++reports->damagedLines;
        if (reports->damaged.size() < mostDamagedLines)
            reports->damaged.append({here.path, here.line, wrong, part.left(keptOfDamage)});
    }

    /// A step is told when it begins and again when it has ended, and both may have been collected, on other
    /// ways.
    void takeRun(StepRun run, const QByteArray &line)
    {
        const QByteArray sum = QCryptographicHash::hash(line, QCryptographicHash::Sha1);
        if (seen.contains(sum)) {
            ++reports->duplicates;
            return;
        }
        seen.insert(sum);
        for (QString *text :
             {&run.history, &run.controller, &run.medium, &run.name, &run.outcome, &run.output})
            *text = *texts.insert(*text);
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
    Place here;
    QSet<QByteArray> seen;      ///< sums of the lines, which are longer
    QSet<QString> texts;        ///< each once, however many runs have it
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
    if (!reports->runs.isEmpty() || reports->damagedLines > 0)
        return true;
    *failure = {ExitNoInput, places.join(", ") + ": no reports of steps"};
    return false;
}
