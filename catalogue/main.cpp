// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "checking.h"
#include "common/failure.h"
#include "common/share.h"
#include "gate/manifest.h"
#include "image/image.h"
#include "kit/kit.h"
#include "mending/diff.h"
#include "mending/mending.h"
#include "mending/writing.h"
#include "options.h"
#include "reading/medium.h"
#include "reading/signedfiles.h"
#include "report/explanation.h"
#include "report/report.h"
#include "results/fleetreport.h"
#include "scaffold.h"
#include "signing/signing.h"
#include "usage.h"
#include "window/language.h"
#include "window/preview.h"
#include "window/screen.h"

#include <QApplication>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QFontInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextCodec>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <tuple>
#include <unistd.h>

namespace
{

/// The controller's fonts and settings, whatever this computer has; no display, no theme of a desktop.
void takeControllersScreen()
{
    const QString fonts = shareFolder();
    qunsetenv("FONTCONFIG_SYSROOT");
    if (!fonts.isEmpty()) {
        qputenv("FONTCONFIG_FILE", QFile::encodeName(fonts + "/fonts.conf"));
        qputenv("FONTCONFIG_SYSROOT", QFile::encodeName(fonts + "/root"));
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    for (const char *name :
         {"QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_AUTO_SCREEN_SCALE_FACTOR",
          "QT_ENABLE_HIGHDPI_SCALING", "QT_DEVICE_PIXEL_RATIO"})
        qunsetenv(name);
    for (const QByteArray &setting : QByteArray(ZUL_SCREEN_SETTINGS).split('|')) {
        const int equals = setting.indexOf('=');
        qputenv(setting.left(equals).constData(), setting.mid(equals + 1));
    }
}

/// One that is closed would else be the next file that is opened, and be read from and written to as that.
void holdStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            std::ignore = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

/// The tool's debug lines are not for the author.
void printFatalOnly(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg)
        fail(ExitSoftware, text);
}

void warnOfOtherFonts()
{
    const QString family = QFontInfo(QApplication::font()).family();
    if (family != "Liberation Sans")
        fail(0, "warning: the controller's font, Liberation Sans, is not installed; widths are those of "
                    + family);
}

bool readMedium(const Options &options, const QString &argument, Medium *medium, Failure *failure)
{
    if (!openMedium(argument, medium, failure))
        return false;
    if (!options.mountedAt.isEmpty())
        medium->mountDirectory = options.mountedAt;
    return true;
}

int explain(const QStringList &ids)
{
    QStringList paragraphs;
    for (const QString &id : ids) {
        paragraphs.append(explanationOf(id));
        if (paragraphs.last().isEmpty())
            return fail(ExitUsage, unknownFinding(id));
    }
    std::printf("%s\n", paragraphs.join("\n\n").toUtf8().constData());
    return ExitClean;
}

int listRules(const QString &format)
{
    std::fputs((format == "json" ? ruleListJson() : ruleList()).constData(), stdout);
    return ExitClean;
}

/// Prints the patch of a file, as lines that cannot steer a terminal where it is one that shows it.
void printPatch(const QString &path, const QByteArray &before, const QByteArray &now)
{
    const QByteArray name = path.toUtf8();
    QByteArray diff = unifiedDiff(printable(path).toUtf8() == name ? name : "system.ini", before, now);
    if (isatty(STDOUT_FILENO)) {
        QStringList lines;
        for (const QByteArray &line : diff.split('\n'))
            lines.append(printable(QString::fromUtf8(line)));
        diff = lines.join('\n').toUtf8();
    }
    std::fwrite(diff.constData(), 1, static_cast<size_t>(diff.size()), stdout);
}

/// The files that mending has changed, with what they hold now.
QMap<QString, QByteArray> changedFiles(const Medium &medium, const Mended &mended)
{
    QMap<QString, QByteArray> files = mended.others;
    if (mended.catalogue != medium.bytes)
        files.insert(medium.catalogue, mended.catalogue);
    return files;
}

QByteArray contentOf(const Medium &medium, const QString &path)
{
    QFile file(path);
    return path == medium.catalogue         ? medium.bytes
           : file.open(QIODevice::ReadOnly) ? file.readAll()
                                            : QByteArray();
}

bool isSigned(const Medium &medium)
{
    return !medium.root.isEmpty() && readSignedFiles(medium.root).isMeant;
}

int fix(const Options &options, const Medium &medium)
{
    const Screen screen;
    const Finder find = [&screen](const Medium &one, const IniFile &file, const Verdict &verdict, Keep keep) {
        return findAll(one, file, verdict, screen, keep);
    };
    Medium checked = medium;
    checked.isForShellcheck = true;
    const Mended mended = mend(checked, find, operationLost);
    const QMap<QString, QByteArray> files = changedFiles(medium, mended);
    const bool breaksSignature = options.write && !files.isEmpty() && isSigned(medium);
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QByteArray before = contentOf(medium, file.key());
        QString kept;
        Failure failure;
        if (!options.write)
            printPatch(file.key(), before, file.value());
        else if (!replaceFile(file.key(), before, file.value(), &kept, &failure))
            return fail(failure.exitCode, failure.message);
        else
            std::printf("%s, the old one is %s\n", qPrintable(printable(file.key())),
                        qPrintable(printable(kept)));
    }
    if (breaksSignature)
        fail(0, printable(medium.root) + ": the medium has to be signed again, as files on it have changed");
    FILE *const stream = options.write ? stdout : stderr; // the patch is alone on the other
    const QByteArray report = mendingReport(mended, isatty(fileno(stream)) && wantsColours());
    std::fwrite(report.constData(), 1, static_cast<size_t>(report.size()), stream);
    return exitCodeOf(mended.left, options.strict);
}

