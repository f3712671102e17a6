// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Writes catalogues with commands as people write them for a terminal, mends them, and prints what the tool
// would run before and after, for as-at-a-terminal to run all of it.
//
// Usage: meaning_cases SEED COUNT [FAULT]
//
// One JSON object a line. FAULT is made on purpose in what mending has come to: "cut", "remark", "quoted",
// "unquoted", "behind", "needless", "silent", "loses" and "step".

#include "mending/mending.h"
#include "reading/commandline.h"
#include "reading/initext.h"
#include "reading/medium.h"
#include "window/screen.h"

#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTextCodec>

#include <cstdio>
#include <random>

namespace
{

const char lastName[] = "Last";

/// A text for a terminal, and how it is written in the catalogue.
struct Case {
    QString text;
    QByteArray line;
    QByteArray lineEnd;
    QString writing;
};

class Writer
{
public:
    explicit Writer(unsigned int seed)
        : random(seed)
    {
    }

    Case next()
    {
        Case one;
        one.text = text();
        one.lineEnd = oneIn(6) ? "\r\n" : "\n";
        write(&one);
        return one;
    }

private:
    int below(int limit)
    {
        return static_cast<int>(random() % static_cast<unsigned int>(limit));
    }

    bool oneIn(int chances)
    {
        return below(chances) == 0;
    }

    QString oneOf(const QStringList &choices)
    {
        return choices.at(below(choices.size()));
    }

    QString program()
    {
        return oneOf({"cp", "cp", "cp -r", "mv", "tar xf", "ls", "chmod 755", "sed -i", "grep", "flash",
                      "sync", "fail", "echo"});
    }

    QString plainWord()
    {
        return oneOf({"a", "b", "-f", "x.bin", "dir/y", "/mnt/upgrade/app", "/opt", "n=1", "50%", "k:v",
                      "a#b", "x,y", "{}", "+5", "v1.2", "-o", "--all", "^a",
                      QString::fromUtf8("\u00e4\u4e2d")});
    }

    QString word()
    {
        if (!oneIn(3))
            return plainWord();
        if (oneIn(4))
            return oneOf({"a\\ b", "a\\;b", "\\*", "\\$A", "\\(", "a\\\"b", "\"a\\\"b c\"", "\"cost \\$5\"",
                          "'it'\\''s'", "\"a\\\\b\""});
        return oneOf({"\"a b\"",
                      "'a b'",
                      "\"x.bin\"",
                      "'x.bin'",
                      "'*'",
                      "\"*.bin\"",
                      "'$A'",
                      "\"$A\"",
                      "''",
                      "\"\"",
                      "\"it's\"",
                      "'say \"x y\"'",
                      "\"a;b\"",
                      "'a | b'",
                      "'a;b'",
                      "a\"b c\"d",
                      "-n\"a b\"",
                      "-n'a b'",
                      "$A",
                      "\"$B c\"",
                      "${A}",
                      "$B",
                      "*.bin",
                      "?.bin",
                      "[xy].bin",
                      "~/x",
                      "$(cat x.bin)",
                      "`cat x.bin`",
                      "\"$(cat x.bin)\"",
                      "s/a/b/",
                      "'s/a b/c d/'",
                      "\"a, b\"",
                      "'a, b'",
                      "\"a @ b\""});
    }

    QString simple(bool plain = false)
    {
        QString line = program();
        for (int i = below(4); i > 0; --i)
            line += oneOf({" ", " ", " ", "  "}) + (plain ? plainWord() : word());
        return line;
    }

    QString chain(bool plain = false)
    {
        QString line = simple(plain);
        for (int i = 1 + below(2); i > 0; --i)
            line += oneOf({"; ", ";", " ; ", " && ", "&&", " || "}) + simple(plain);
        return line;
    }

