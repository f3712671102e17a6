// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Holds mending to what it promises, over generated catalogues or over media.
//
// Usage: mending SEED CATALOGUES [FAULT]
//        mending --media FOLDER
//
// After at most four rounds nothing is left that could be put right, a second run changes nothing, and the
// patch makes the one text of the other. In every round each operation that the window had it has again, in
// the same order, with the same name and the same command, but for those lines whose findings are about just
// that. What a listed key is to the window is asked of a settings reader here, not of the checker's own.
//
// Prints the numbers; exit code 1 and the catalogue at the first broken promise. FAULT is one that is made on
// purpose, in the place of the guard: "loses", "renames", "moves", "rewords", "adds", "never-ends", "leaves"
// and "ends-otherwise". "guarded-loses" is made, too, but the guard is there and has to refuse it; so it is
// for the two before the last, which it has nothing to do with.

#include "mending/mending.h"
#include "common/failure.h"
#include "generator.h"
#include "mending/diff.h"
#include "reading/initext.h"
#include "reading/medium.h"
#include "window/screen.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextCodec>

#include <algorithm>
#include <cstdio>

namespace
{

constexpr int mostRounds = 4;
constexpr int bigOne = 2000;
constexpr int smallOnesPerBig = 500;

/// What findings are about, as the manual has it: these change a name, these a command, on their line.
const QStringList namesOfLine = {"nul",
                                 "invisible-character",
                                 "foreign-separator",
                                 "raw-utf8",
                                 "backslash",
                                 "escape-runs-on",
                                 "quotes-eaten",
                                 "unquoted-comma",
                                 "unquoted-semicolon",
                                 "unbalanced-quotes"};
const QStringList commandsOfLine = {
    "single-word-sh",      "shell-pipe",          "shell-chain",   "shell-redirect",   "shell-variable",
    "shell-glob",          "shell-tilde",         "shell-quote",   "path-capitals",    "shell-script-split",
    "fat-not-executable",  "assignment-in-front", "relative-path", "calibration-name", "mount-directory",
    "foreign-punctuation", "not-executable",      "needless-sudo", "shell-builtin",    "shell-comment",
    "shell-escape"};
const QStringList everyLine = {"bom", "line-ends"}; // how all of them are read
const QStringList restoring = {"invisible-character",
                               "foreign-separator",
                               "key-before-section",
                               "bom",
                               "nul",
                               "unbalanced-quotes",
                               "hash-comment",
                               "ignored-line",
                               "nested-section",
                               "unquoted-comma",
                               "unquoted-semicolon",
                               "wrong-capitals",
                               "percent-in-key",
                               "duplicate-name",
                               "blank-after-comma",
                               "empty-item"};
/// A line that comes back may be the one on how a batch ends.
const QStringList endings = restoring + QStringList{"endgame-value"};

/// An operation, with the key that the list has for it.
struct Keyed {
    QString key;
    Operation operation;
};

struct Totals {
    int catalogues = 0;
    int broken = 0; ///< of them, those in which something could be put right
    int rounds[mostRounds + 1] = {};
    int operations = 0;
    int restored = 0;
    int renamed = 0;
    int reworded = 0;
    int refused = 0;
    int left = 0;
    QMap<QString, int> done;
};

[[noreturn]] void die(const QString &what)
{
    std::fprintf(stderr, "%s\n", qPrintable(what));
    std::exit(70);
}

class Proof
{
public:
    explicit Proof(const QString &plantedFault)
        : fault(plantedFault)
    {
    }

    /// Why the promise is broken; empty when it is kept.
    QString hold(const Medium &medium)
    {
        const QStringList unguarded = {"loses", "renames", "moves", "rewords", "adds", "ends-otherwise"};
        const Guard nobody = [](const Verdict &, const Verdict &, const Round &) { return QString(); };
        const Mended mended =
            mend(medium, finder(fault), unguarded.contains(fault) ? nobody : Guard(operationLost));
        count(mended);
        if (mended.rounds.size() > mostRounds) {
            QString told = "more than four rounds";
            for (const Round &round : mended.rounds)
                told += "\n" + idsOf(round.done).join(' ') + "\n"
                        + QString::fromUtf8(unifiedDiff("round", round.before, round.after));
            return told;
        }
        for (const Round &round : mended.rounds) {
            const QString broken = holdRound(round);
            if (!broken.isEmpty())
                return broken + " by " + idsOf(round.done).join(' ') + "\n"
                       + QString::fromUtf8(unifiedDiff("round", round.before, round.after));
        }
        return holdOutcome(medium, mended);
    }

