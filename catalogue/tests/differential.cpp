// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Holds what the checker prints to what the tool's window does, over generated catalogues.
//
// Usage: differential SEED CATALOGUES
//
// The checker's side is its report for programs, parsed again. The other side is a window of its own that
// reads another file with the same bytes; its operations are tapped, the question is answered, the worker
// runs the batch (each command line is noted instead of run), and what they did is compared with the report.
// Prints the seed and what was compared. Exit code 1 and the catalogue on the first difference.

#include "generator.h"
#include "reading/initext.h"
#include "reading/medium.h"
#include "report/report.h"
#include "window/isolatedwindow.h"
#include "window/screen.h"

#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextCodec>

#include <cstdio>

namespace
{

constexpr int mostTapped = 40; // choosing searches the whole selection, and every step redraws the table
constexpr int bigOne = 10000;
constexpr int smallOnesPerBig = 1000;

/// A text as a report can carry it: half a surrogate pair is no character.
QString carried(const QString &text)
{
    return QString::fromUtf8('x' + text.toUtf8()).mid(1); // a byte-order mark in front would be left out
}

/// What a batch did, in words: "start NAME", "run LINE", "hide", "show", "end".
using Events = QStringList;

/// The window's side.
struct WindowSide {
    bool offersList = false;
    QStringList rows;
    Events events;
};

/// The tapped names of a list, each once, in order.
QStringList namesToTap(const QStringList &rows)
{
    QStringList names = rows;
    names.removeDuplicates();
    return names.mid(0, mostTapped);
}

void tapAndConfirm(IsolatedWindow &window, const QStringList &names)
{
    QStringList wanted = names;
    for (int row = 0; row < window.operations()->rowCount() && !wanted.isEmpty(); ++row) {
        if (wanted.removeAll(window.operations()->item(row)->text()) > 0)
            window.tap(row);
    }
    window.confirm();
}

Events runBatch(IsolatedWindow &window)
{
    Events events;
    myThread *worker = &window.worker();
    if (worker->suspended)
        return events;
    QObject::connect(worker, &myThread::signalStateChange, &window.widget(), [&events](const QString &name) {
        if (!name.isEmpty())
            events += "start " + name;
    });
    QObject::connect(worker, &myThread::signaltsCalibrate, &window.widget(),
                     [&events](bool shown) { events += shown ? "show" : "hide"; });
    window.runBatch([&events](const QString &line) {
        events += "run " + line;
        return 0;
    });
    return events;
}

WindowSide driveWindow(const QString &path)
{
    IsolatedWindow window;
    window.read(path);
    WindowSide side;
    if (const QStandardItemModel *operations = window.operations()) {
        side.offersList = true;
        for (int row = 0; row < operations->rowCount(); ++row)
            side.rows += operations->item(row)->text();
        if (!side.rows.isEmpty())
            tapAndConfirm(window, namesToTap(side.rows));
    }
    if (window.runList().size() <= 4 * mostTapped)
        side.events = runBatch(window);
    else
        for (const _system_CMD &record : qAsConst(window.runList()))
            side.rows += record.name; // too long to be run in reasonable time; at least what it consists of
    return side;
}

/// The printed side.
struct PrintedSide {
    QString mode;
    QVector<QJsonObject> operations;
    QVector<QJsonObject> closing;
};

QVector<QJsonObject> objects(const QJsonValue &array)
{
    QVector<QJsonObject> found;
    for (const auto &value : array.toArray())
        found.append(value.toObject());
    return found;
}

PrintedSide printedSide(const QString &path, const Screen &screen)
{
    Medium medium;
    medium.catalogue = path;
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    medium.bytes = file.readAll();
    const Verdict verdict = readVerdict(path);
    const Findings findings = findAll(medium, IniFile(medium.bytes), verdict, screen);
    // Escaped, because Qt leaves a byte-order mark in front of a text out.
    const QByteArray printed = jsonReport(medium, verdict, findings).replace("\xef\xbb\xbf", "\\ufeff");
    const QJsonObject report = QJsonDocument::fromJson(printed).object();
    return {report["mode"].toString(), objects(report["operations"]), objects(report["closing"])};
}

/// What the report says that a batch of these does.
void expect(const QJsonObject &operation, Events *events)
{
    const QString name = operation["name"].toString();
    if (!name.isEmpty())
        *events += "start " + name;
    const bool calibration = operation["calibration"].toBool();
    if (calibration)
        *events += "hide";
    if (!operation["skipped"].toBool()) {
        *events += "run " + operation["command"].toString();
        if (calibration)
            *events += "show";
    }
}

Events expectedEvents(const PrintedSide &printed)
{
    Events events;
    QStringList names;
    for (const QJsonObject &operation : printed.operations)
        names += operation["name"].toString();
    const QStringList tapped = namesToTap(names);
    QStringList done;
    for (const QJsonObject &operation : printed.operations) {
        const QString name = operation["name"].toString();
        if (printed.mode == "selection" && (!tapped.contains(name) || done.contains(name)))
            continue;
        done += name;
        expect(operation, &events);
    }
    if (printed.mode == "selection" && !printed.operations.isEmpty()) {
        for (const QJsonObject &operation : printed.closing)
            expect(operation, &events);
    }
    return events;
}

QString differenceInWords(const PrintedSide &printed)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
    for (const QJsonObject &operation : printed.operations + printed.closing) {
        if (operation["skipped"].toBool())
            continue;
        const QStringList words = QProcess::splitCommand(operation["command"].toString());
        QStringList said;
        for (const auto &argument : operation["arguments"].toArray())
            said += argument.toString();
        if (words.value(0) != operation["program"].toString() || words.mid(1) != said)
            return "the words of: " + operation["command"].toString();
    }
#else
    Q_UNUSED(printed)
#endif
    return QString();
}