    QString called()
    {
        const QString shell = oneOf({"sh -c ", "sh -c ", "sh -ec ", "env A=2 sh -c "});
        const QString script = oneIn(2) ? chain(true) : simple(true);
        switch (below(6)) {
        case 0:
            return shell + '\'' + script + '\'';
        case 1:
            return shell + '\''
                   + oneOf({"cp $1 $2", "for f in *.bin; do cp $f b; done", "cp \"a b\" c; sync",
                            "X=1; cp $X b", "cp \"$A\" *.bin", "cd dir && ls", "cp \"it is\" `echo x`"})
                   + '\'' + oneOf({"", "", " sh a b"});
        case 2:
            return shell + "\"cp \\\"a b\\\" c" + oneOf({"", "; sync", " && echo \\\"x y\\\""}) + '"';
        case 3:
            return shell + "\""
                   + oneOf({"cp $B b", "X=1; cp \\$X b", "for f in *.bin; do cp \\$f b; done",
                            "cp 'a b' c; sync", "cp *.bin b"})
                   + '"';
        default:
            return shell + '"' + script + '"';
        }
    }

    QString construct()
    {
        const QString one = simple();
        return oneOf({"for f in *.bin; do cp $f dir; done",
                      "for f in a b;do " + one + ";done",
                      "if [ -f x.bin ]; then " + one + "; fi",
                      "if fail; then sync; else " + one + "; fi",
                      "while fail; do " + one + "; done",
                      "case $A in one) " + one + ";; *) sync;; esac",
                      "(" + one + ")",
                      "(cd dir; ls); ls",
                      "{ " + one + "; }",
                      "cd dir; " + one,
                      "cd dir && ls *",
                      "export X=1; cp $X b",
                      "X=1; cp $X b",
                      "X=1; Y=2; cp $X$Y",
                      "set -e; fail; " + one,
                      "umask 022 && " + one,
                      "[ -f x.bin ] && " + one,
                      "test -f none || " + one,
                      "! fail",
                      ". ./lib.sh",
                      ". ./lib.sh; fromlib",
                      "eval \"cp a; sync\"",
                      "eval 'cp $A'",
                      "exec cp a b",
                      "X='1 2'; cp \"$X\" b",
                      "f() { cp $1; }; f a",
                      "true && " + one,
                      "exit 3"});
    }

    QString text()
    {
        switch (below(14)) {
        case 0:
        case 1:
            return simple();
        case 2:
            return chain();
        case 3:
            return simple() + oneOf({" | ", "|", " | grep x | "}) + "cat";
        case 4:
            return simple()
                   + oneOf({" > out", " >> out", " >out 2>&1", " 2>/dev/null", " < x.bin", " > \"o t\""});
        case 5:
        case 6:
            return construct();
        case 7:
            return oneOf({"LANG=C ", "X=1 ", "X='1 2' ", "X=\"1 2\" ", "env X=1 ", "X=1 LANG=C "}) + simple();
        case 8:
        case 9:
            return called();
        case 10:
            return called() + oneOf({"; sync", " && sync", " | cat", " > out", "; echo \"x y\"", " || sync"});
        case 11:
            return oneOf({"sync; ", "cp a b && ", "fail || ", "echo \"x y\" | "}) + called();
        case 12:
            return oneOf({"find . -name '*.bin' -exec rm {} \\;", "find . -name \"*.bin\" -exec rm {} \\;",
                          "find . -name *.bin -exec rm {} \\;", "refresh", "refresh a",
                          "find . \\( -name a \\)", "find . -name '*.bin' | xargs rm",
                          "find . -exec rm {} ';'"});
        default:
            return (oneIn(2) ? simple() : chain())
                   + oneOf({" # copies the file", " &", "&", " & wait", " ;", ";", " #"});
        }
    }

    QByteArray escapedText(const QString &value, bool backslashes)
    {
        QByteArray bytes = value.toUtf8();
        if (backslashes)
            bytes.replace('\\', "\\\\");
        return bytes.replace('"', "\\\"");
    }