int printFiles(bool done, const QStringList &files, const Failure &failure)
{
    if (!done)
        return fail(failure.exitCode, failure.message);
    for (const QString &file : files)
        std::printf("%s\n", qPrintable(printable(file)));
    return ExitClean;
}

/// Files that "fix --write" has kept beside those that it has replaced.
QStringList keptFiles(const QString &folder)
{
    static const QRegularExpression ending("\\.old\\d*$");
    QStringList kept;
    QDirIterator file(folder, {"*.old*"}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (file.hasNext()) {
        const QString path = file.next();
        const QString replaced = QString(path).remove(ending);
        const bool isListed = !path.startsWith(folder + '/' + gate::resultsFolder + '/');
        if (isListed && replaced != path && QFileInfo::exists(replaced))
            kept.append(path);
    }
    kept.sort();
    return kept;
}

int sign(const Options &options, Medium medium)
{
    medium.isToBeSigned = true;
    if (medium.root.isEmpty())
        return fail(ExitData, medium.catalogue + ": not in a medium, which is what is signed");
    const Verdict verdict = readVerdict(medium.catalogue);
    const Findings findings = findAll(medium, IniFile(medium.bytes), verdict, Screen());
    if (exitCodeOf(findings, true) != ExitClean) {
        const QByteArray report = textReport(medium, verdict, findings, wantsColours());
        std::fwrite(report.constData(), 1, static_cast<size_t>(report.size()), stdout);
        return fail(exitCodeOf(findings, true),
                    medium.root + ": not signed, as there are warnings or errors");
    }
    Failure failure;
    QStringList files;
    const bool isSigned = signMedium(medium.root, options.signing, &files, &failure);
    const QStringList kept = isSigned ? keptFiles(medium.root) : QStringList();
    for (const QString &file : kept)
        fail(0, printable(file) + ": signed as well, and seems to be what was there before a fix");
    return printFiles(isSigned, files, failure);
}

/// What is wrong with the catalogue is not the gate's affair, not even whether there is one.
int verify(const Options &options)
{
    Failure failure;
    Answer answer;
    if (!verifyMedium(options.words.at(1), options.signing, &answer, &failure))
        return fail(failure.exitCode, failure.message);
    for (const QString &complaint : qAsConst(answer.complaints))
        fail(0, complaint);
    std::printf("%s\n", qPrintable(printable(answer.line)));
    return answer.isAccepted ? ExitClean : ExitErrors;
}

void tellDamage(const Reports &reports)
{
    constexpr int most = 50;
    for (const DamagedLine &line : reports.damaged.mid(0, most))
        fail(0, QString("%1:%2: a line %3: ").arg(line.file).arg(line.line).arg(line.why)
                    + QString::fromUtf8(line.text.left(100)));
    if (reports.damagedLines > most)
        fail(0, QString("and %1 more").arg(reports.damagedLines - most));
}

int results(const Options &options)
{
    Failure failure;
    Reports reports;
    QStringList expected;
    if ((!options.expect.isEmpty() && !readExpected(options.expect, &expected, &failure))
        || !readReports(options.words.mid(1), &reports, &failure))
        return fail(failure.exitCode, failure.message);
    const Fleet fleet = fleetOf(reports, expected);
    tellDamage(reports);
    const QByteArray text = options.format == "json"  ? fleetJson(fleet, reports)
                            : options.format == "csv" ? fleetCsv(fleet)
                                                      : fleetTable(fleet, reports);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    if (reports.damagedLines > 0)
        return ExitErrors;
    return options.strict && !fleet.isComplete ? ExitWarnings : ExitClean;
}

/// Without the toolkit and its folder for the time being, which nobody would remove.
int image(const Options &options)
{
    Failure failure;
    Medium medium;
    if (!openMedium(options.words.at(1), &medium, &failure))
        return fail(failure.exitCode, failure.message);
    if (medium.root.isEmpty())
        return fail(ExitData, medium.catalogue + ": not in a medium, of which an image is made");
    std::signal(SIGPIPE, SIG_DFL); // which what is started would have, too
    QStringList complaints;
    becomeImageMaker(medium.root, options.output, options.size, &complaints, &failure);
    for (const QString &complaint : qAsConst(complaints))
        fail(0, complaint);
    return fail(failure.exitCode, failure.message);
}

int printAbout(const Options &options)
{
    const Command *command = commandOf(options.words.value(0));
    const QByteArray text = options.version ? QByteArray("zul_catalogue " ZUL_VERSION "\n")
                            : command       ? helpOf(*command)
                                            : generalHelp();
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    return ExitClean;
}

/// A report that nobody gets is no outcome, whatever it says.
int ended(int exitCode)
{
    const bool isWritten = std::fflush(stdout) == 0 && !std::ferror(stdout);
    return isWritten ? exitCode : fail(ExitNoOutput, "the output cannot be written");
}

int run(const Options &options)
{
    Failure failure;
    QStringList files;
    const QString command = options.words.at(0);
    if (command == "new") {
        const auto make = options.kit ? makeKit : makeMedium;
        return printFiles(make(options.words.at(1), &files, &failure), files, failure);
    }
    if (command == "verify")
        return verify(options);
    if (command == "results")
        return results(options);
    if (command == "check") {
        warnOfOtherFonts();
        return options.watch ? watch(options) : check(options);
    }
    Medium medium;
    if (!readMedium(options, options.words.at(1), &medium, &failure))
        return fail(failure.exitCode, failure.message);
    warnOfOtherFonts();
    if (command == "fix")
        return fix(options, medium);
    if (command == "sign")
        return sign(options, medium);
    return printFiles(previewMedium(medium, options.output, options.language, &files, &failure), files,
                      failure);
}

} // namespace

int main(int argc, char *argv[])
{
    holdStandardStreams();
    std::signal(SIGPIPE, SIG_IGN); // output that nobody reads is an exit code, and nothing stays behind
    qInstallMessageHandler(printFatalOnly);
    takeControllersScreen();
    // The controller's Qt takes UTF-8 for the local encoding; what names look like depends on it.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QFile::decodeName(argv[i]));

    Options options;
    QString error;
    if (!readOptions(arguments, &options, &error))
        return fail(ExitUsage, error + "; see zul_catalogue --help");
    if (options.help || options.version)
        return ended(printAbout(options));

    // Without the toolkit, whose fonts take longer than they do.
    const QString command = options.words.at(0);
    if (command == "image")
        return image(options);
    if (command == "explain")
        return ended(explain(options.words.mid(1)));
    if (command == "rules")
        return ended(listRules(options.format));
    int noArguments = 1;               // the toolkit has options of its own, which are not for the author
    const QTemporaryDir runtimeFolder; // without one, the toolkit would leave one of its own in /tmp
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));
    QApplication::setDesktopSettingsAware(false); // as the tool
    QApplication application(noArguments, argv);
    Language::speakEnglish();
    return ended(run(options));
}