QString difference(const PrintedSide &printed, const WindowSide &window)
{
    QStringList names;
    for (const QJsonObject &operation : printed.operations)
        names += operation["name"].toString();
    QStringList rows;
    for (const QString &row : window.rows)
        rows += carried(row);
    if (window.offersList != (printed.mode == "selection"))
        return "the mode: " + printed.mode;
    if ((window.offersList || !rows.isEmpty()) && rows != names)
        return "the operations: " + rows.join('|') + " but printed " + names.join('|');
    Events events;
    for (const QString &event : window.events)
        events += carried(event);
    const bool wasRun = rows.size() <= 4 * mostTapped || window.offersList;
    if (wasRun && events != expectedEvents(printed))
        return "the batch: " + events.join('|') + " but printed " + expectedEvents(printed).join('|');
    return differenceInWords(printed);
}

/// The checker's own reading of the file, which only finds places in it, against the reader's.
QString differenceInScanner(const QByteArray &bytes, const QString &path)
{
    QSettings settings(path, QSettings::IniFormat);
    QMap<QString, const IniEntry *> last;
    const IniFile file(bytes);
    for (const IniEntry &entry : file.entries())
        last.insert(entry.path(), &entry);
    for (auto entry = last.begin(); entry != last.end(); ++entry) {
        const QString &key = entry.key();
        const QString text = entry.value()->value.text;
        if (key.contains("//") || key.startsWith('/') || key.endsWith('/') || key.isEmpty())
            continue; // the reader cannot be asked for these
        const QVariant value = settings.value(key);
        const bool isList = value.type() == QVariant::StringList || value.type() == QVariant::List;
        if (!settings.contains(key))
            return "the scanner finds a key that the reader does not: " + key;
        if (entry.value()->value.comma < 0 && !isSpecialValue(text) && (isList || value.toString() != text))
            return "the scanner reads " + key + " as " + text + ", the reader as " + value.toString();
    }
    return QString();
}

QByteArray write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%s cannot be written", qPrintable(path));
    return bytes;
}

void silent(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

int compareAll(unsigned int seed, int catalogues)
{
    Generator generator(seed);
    const Screen screen;
    const QTemporaryDir folder;
    int operations = 0;
    int ran = 0;
    int modes[3] = {};
    for (int i = 0; i < catalogues; ++i) {
        const bool big = i % smallOnesPerBig == smallOnesPerBig / 2;
        const QString name = folder.filePath(QString::number(i));
        const QByteArray bytes =
            write(name + "-a", big ? generator.bigCatalogue(bigOne) : generator.catalogue(generator.size()));
        write(name + "-b", bytes);
        write(name + "-c", bytes); // a file that was read before is served from the reader's memory
        const PrintedSide printed = printedSide(name + "-a", screen);
        const WindowSide window = driveWindow(name + "-b");
        QString found = difference(printed, window);
        if (found.isEmpty())
            found = differenceInScanner(bytes, name + "-c");
        if (!found.isEmpty()) {
            std::printf("seed %u, catalogue %d: different in %s\n----\n%s----\n", seed, i, qPrintable(found),
                        bytes.left(4000).constData());
            return 1;
        }
        for (const char *suffix : {"-a", "-b", "-c"})
            QFile::remove(name + suffix);
        operations += printed.operations.size();
        ran += static_cast<int>(window.events.filter(QRegExp("^run ")).size());
        ++modes[printed.mode == "selection" ? 0 : printed.mode == "direct" ? 1 : 2];
    }
    std::printf(
        "seed %u: %d catalogues (%d selection, %d direct, %d neither), %d operations, %d command lines run by "
        "the worker, no difference\n",
        seed, catalogues, modes[0], modes[1], modes[2], operations, ran);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "Usage: differential SEED CATALOGUES\n");
        return 64;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(silent);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QApplication application(argc, argv);
    return compareAll(static_cast<unsigned int>(QByteArray(argv[1]).toUInt()), QByteArray(argv[2]).toInt());
}