    /// An escape that the settings reader knows as well may be either's.
    static bool isEitherWay(const QString &text)
    {
        const bool isOfShell = text.contains("-c \"") || text.contains("-ec \"");
        return (text.contains("\\\"") && !isOfShell) || text.contains("\\\\") || text.contains("\\x");
    }

    void write(Case *one)
    {
        const QString name = oneOf({"Copy", "Copy", "Copy files", "Copy 2"});
        const QString whole = name + '@' + one->text;
        const QByteArray raw = whole.toUtf8();
        const QByteArray remark = oneOf({" ; copies the file", " ; a note of its own", " ; Update 2",
                                         "  ; the old one is lost", " ; and then some"})
                                      .toUtf8();
        int way = below(12);
        if (isEitherWay(one->text) && way != 3)
            way = 2;
        if (way == 6 && (one->text.contains('"') || one->text.contains('\\')))
            way = 1;
        switch (way) {
        case 0:
        case 7:
            one->writing = "bare";
            one->line = raw;
            break;
        case 1:
        case 8:
            one->writing = "in quotation marks";
            one->line = '"' + raw + '"';
            break;
        case 2:
        case 9:
            one->writing = "well";
            one->line = '"' + escapedText(whole, true) + '"';
            break;
        case 3:
            one->writing = "with escaped marks";
            one->line = '"' + escapedText(whole, isEitherWay(one->text)) + '"';
            break;
        case 4:
            one->writing = "not closed";
            one->line = '"' + raw;
            break;
        case 5:
            one->writing = "not opened";
            one->line = raw + '"';
            break;
        case 6:
            one->writing = "with marks around the command";
            one->line = name.toUtf8() + "@\"" + one->text.toUtf8() + '"';
            break;
        case 10:
            one->writing = "well, with a remark";
            one->line = '"' + escapedText(whole, true) + '"' + remark;
            break;
        default:
            one->writing = "bare, with a remark";
            one->line = raw + remark;
        }
        // A long one goes on behind the end of a line, as at a terminal.
        const int blank = one->line.indexOf(' ', one->line.size() / 2);
        const bool isFree = blank > 0 && !one->text.contains('"') && !one->text.contains('\'')
                            && !one->text.contains('#') && !one->line.contains('\\') && way != 11 && way != 10
                            && !one->line.left(blank).contains(';');
        if (isFree && oneIn(8)) {
            one->writing += ", over two lines";
            one->line.insert(blank, " \\" + one->lineEnd);
        }
    }

    std::mt19937 random;
};

QJsonObject told(const Operation *operation)
{
    if (!operation)
        return {{"runs", false}};
    QJsonArray words;
    for (const QString &word : operation->words)
        words.append(word);
    return {
        {"runs", !operation->skipped && !words.isEmpty()}, {"words", words}, {"command", operation->command}};
}

class Maker
{
public:
    explicit Maker(const QString &plantedFault)
        : fault(plantedFault)
    {
    }

    QJsonObject make(const Case &one)
    {
        Medium medium;
        const QByteArray end = one.lineEnd;
        medium.bytes = "[system]" + end + "CMD_List=\"b,z\"" + end + "[CMD]" + end + "b=" + one.line + end
                       + "z=\"" + lastName + "@sync last\"" + end;
        medium.catalogue = fresh(medium.bytes);
        const Finder finder = [this](const Medium &its, const IniFile &file, const Verdict &verdict,
                                     Keep keep) { return findAll(its, file, verdict, screen, keep); };
        const Verdict before = readVerdict(medium.catalogue);
        const Findings found = finder(medium, IniFile(medium.bytes), before, Keep::Mendable);
        Mended mended = mend(medium, finder, operationLost);
        plant(one, before, &mended.verdict);
        QJsonObject object{{"text", one.text},
                           {"written", QString::fromUtf8(one.line)},
                           {"writing", one.writing},
                           {"mended", QString::fromUtf8(mended.catalogue)},
                           {"before", told(operationIn(before))},
                           {"after", told(operationIn(mended.verdict))},
                           {"last", hasLast(mended.verdict) || !hasLast(before)},
                           {"found", idsOf(found)},
                           {"left", idsOf(mended.left)}};
        QJsonArray steps;
        for (const Finding &finding : found.list) {
            if (finding.mendable && finding.file == medium.catalogue)
                steps.append(step(medium, finding));
        }
        object.insert("steps", steps);
        QFile::remove(medium.catalogue);
        return object;
    }

private:
    QString fresh(const QByteArray &bytes)
    {
        const QString path = folder.filePath(QString::number(++copies));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("%s cannot be written", qPrintable(path));
        return path;
    }

