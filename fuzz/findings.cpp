// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A catalogue's bytes through every rule: each finding has a place in the file, the line that it calls right
// is one line, reads back in that place as it does by itself, and takes the finding away. The reports are
// well-formed, and no rule opens a file outside the medium.

#include "rules/findings.h"
#include "common/freshfile.h"
#include "common/target.h"
#include "reading/initext.h"
#include "reading/medium.h"
#include "report/report.h"
#include "window/screen.h"
#include "window/verdict.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSettings>

#include <algorithm>
#include <cstdarg>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>

namespace
{

/// The installed tool's settings, before the application begins: what is too wide depends on them.
bool takeToolsEnvironment()
{
    for (const QByteArray &setting : QByteArray(TOOL_ENVIRONMENT).split(' ')) {
        const int equals = setting.indexOf('=');
        qputenv(setting.left(equals).constData(), setting.mid(equals + 1));
    }
    return true;
}

const bool environmentTaken = takeToolsEnvironment();

// --- What is opened -------------------------------------------------------------------------------------

bool watching = false;
QByteArray trespass; ///< what was opened and is not to be

void noteOpened(const char *path)
{
    const QByteArray opened(path);
    // A letter that the font lacks is measured in another.
    const bool isFont = opened.startsWith(qgetenv("FONTCONFIG_SYSROOT"));
    const bool isMedium = (opened + '/').startsWith(MEDIUM "/") && !opened.contains("/..");
    if (watching && !isFont && !isMedium)
        trespass = opened;
}

} // namespace

// The toolkit's, by way of the linker: a program's own definition comes before a library's.
extern "C" {

int open64(const char *path, int flags, ...)
{
    static const auto real = reinterpret_cast<int (*)(const char *, int, ...)>(dlsym(RTLD_NEXT, "open64"));
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    noteOpened(path);
    return real(path, flags, mode);
}

DIR *opendir(const char *path)
{
    static const auto real = reinterpret_cast<DIR *(*)(const char *)>(dlsym(RTLD_NEXT, "opendir"));
    noteOpened(path);
    return real(path);
}

} // extern "C"