    Totals totals;

private:
    /// Everything that is wrong, and one mending more where a fault is planted.
    Finder finder(const QString &planted)
    {
        return [this, planted](const Medium &medium, const IniFile &file, const Verdict &verdict, Keep keep) {
            Findings findings = findAll(medium, file, verdict, screen, keep);
            if (planted == "leaves")
                findings.list.erase(
                    std::remove_if(findings.list.begin(), findings.list.end(),
                                   [](const Finding &finding) { return finding.id == "endgame-value"; }),
                    findings.list.end());
            else if (!planted.isEmpty())
                plant(planted.section('-', planted.startsWith("guarded") ? 1 : 0), medium, file, &findings);
            return findings;
        };
    }

    static void plant(const QString &planted, const Medium &medium, const IniFile &file, Findings *findings)
    {
        const IniEntry *list = nullptr;
        const IniEntry *command = nullptr;
        for (const IniEntry &entry : file.entries()) {
            if (entry.path() == "system/CMD_List" && entry.value.text.startsWith("k0,k1,"))
                list = &entry;
            if (entry.path() == "CMD/k0" && entry.value.text.startsWith("Operation", Qt::CaseInsensitive))
                command = &entry;
        }
        if (!list || !command)
            return;
        const int name = command->value.at.first();
        const int sign = command->value.text.indexOf('@');
        const int at = sign < 0 ? -1 : command->value.at.value(sign + 1, -1);
        Edit edit{-1, -1, {}};
        if (planted == "loses")
            edit = {command->begin, command->begin, ";"};
        else if (planted == "renames")
            edit = {name, name + 1, "o"};
        else if (planted == "rewords" && at > 0)
            edit = {at, at + 1, "X"};
        else if (planted == "moves")
            edit = {list->value.at.first(), list->value.at.first() + 5, "k1,k0"};
        else if (planted == "adds")
            edit = {list->value.at.first(), list->value.at.first(), "k1,"};
        else if (planted == "never-ends")
            edit = {name, name + 9, medium.bytes.mid(name, 9) == "Operation" ? "OPERATION" : "Operation"};
        else if (planted == "ends-otherwise" && !medium.bytes.contains("ENDGAME"))
            edit = {list->begin, list->begin, "ENDGAME=false\n"};
        // The name of a finding that may change nothing, but for the one that is not to end.
        const char *id = planted == "never-ends" ? "raw-utf8" : "duplicate-key";
        if (edit.begin >= 0 && medium.bytes.mid(edit.begin, edit.end - edit.begin) != edit.text)
            findings->list.append({id,
                                   Severity::Warning,
                                   medium.catalogue,
                                   file.position(edit.begin),
                                   "planted",
                                   "planted",
                                   {edit},
                                   true,
                                   false});
    }

    /// Of what its edits put right.
    static QStringList idsOf(const Finding &finding)
    {
        return QStringList(finding.id) + finding.also;
    }

    static QStringList idsOf(const QVector<Finding> &findings)
    {
        QStringList ids;
        for (const Finding &finding : findings)
            ids += idsOf(finding);
        ids.removeDuplicates();
        return ids;
    }

    QString fresh(const QByteArray &bytes)
    {
        const QString path = folder.filePath(QString::number(++copies));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            die(path + " cannot be written");
        return path;
    }

    /// The window's operations with their keys: it leaves out what has no value, in the order of the list.
    QVector<Keyed> keyed(const QByteArray &bytes, Verdict *verdict)
    {
        const QString path = fresh(bytes);
        *verdict = readVerdict(path);
        const QString again = fresh(bytes); // the window's settings are not to answer
        QVector<Keyed> found;
        {
            const QSettings settings(again, QSettings::IniFormat);
            const char *list =
                settings.contains("/system/CMD_List") ? "/system/CMD_List" : "/system/CMD_Type";
            QVector<Operation> operations = verdict->operations;
            for (const QString &item : settings.value(list).toString().split(',')) {
                const bool counts = !item.isEmpty() && !settings.value("/CMD/" + item).toString().isEmpty();
                if (counts && found.size() < operations.size())
                    found.append({item, operations.at(found.size())});
                else if (counts)
                    found.append({item, {}});
            }
        }
        QFile::remove(path);
        QFile::remove(again);
        if (found.size() != verdict->operations.size())
            die("the keys of a catalogue are not those of the window");
        return found;
    }

