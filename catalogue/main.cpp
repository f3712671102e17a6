// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "common/failure.h"
#include "common/share.h"
#include "image/image.h"
#include "kit/kit.h"
#include "reading/medium.h"
#include "report/report.h"
#include "results/fleetreport.h"
#include "scaffold.h"
#include "signing/signing.h"
#include "window/language.h"
#include "window/preview.h"
#include "window/screen.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QFontInfo>
#include <QTemporaryDir>
#include <QTextCodec>

#include <cstdio>
#include <unistd.h>

namespace
{

const char usage[] = R"(Usage: zul_catalogue check [--strict] [--json] [--mounted-at DIR] MEDIUM
       zul_catalogue preview MEDIUM -o DIR [--language LANG] [--mounted-at DIR]
       zul_catalogue new [--kit] DIR
       zul_catalogue image MEDIUM -o FILE [--size SIZE]
       zul_catalogue sign|verify MEDIUM --key FILE [OPTION...]
       zul_catalogue results [--format FORM] [--expect FILE] [--strict] DIR...

check    prints what the controller shows and runs, then what is wrong with it
preview  draws every screen that the operator sees, as pictures
new      makes a small, commented medium; with --kit, one of guarded steps
image    makes the image of a card, with one FAT32 partition, for any imager
sign     checks strictly, then signs; verify says what a controller's gate says
results  puts together what steps have reported: which controller got what
  --strict           warnings count, or what is not done; --json  for programs
  --mounted-at DIR   where the controller mounts the medium
  -o, --output DIR   for the pictures; for the image a FILE, --size its SIZE
  --language LANG    a code such as zh_CN, a translation file, or "all"
  --key FILE         the secret key; to verify, public ones or a folder of them
  --passphrase-file FILE  what that is encrypted with;  --manifest-only  no key
  --compatible NAME  the controller; --serial N  the number, or the lowest one
  --format FORM      table, csv or json; --expect FILE  the fleet's serials
  -h, --help, -v, --version  The manual: man zul_catalogue
Exit codes: 0 clean, 1 warnings with --strict, 2 errors or refused, 64 usage,
65 data, 66 input, 69 a program is missing, 70 start, 73 cannot be written.
)";

struct Options {
    QStringList words; ///< the command and its arguments
    bool strict = false;
    bool json = false;
    bool help = false;
    bool version = false;
    QString output;
    QString language;
    QString mountedAt;
    bool manifestOnly = false;
    Signing signing;
    bool kit = false;
    QString format = QString();
    QString expect = QString();
    QString size = QString();
};

bool readOptions(const QStringList &arguments, Options *options, QString *error)
{
    QCommandLineParser parser;
    const QCommandLineOption strict("strict"), json("json"), kit("kit"), help(QStringList{"h", "help"}),
        version(QStringList{"v", "version"});
    const QCommandLineOption output(QStringList{"o", "output"}, "", "DIR"), language("language", "", "LANG");
    const QCommandLineOption mountedAt("mounted-at", "", "DIR"), key("key", "", "FILE");
    const QCommandLineOption format("format", "", "FORM"), expect("expect", "", "FILE");
    const QCommandLineOption size("size", "", "SIZE");
    const QCommandLineOption compatible("compatible", "", "NAME"), serial("serial", "", "N");
    const QCommandLineOption passphrase("passphrase-file", "", "FILE"), manifestOnly("manifest-only");
    parser.addOptions({strict, json, help, version, output, language, mountedAt, key, passphrase,
                       manifestOnly, compatible, serial});
    parser.addOption(kit);
    parser.addOptions({format, expect, size});
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    *options = {parser.positionalArguments(),
                parser.isSet(strict),
                parser.isSet(json),
                parser.isSet(help),
                parser.isSet(version),
                parser.value(output),
                parser.value(language),
                parser.value(mountedAt),
                parser.isSet(manifestOnly),
                {parser.values(key), parser.value(passphrase),
                 parser.isSet(compatible) ? parser.value(compatible) : QString(), parser.value(serial)}};
    options->kit = parser.isSet(kit);
    options->format = parser.value(format);
    options->expect = parser.value(expect);
    options->size = parser.value(size);
    return true;
}

QString wrongSigning(const Options &options, const QString &command)
{
    const Signing &signing = options.signing;
    const bool isSigning = command == "sign" || command == "verify";
    if (!isSigning && !(signing.keys.join("") + signing.compatible + signing.serial).isEmpty())
        return "--key, --compatible and --serial are for sign and verify";
    if ((options.manifestOnly || !signing.passphraseFile.isEmpty()) && command != "sign")
        return "--manifest-only and --passphrase-file are for sign";
    if (options.manifestOnly && !(signing.keys.join("") + signing.passphraseFile).isEmpty())
        return "--manifest-only takes no key";
    if (isSigning && !options.manifestOnly && (signing.keys.isEmpty() || signing.keys.contains("")))
        return command + " needs --key FILE";
    return command == "sign" && signing.keys.size() > 1 ? "sign takes one --key" : QString();
}