namespace
{

/// A catalogue and all that is said of it.
struct Check {
    Medium medium;
    Verdict verdict;
    IniFile file;
    Findings findings;
};

Check check(const QByteArray &bytes, const Screen &screen)
{
    Medium medium;
    medium.root = MEDIUM;
    medium.catalogue = MEDIUM "/zul_install/system.ini";
    medium.bytes = bytes;
    Check done{medium, readVerdict(freshFile(bytes)), IniFile(bytes), {}};
    watching = true;
    done.findings = findAll(done.medium, done.file, done.verdict, screen);
    watching = false;
    MUST(trespass.isEmpty(), "a rule has opened " + trespass);
    return done;
}

QString told(const QString &what, const Finding &finding)
{
    const auto shown = [](const QString &text) {
        return QString::fromLatin1(text.toUtf8().toPercentEncoding(" \"'@()[]|,;=/\\"));
    };
    // At once, as what stands for a place may be in a text.
    QString edits;
    for (const Edit &edit : finding.edits)
        edits += QString(" [%1] from %2 to %3")
                     .arg(shown(textOf(edit.text)), QString::number(edit.begin), QString::number(edit.end));
    return QString("%1: %2 at %3:%4, %5; right: [%6], edits:%7")
        .arg(what, finding.id, QString::number(finding.at.line), QString::number(finding.at.column),
             shown(finding.message), shown(finding.right), edits);
}

// --- Places ---------------------------------------------------------------------------------------------

/// The lines of a text, by any of the three line ends and none.
QList<QByteArray> linesOf(QByteArray bytes)
{
    return bytes.replace("\r\n", "\n").replace('\r', '\n').split('\n');
}

/// Some findings are about one byte, and that is where they are.
void holdByte(const QList<QByteArray> &lines, const Finding &finding)
{
    static const QHash<QString, char> bytes = {{"nul", '\0'},
                                               {"hash-comment", '#'},
                                               {"broken-section", '['},
                                               {"backslash", '\\'},
                                               {"space-in-key", ' '},
                                               {"quotes-eaten", '"'},
                                               {"unbalanced-quotes", '"'},
                                               {"escape-runs-on", '\\'},
                                               {"unquoted-comma", ','},
                                               {"unquoted-semicolon", ';'}};
    const QByteArray line = lines.at(finding.at.line - 1);
    if (bytes.contains(finding.id))
        MUST(line.mid(finding.at.column - 1, 1) == QByteArray(1, bytes.value(finding.id)),
             told("is not where it is said to be", finding));
}

void holdPlace(const Check &done, const QList<QByteArray> &lines, const Finding &finding)
{
    MUST(!finding.message.isEmpty() && !finding.right.isEmpty() && findingIds().contains(finding.id),
         told("says nothing", finding));
    if (finding.file != done.medium.catalogue) {
        MUST(finding.file.startsWith(MEDIUM "/"), told("about no file of the medium", finding));
        return;
    }
    MUST(finding.at.line >= 1 && finding.at.line <= lines.size(), told("no such line", finding));
    MUST(finding.at.column >= 1 && finding.at.column <= lines.at(finding.at.line - 1).size() + 1,
         told("no such column", finding));
    holdByte(lines, finding);
    int behind = 0;
    for (const Edit &edit : finding.edits) {
        MUST(behind <= edit.begin && edit.begin <= edit.end && edit.end <= done.medium.bytes.size(),
             told("edits what is not there, or in another order", finding));
        behind = edit.end;
    }
    MUST(!finding.mendable || !finding.edits.isEmpty(), told("can be mended by nothing", finding));
    const auto isLineEnd = [](QChar character) { return character == '\n' || character == '\r'; };
    MUST(std::none_of(finding.right.begin(), finding.right.end(), isLineEnd),
         told("more than one line", finding));
}

// --- What would be right --------------------------------------------------------------------------------

/// The value of the line in a file of its own; invalid where it has none.
QVariant valueAlone(const QByteArray &line, const QString &key)
{
    return QSettings(freshFile("[s]\n" + line), QSettings::IniFormat).value("s/" + key);
}

bool canBeAskedFor(const QString &path)
{
    return !path.isEmpty() && !path.startsWith('/') && !path.endsWith('/') && !path.contains("//");
}

/// In its place among the others the line is one entry, and to the settings reader the same as by itself.
void holdRight(const Check &done, const Finding &finding, const IniFile &mended)
{
    const QVector<IniEntry> &before = done.file.entries();
    const bool replacesEntry = std::any_of(before.begin(), before.end(), [&finding](const IniEntry &entry) {
        return entry.begin == finding.edits.first().begin;
    });
    if (!replacesEntry || finding.edits.size() > 1)
        return; // of a line without "=", or one inside a value that an open quotation mark has begun

    const QByteArray right = finding.edits.first().text;
    const IniFile alone("[s]\n" + right);
    if (alone.entries().isEmpty())
        return; // a comment, or a section's head
    MUST(alone.entries().size() == 1, told("more than one entry", finding));
    const IniEntry &wanted = alone.entries().first();
    if (wanted.openQuote || right.endsWith('\\'))
        return; // without its zero bytes, this line still goes on behind its end, which others find
    const IniEntry *found = nullptr;
    for (const IniEntry &entry : mended.entries()) {
        if (entry.begin == finding.edits.first().begin)
            found = &entry;
    }
    MUST(found && found->key == wanted.key && found->value.text == wanted.value.text
             && (found->value.comma < 0) == (wanted.value.comma < 0),
         told("reads otherwise in its place", finding));
    const QVariant value = valueAlone(right, wanted.key);
    if (canBeAskedFor(wanted.key) && wanted.value.comma < 0 && !isSpecialValue(wanted.value.text))
        MUST(value == wanted.value.text, told("is another text to the toolkit", finding));
}

void applyOne(const Check &done, const Finding &finding, const Screen &screen)
{
    const Check mended = check(edited(done.medium.bytes, finding.edits), screen);
    holdRight(done, finding, mended.file);
    for (const Finding &other : mended.findings.list)
        MUST(other.id != finding.id || other.edits.isEmpty()
                 || other.edits.first().begin != finding.edits.first().begin
                 || other.at.line != finding.at.line,
             told("is found again", finding));
}

/// A line to be added to [CMD].
void holdAddedCommand(const Finding &finding)
{
    const IniFile alone("[CMD]\n" + finding.right.toUtf8());
    MUST(alone.entries().size() == 1, told("no line to be added", finding));
    const IniEntry &entry = alone.entries().first();
    MUST(entry.value.text == entry.key + "@COMMAND", told("another command", finding));
    if (canBeAskedFor(entry.key))
        MUST(valueAlone(finding.right.toUtf8(), entry.key) == entry.value.text,
             told("another command", finding));
}

// --- Reports --------------------------------------------------------------------------------------------

/// As a report can carry it: half a surrogate pair is no character.
QString carried(const QString &text)
{
    return textOf(text.toUtf8());
}

void holdTextReport(const Check &done)
{
    const QByteArray plain = textReport(done.medium, done.verdict, done.findings, false);
    QString coloured = QString::fromUtf8(textReport(done.medium, done.verdict, done.findings, true));
    MUST(coloured.remove(QRegularExpression("\x1b\\[[0-9]+m")).toUtf8() == plain,
         "colours change the report");
    for (const QChar character : QString::fromUtf8(plain))
        MUST(character == '\n' || character.category() != QChar::Other_Control,
             "a report steers the terminal");
    MUST(plain.count("\n    right: ") + plain.count("\n    advice: ") == done.findings.list.size(),
         "a report has not all findings");
}

void holdJsonReport(const Check &done)
{
    QJsonParseError error{};
    const QJsonObject report =
        QJsonDocument::fromJson(jsonReport(done.medium, done.verdict, done.findings), &error).object();
    MUST(error.error == QJsonParseError::NoError, "a report for programs is none: " + error.errorString());
    const QJsonArray list = report["findings"].toArray();
    MUST(list.size() == done.findings.list.size(), "a report for programs has not all findings");
    for (int i = 0; i < list.size(); ++i) {
        const Finding &finding = done.findings.list.at(i);
        const QJsonObject object = list.at(i).toObject();
        MUST(object["id"] == finding.id && object["right"] == carried(finding.right)
                 && object["message"] == carried(finding.message) && object["line"] == finding.at.line
                 && object["column"] == finding.at.column,
             told("is reported differently to programs", finding));
    }
}

void holdSame(const Check &one, const Check &other)
{
    MUST(jsonReport(one.medium, one.verdict, one.findings)
             == jsonReport(other.medium, other.verdict, other.findings),
         "the same bytes are reported differently the second time");
}

} // namespace

void fuzz(const QByteArray &input)
{
    const Screen screen;
    const Check done = check(input, screen);
    const QList<QByteArray> lines = linesOf(input);
    QVector<Finding> replacing;
    for (const Finding &finding : done.findings.list) {
        holdPlace(done, lines, finding);
        if (!finding.edits.isEmpty())
            replacing.append(finding);
        else if (finding.id == "item-without-command")
            holdAddedCommand(finding);
    }
    holdTextReport(done);
    holdJsonReport(done);
    holdSame(done, check(input, screen));
    // One of them each time; which one is up to the length.
    if (!replacing.isEmpty())
        applyOne(done, replacing.at(input.size() % replacing.size()), screen);
}