    /// The names of the operations on whose line a finding of these was put right. Where several have one
    /// name, the window has the command of the last of them for all.
    static QSet<QString> namesAbout(const Round &round, const QVector<Keyed> &operations,
                                    const QStringList &ids)
    {
        QSet<int> lines;
        bool isAll = false;
        for (const Finding &finding : round.done) {
            isAll = isAll || everyLine.contains(finding.id);
            for (const QString &id : idsOf(finding)) {
                if (ids.contains(id))
                    lines.insert(finding.at.line);
            }
        }
        const IniFile file(round.before);
        QHash<QString, bool> isAbout;
        for (const IniEntry &entry : file.entries()) {
            const int first = file.position(entry.begin).line;
            const int last = file.position(entry.end).line;
            isAbout[entry.path()] = std::any_of(lines.begin(), lines.end(),
                                                [&](int line) { return line >= first && line <= last; });
        }
        QSet<QString> names;
        for (const Keyed &one : operations) {
            if (isAll || isAbout.value("CMD/" + one.key))
                names.insert(one.operation.name);
        }
        return names;
    }

    /// As the key is called after the round: without its blanks where that was put right.
    static QString keyAfter(const Round &round, const QVector<Keyed> &now, const QString &key)
    {
        const bool isStill =
            std::any_of(now.begin(), now.end(), [&key](const Keyed &one) { return one.key == key; });
        const bool isRenamed = !isStill && idsOf(round.done).contains("space-in-key");
        return isRenamed ? QString(key).replace(' ', '_') : key;
    }

    QString holdRound(const Round &round)
    {
        Verdict before;
        Verdict after;
        const QVector<Keyed> old = keyed(round.before, &before);
        const QVector<Keyed> now = keyed(round.after, &after);
        mayBeRenamed = namesAbout(round, old, namesOfLine);
        mayBeReworded = namesAbout(round, old, namesOfLine + commandsOfLine);
        const QStringList ids = idsOf(round.done);
        const auto isOneOf = [&ids](const QStringList &others) {
            return std::any_of(others.begin(), others.end(),
                               [&](const QString &id) { return ids.contains(id); });
        };
        if (before.mode != after.mode && before.mode != Verdict::Unrecognised)
            return "another mode";
        if (before.mode == Verdict::Selection && before.endGame != after.endGame && !isOneOf(endings))
            return "another end of the batch";
        const bool mayDrop = isOneOf({"duplicate-name", "blank-after-comma", "empty-item"});
        QSet<QString> seen;
        int at = 0;
        int kept = 0;
        for (const Keyed &one : old) {
            const QString key = keyAfter(round, now, one.key);
            if (mayDrop && before.mode == Verdict::Selection && seen.contains(key))
                continue;
            seen.insert(key);
            while (at < now.size() && now.at(at).key != key)
                ++at;
            if (at == now.size())
                return QString("an operation that is lost, or elsewhere: %1 (%2)")
                    .arg(one.operation.name, one.key);
            const QString broken = holdOperation(one, now.at(at));
            if (!broken.isEmpty())
                return broken;
            ++at;
            ++kept;
        }
        totals.restored += now.size() - kept;
        return now.size() > kept && !isOneOf(restoring) ? "an operation that was not there" : QString();
    }

    QString holdOperation(const Keyed &old, const Keyed &now)
    {
        const Operation &was = old.operation;
        const Operation &is = now.operation;
        if (was.name != is.name) {
            ++totals.renamed;
            if (!mayBeRenamed.contains(was.name))
                return QString("a name that is another: %1 (was %2, key %3)").arg(is.name, was.name, old.key);
        }
        if (was.command != is.command) {
            ++totals.reworded;
            if (!mayBeReworded.contains(was.name))
                return QString("a command that is another: %1 (was %2, key %3)")
                    .arg(is.command, was.command, old.key);
        }
        return QString();
    }

    QString holdOutcome(const Medium &medium, const Mended &mended)
    {
        Medium again = medium;
        again.bytes = mended.catalogue;
        const Verdict verdict = readVerdict(again.catalogue = fresh(mended.catalogue));
        const Findings findings = findAll(again, IniFile(again.bytes), verdict, screen, Keep::Mendable);
        int mendable = 0;
        for (const Finding &finding : findings.list)
            mendable += finding.mendable && finding.file == again.catalogue ? 1 : 0;
        // Those that were refused are found again, for their author.
        if (mendable > mended.refused.size())
            return "what could be put right is left: " + idsOf(findings.list).join(' ');
        const Mended second = mend(again, finder(QString()), operationLost);
        QFile::remove(again.catalogue);
        if (second.catalogue != mended.catalogue)
            return "a second run changes something";
        if (patched(medium.bytes, unifiedDiff("a", medium.bytes, mended.catalogue)) != mended.catalogue)
            return "a patch that is not for this text";
        return QString();
    }