    /// What becomes of the catalogue with this one line put in.
    QJsonObject step(const Medium &medium, const Finding &finding)
    {
        Medium after = medium;
        after.bytes = edited(medium.bytes, finding.edits);
        after.catalogue = fresh(after.bytes);
        Verdict verdict = readVerdict(after.catalogue);
        if (fault == "step" && operationIn(verdict))
            change(&verdict, operationIn(verdict)->command + " z");
        const Findings found = findAll(after, IniFile(after.bytes), verdict, screen, Keep::Mendable);
        QFile::remove(after.catalogue);
        return {{"id", finding.id},
                {"right", finding.right},
                {"after", told(operationIn(verdict))},
                {"left", idsOf(found)}};
    }

    QJsonArray idsOf(const Findings &findings) const
    {
        QJsonArray ids;
        for (const Finding &finding : findings.list) {
            if (fault != "silent")
                ids.append(finding.id);
        }
        return ids;
    }

    static const Operation *operationIn(const Verdict &verdict)
    {
        for (const Operation &operation : verdict.operations) {
            if (operation.name != lastName)
                return &operation;
        }
        return nullptr;
    }

    static bool hasLast(const Verdict &verdict)
    {
        for (const Operation &operation : verdict.operations) {
            if (operation.name == lastName && operation.command == "sync last")
                return true;
        }
        return false;
    }

    static void change(Verdict *verdict, const QString &command)
    {
        for (Operation &operation : verdict->operations) {
            if (operation.name == lastName)
                continue;
            operation.command = command;
            operation.words = splitCommandLine(command).words;
        }
    }

    void plant(const Case &one, const Verdict &before, Verdict *after) const
    {
        if (fault == "loses") {
            after->operations.removeLast();
            return;
        }
        const Operation *operation = operationIn(*after);
        const Operation *old = operationIn(before);
        if (!operation || fault.isEmpty())
            return;
        QString command = operation->command;
        const bool isChanged = !old || old->command != command;
        if (fault == "needless")
            command += " x";
        else if (!isChanged)
            return;
        else if (fault == "cut" && command.contains(';'))
            command = command.section(';', 0, 0) + (command.count('"') % 2 ? "" : "\"");
        else if (fault == "remark" && one.writing.startsWith("bare, with a remark"))
            command = "sh -c \"" + command.remove('"') + " ; copies the file\"";
        else if (fault == "quoted" && command.startsWith("sh -c \""))
            command = "sh -c \"'" + command.mid(7, command.size() - 8) + "'\"";
        else if (fault == "unquoted")
            command.replace("\"\"\"", "");
        else if (fault == "behind" && command.startsWith("sh -c \"") && !command.endsWith("\"\"\""))
            command = command.section(' ', 0, -2) + "\" " + command.section(' ', -1).remove('"');
        change(after, command);
    }

    const QString fault;
    const Screen screen;
    const QTemporaryDir folder;
    int copies = 0;
};

void silent(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "Usage: meaning_cases SEED COUNT [FAULT]\n");
        return 64;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(silent);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QApplication application(argc, argv);
    Writer writer(QByteArray(argv[1]).toUInt());
    Maker maker(QString::fromLocal8Bit(argc > 3 ? argv[3] : ""));
    for (int i = QByteArray(argv[2]).toInt(); i > 0; --i)
        std::puts(QJsonDocument(maker.make(writer.next())).toJson(QJsonDocument::Compact).constData());
    return 0;
}