QString wrongUsage(const Options &options)
{
    const QString command = options.words.value(0);
    const bool isSigning = command == "sign" || command == "verify";
    if (command.isEmpty())
        return "a command is missing";
    if (!isSigning && !QStringList{"check", "preview", "new", "results", "image"}.contains(command))
        return "unknown command: " + command;
    if (command == "results" ? options.words.size() < 2 : options.words.size() != 2)
        return command + " takes "
               + (command == "results" ? "DIRs"
                  : command == "new"   ? "one DIR"
                                       : "one MEDIUM");
    if (options.words.at(1).isEmpty())
        return command + " takes one " + (command == "new" ? "DIR" : "MEDIUM");
    if ((options.strict && command != "check" && command != "results")
        || (options.json && command != "check"))
        return "--strict and --json are for check";
    if (!(options.format + options.expect).isEmpty() && command != "results")
        return "--format and --expect are for results";
    if (!QStringList{"", "table", "csv", "json"}.contains(options.format))
        return "unknown format: " + options.format;
    if (options.kit && command != "new")
        return "--kit is for new";
    if (!options.mountedAt.isEmpty() && command != "check" && command != "preview")
        return "--mounted-at is for check and preview";
    if (!options.size.isEmpty() && command != "image")
        return "--size is for image";
    if (!options.language.isEmpty() && command != "preview")
        return "--language is for preview";
    if (!options.output.isEmpty() && command != "preview" && command != "image")
        return "-o is for preview and image";
    if (command == "preview" && options.output.isEmpty())
        return "preview needs -o DIR";
    if (command == "image" && options.output.isEmpty())
        return "image needs -o FILE";
    return wrongSigning(options, command);
}

int fail(int exitCode, const QString &message)
{
    std::fprintf(stderr, "zul_catalogue: %s\n", qPrintable(printable(message)));
    return exitCode;
}

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

bool wantsColours()
{
    return isatty(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

int check(const Options &options, const Medium &medium)
{
    const Verdict verdict = readVerdict(medium.catalogue);
    const IniFile file(medium.bytes);
    const Findings findings = findAll(medium, file, verdict, Screen());
    const QByteArray report = options.json ? jsonReport(medium, verdict, findings)
                                           : textReport(medium, verdict, findings, wantsColours());
    std::fwrite(report.constData(), 1, static_cast<size_t>(report.size()), stdout);
    return exitCodeOf(findings, options.strict);
}

int printFiles(bool done, const QStringList &files, const Failure &failure)
{
    if (!done)
        return fail(failure.exitCode, failure.message);
    for (const QString &file : files)
        std::printf("%s\n", qPrintable(printable(file)));
    return ExitClean;
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

void tellDamage(const QVector<DamagedLine> &damaged)
{
    constexpr int most = 50;
    for (const DamagedLine &line : damaged.mid(0, most))
        fail(0, QString("%1:%2: a line %3: ").arg(line.file).arg(line.line).arg(line.why)
                    + QString::fromUtf8(line.text.left(100)));
    if (damaged.size() > most)
        fail(0, QString("and %1 more").arg(damaged.size() - most));
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
    tellDamage(reports.damaged);
    const QByteArray text = options.format == "json"  ? fleetJson(fleet, reports)
                            : options.format == "csv" ? fleetCsv(fleet)
                                                      : fleetTable(fleet, reports);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        return fail(ExitNoOutput, "what was found cannot be written");
    if (!reports.damaged.isEmpty())
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
    becomeImageMaker(medium.root, options.output, options.size, &failure);
    return fail(failure.exitCode, failure.message);
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
    Medium medium;
    if (!openMedium(options.words.at(1), &medium, &failure))
        return fail(failure.exitCode, failure.message);
    if (!options.mountedAt.isEmpty())
        medium.mountDirectory = options.mountedAt;
    warnOfOtherFonts();
    if (command == "check")
        return check(options, medium);
    if (command == "sign")
        return sign(options, medium);
    return printFiles(previewMedium(medium, options.output, options.language, &files, &failure), files,
                      failure);
}

} // namespace

int main(int argc, char *argv[])
{
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
        return std::printf("%s", options.help ? usage : "zul_catalogue " ZUL_VERSION "\n") < 0;
    error = wrongUsage(options);
    if (!error.isEmpty())
        return fail(ExitUsage, error + "; see zul_catalogue --help");

    if (options.words.at(0) == "image")
        return image(options);
    int noArguments = 1;               // the toolkit has options of its own, which are not for the author
    const QTemporaryDir runtimeFolder; // without one, the toolkit would leave one of its own in /tmp
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtimeFolder.path()));
    QApplication::setDesktopSettingsAware(false); // as the tool
    QApplication application(noArguments, argv);
    Language::speakEnglish();
    return run(options);
}