    /// The text with the patch, as strictly as a patch can be taken.
    static QByteArray patched(const QByteArray &before, const QByteArray &diff)
    {
        if (diff.isEmpty())
            return before;
        QByteArray text;
        int at = 0;   // in `before`
        int line = 0; // the number of lines in front of that
        QList<QByteArray> lines = diff.split('\n').mid(2);
        for (int i = 0; i + 1 < lines.size(); ++i) {
            const QByteArray &one = lines.at(i);
            const QByteArray feed = lines.at(i + 1).startsWith('\\') ? "" : "\n";
            if (one.startsWith("@@ -")) {
                const QList<QByteArray> range = one.mid(4, one.indexOf(' ', 4) - 4).split(',');
                const int start = range.at(0).toInt() - (range.value(1) == "0" ? 0 : 1);
                for (; line < start; ++line) {
                    const int next = before.indexOf('\n', at) + 1;
                    text += before.mid(at, next - at);
                    at = next;
                }
            } else if (one.startsWith('+')) {
                text += one.mid(1) + feed;
            } else if (!one.startsWith('\\')) {
                const QByteArray stays = one.mid(1) + feed;
                if (before.mid(at, stays.size()) != stays)
                    return "a line that is not there";
                text += one.startsWith(' ') ? stays : QByteArray();
                at += stays.size();
                ++line;
            }
        }
        return text + before.mid(at);
    }

    void count(const Mended &mended)
    {
        ++totals.catalogues;
        totals.broken += mended.rounds.isEmpty() ? 0 : 1;
        ++totals.rounds[qMin(mended.rounds.size(), mostRounds)];
        totals.operations += mended.verdict.operations.size();
        totals.refused += mended.refused.size();
        totals.left += mended.left.list.size();
        for (const Finding &finding : mended.done)
            ++totals.done[finding.id];
    }

    const QString fault;
    QSet<QString> mayBeRenamed; ///< in the round that is held
    QSet<QString> mayBeReworded;
    const Screen screen;
    const QTemporaryDir folder;
    int copies = 0;
};

void print(const Totals &totals)
{
    int done = 0;
    QStringList kinds;
    for (auto id = totals.done.begin(); id != totals.done.end(); ++id) {
        done += id.value();
        kinds.append(QString("%1 %2").arg(id.key()).arg(id.value()));
    }
    std::printf(
        "%d catalogues, %d of them put right: in one round %d, two %d, three %d, four %d\n"
        "%d findings put right, %d left to the author, %d refused\n"
        "%d operations, %d of them restored, %d with the name and %d with the command that was meant; none lost, "
        "renamed or moved otherwise\n%s\n",
        totals.catalogues, totals.broken, totals.rounds[1], totals.rounds[2], totals.rounds[3],
        totals.rounds[4], done, totals.left, totals.refused, totals.operations, totals.restored,
        totals.renamed, totals.reworded, qPrintable(kinds.join(", ")));
}

int fail(const QString &where, const QString &broken, const QByteArray &bytes)
{
    std::printf("%s: %s\n----\n", qPrintable(where), qPrintable(broken));
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(qMin(bytes.size(), 100000)), stdout);
    return 1;
}

int holdGenerated(unsigned int seed, int catalogues, const QString &fault)
{
    Generator generator(seed);
    Proof proof(fault);
    const QTemporaryDir folder;
    for (int i = 0; i < catalogues; ++i) {
        const bool big = i % smallOnesPerBig == smallOnesPerBig / 2;
        Medium medium;
        medium.catalogue = folder.filePath(QString::number(i));
        medium.bytes = big ? generator.bigCatalogue(bigOne) : generator.catalogue(generator.size());
        QFile file(medium.catalogue);
        if (!file.open(QIODevice::WriteOnly) || file.write(medium.bytes) != medium.bytes.size())
            die(medium.catalogue + " cannot be written");
        file.close();
        const QString broken = proof.hold(medium);
        file.remove();
        if (!broken.isEmpty())
            return fail(QString("seed %1, catalogue %2").arg(seed).arg(i), broken, medium.bytes);
    }
    std::printf("seed %u: ", seed);
    print(proof.totals);
    return proof.totals.broken == 0;
}

int holdMedia(const QString &folder)
{
    Proof proof((QString()));
    for (const QString &name : QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        Medium medium;
        Failure failure;
        if (!openMedium(folder + '/' + name, &medium, &failure))
            continue; // a folder that is none
        const QString broken = proof.hold(medium);
        if (!broken.isEmpty())
            return fail(name, broken, medium.bytes);
    }
    print(proof.totals);
    return proof.totals.catalogues == 0;
}

void silent(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "Usage: mending SEED CATALOGUES [FAULT] | mending --media FOLDER\n");
        return 64;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(silent);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QApplication application(argc, argv);
    if (QByteArray(argv[1]) == "--media")
        return holdMedia(QFile::decodeName(argv[2]));
    return holdGenerated(static_cast<unsigned int>(QByteArray(argv[1]).toUInt()), QByteArray(argv[2]).toInt(),
                         QString::fromLocal8Bit(argc > 3 ? argv[3] : ""));
}
