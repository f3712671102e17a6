// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "common/failure.h"
#include "reading/initext.h"
#include "reading/medium.h"
#include "report/report.h"
#include "rules/findings.h"
#include "window/screen.h"
#include "window/verdict.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>

#include <ctime>
#include <utime.h>

/// Every finding has a medium that triggers it and nothing else, and a place in the manual.
class TestFindings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void whatIsNotAsItWasSignedIsFound_data();
    void whatIsNotAsItWasSignedIsFound();
    void aSignatureOfAnotherLengthIsNone();
    void aSignedMediumIsFoundRight();
    void anUnsignedMediumIsNotAskedFor();
    void whatWillBeSignedDoesNotMindAnOldManifest_data();
    void whatWillBeSignedDoesNotMindAnOldManifest();
    void theManifestDecidesOnTheRightToExecute();
    void whatSignsDecidesOnTheRightToExecute();
    void whatIsWrittenOutsideTheResultsIsFound_data();
    void whatIsWrittenOutsideTheResultsIsFound();
    void aScriptThatWritesOutsideTheResultsIsFound();
    void aFixtureTriggersExactlyItsFinding_data();
    void aFixtureTriggersExactlyItsFinding();
    void theRightLinePutsTheFixtureRight_data();
    void theRightLinePutsTheFixtureRight();
    void aCatalogueTriggersWhatItShould_data();
    void aCatalogueTriggersWhatItShould();
    void aScriptTriggersWhatItShould_data();
    void aScriptTriggersWhatItShould();
    void whatShellcheckSaysIsToldWhereItIsCertain_data();
    void whatShellcheckSaysIsToldWhereItIsCertain();
    void aScriptOfAScriptIsReadToo();
    void whatAMisreadListNamesIsLookedAtToo_data();
    void whatAMisreadListNamesIsLookedAtToo();
    void aKeyIsRenamedWhereItsListIsReadOnly_data();
    void aKeyIsRenamedWhereItsListIsReadOnly();
    void whatSwallowsOtherLinesIsNotMendedWithThem_data();
    void whatSwallowsOtherLinesIsNotMendedWithThem();
    void aScriptIsReadWithItsArguments_data();
    void aScriptIsReadWithItsArguments();
    void theRightLineIsRightForWhateverIsWritten_data();
    void theRightLineIsRightForWhateverIsWritten();
    void aCommandIsSentToAScriptOnlyWhenThereIsOne();
    void aCommentBehindAValueStays();
    void theRightLineIsRightInEveryRespect_data();
    void theRightLineIsRightInEveryRespect();
    void theRightLineLeavesWhatIsIgnored();
    void theRightLineLeavesWhatIsAsked();
    void everyLineWithAnOpenQuotationMarkIsTold();
    void aKeyWithABlankIsRenamedInTheListToo();
    void whatOnlyTheAuthorKnowsIsAsked();
    void aMessageKeepsWhatLooksLikeAPlaceInIt();
    void aSectionWithinAnotherHidesItsKeys();
    void everyRuleKnowsTheSameShells_data();
    void everyRuleKnowsTheSameShells();
    void noRuleTakesAnotherProgramForAShell();
    void anInterpreterIsPutInFrontOfItsScript();
    void everyFixtureIsThatOfAFinding();
    void everyFindingIsInTheManual();
    void severityDecidesTheExitCode();
    void onlyTheFirstOfAKindAreKept();

private:
    static void addFixtures();
    Findings check(const QString &folder, const QString &mountDirectory = QString());
    void put(const QString &path, const QByteArray &content);
    Findings checkText(const QByteArray &catalogue, const QByteArray &script = QByteArray());
    Findings checkCommand(const QString &command, const QByteArray &script = QByteArray());
    QString copyOf(const QString &folder);
    QString copyOfFixture(const QString &id);
    QString signedMedium();
    void runInShell(QString line);
    void putIntoCatalogue(const QString &path, const Finding &finding);

    QTemporaryDir work;
    int copies = 0;
};

namespace
{

/// "#say LEVEL CODE COLUMN MESSAGE" in a script.
const QByteArray standIn = R"raw(#!/bin/sh
shift 4 # options
printf '{"comments":['
for file; do
    awk -v file="$file" '
        function say(level, code, column, message) {
            printf "{\"file\":\"%s\",\"line\":%d,\"endLine\":%d,\"column\":%d,\"endColumn\":%d,", file, NR, NR, column, column + 3
            printf "\"level\":\"%s\",\"code\":%d,\"message\":\"%s\"},", level, code, message
        }
        /^#say / {
            message = $0
            sub(/^[^ ]+ [^ ]+ [^ ]+ [^ ]+ /, "", message)
            say($2, $3, $4, message)
        }
        /^[a-z]+ = / { say("error", 2283, 8, "Remove spaces around =") }' "$file"
done
printf '{}]}'
)raw";

QString mountDirectoryOf(const QString &folder)
{
    QFile options(folder + "/options");
    if (!options.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(options.readAll()).trimmed().section(' ', 1);
}

QString fixture(const QString &id)
{
    return QString(FIXTURES "/") + id;
}

QStringList idsOf(const Findings &findings)
{
    QStringList ids;
    for (const Finding &finding : findings.list)
        ids.append(finding.id);
    ids.removeDuplicates();
    return ids;
}

} // namespace

void TestFindings::initTestCase()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QCOMPARE(QFontInfo(QApplication::font()).family(), QString("Liberation Sans"));
    // In the place of shellcheck, whichever is installed here. It says what a script asks it to, and one
    // thing more.
    QDir().mkpath(work.filePath("bin"));
    put(work.filePath("bin/shellcheck"), standIn);
    QFile::setPermissions(work.filePath("bin/shellcheck"), QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", work.filePath("bin").toLocal8Bit() + ':' + qgetenv("PATH"));
    runInShell("openssl genpkey -algorithm ed25519 -out YOUR-KEY");
}

void TestFindings::addFixtures()
{
    QTest::addColumn<QString>("id");
    for (const QString &id : findingIds())
        QTest::newRow(qPrintable(id)) << id;
}

Findings TestFindings::check(const QString &folder, const QString &mountDirectory)
{
    Medium medium;
    Failure failure;
    if (!openMedium(folder, &medium, &failure))
        qFatal("%s", qPrintable(failure.message));
    medium.mountDirectory = mountDirectory;
    medium.isForShellcheck = true;
    const Verdict verdict = readVerdict(medium.catalogue);
    return findAll(medium, IniFile(medium.bytes), verdict, Screen());
}

void TestFindings::put(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("no place for %s", qPrintable(path));
}

/// A medium with this catalogue and, unless it is empty, this script beside it: /mnt/upgrade/run.
Findings TestFindings::checkText(const QByteArray &catalogue, const QByteArray &script)
{
    const QString folder = work.filePath(QString::number(++copies));
    QDir().mkpath(folder + "/zul_install");
    put(folder + "/zul_install/system.ini", catalogue);
    if (!script.isEmpty())
        put(folder + "/run", script);
    return check(folder);
}

Findings TestFindings::checkCommand(const QString &command, const QByteArray &script)
{
    return checkText("[system]\nCMD_List=\"a\"\n[CMD]\n" + iniLine("a", "A@" + command).toUtf8() + '\n',
                     script);
}

QString TestFindings::copyOf(const QString &folder)
{
    const QString copy = work.filePath(QString::number(++copies));
    QDirIterator entries(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString target = copy + '/' + QDir(folder).relativeFilePath(entries.next());
        QDir().mkpath(QFileInfo(target).path());
        if (!QFile::copy(entries.filePath(), target))
            qFatal("no place for %s", qPrintable(target));
    }
    return copy;
}

/// With what no fixture is to hold.
QString TestFindings::copyOfFixture(const QString &id)
{
    const QString copy = copyOf(fixture(id));
    if (id == "medium-too-big" && !QFile::resize(copy + "/image", qint64(300) << 20))
        qFatal("no place for an image");
    return copy;
}

/// The fixture that lacks only its signature, with one.
QString TestFindings::signedMedium()
{
    const QString copy = copyOf(fixture("no-signature"));
    runInShell("zul_catalogue sign " + copy + " --key YOUR-KEY");
    return copy;
}

void TestFindings::aFixtureTriggersExactlyItsFinding_data()
{
    addFixtures();
}

void TestFindings::aFixtureTriggersExactlyItsFinding()
{
    QFETCH(QString, id);
    const Findings findings = check(copyOfFixture(id), mountDirectoryOf(fixture(id)));
    QCOMPARE(idsOf(findings), QStringList(id));
    for (const Finding &finding : findings.list) {
        QVERIFY(finding.at.line >= 1 && finding.at.column >= 1);
        QVERIFY(!finding.message.isEmpty());
        QVERIFY2(!finding.right.isEmpty(), "it does not say what would be right");
    }
}

void TestFindings::theRightLinePutsTheFixtureRight_data()
{
    addFixtures();
}

void TestFindings::theRightLinePutsTheFixtureRight()
{
    QFETCH(QString, id);
    const QString copy = copyOfFixture(id);
    QString mountDirectory = mountDirectoryOf(copy);
    const Finding finding = check(copy, mountDirectory).list.first();
    if (id == "medium-too-big") {
        // A line of the controller's settings, which nobody knows here.
        QCOMPARE(finding.right, QString("MaximumSize=301M"));
        return;
    }
    if (finding.isAdvice)
        return; // what would be right, only its author knows
    if (finding.file == mountDirectory)
        mountDirectory = finding.right;
    else if (QRegularExpression("^(sed|rm|cp|zul_catalogue) ").match(finding.right).hasMatch())
        runInShell(finding.right);
    else
        putIntoCatalogue(copy + "/zul_install/system.ini", finding);
    QVERIFY2(!idsOf(check(copy, mountDirectory)).contains(id), qPrintable(finding.right));
}

void TestFindings::runInShell(QString line)
{
    line.replace("YOUR-FILE", FIXTURES "/no-list/zul_install/system.ini");
    line.replace("YOUR-KEY", work.filePath("secret.pem"));
    line.replace(QRegularExpression("^zul_catalogue "), ZUL_CATALOGUE " ");
    QProcess shell;
    shell.start("/bin/sh", {"-ec", line}, QIODevice::ReadOnly);
    QVERIFY(shell.waitForFinished());
    QVERIFY2(shell.exitCode() == 0, qPrintable(line + shell.readAllStandardError()));
}

void TestFindings::putIntoCatalogue(const QString &path, const Finding &finding)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QByteArray text = file.readAll();
    const QByteArray right = finding.right.toUtf8();
    if (!finding.edits.isEmpty())
        text = edited(text, finding.edits);
    else if (right.startsWith("CMD_List"))
        text.replace("[system]\n", "[system]\n" + right + '\n');
    else
        text += right + '\n'; // the fixtures end with [CMD]
    QVERIFY(file.resize(0) && file.seek(0));
    QCOMPARE(file.write(text), qint64(text.size()));
    file.close();
    // The toolkit's reader of settings serves a file of the same size and time from its memory.
    const utimbuf later = {time(nullptr) + 2, time(nullptr) + 2};
    QCOMPARE(utime(QFile::encodeName(path).constData(), &later), 0);
}

void TestFindings::whatIsNotAsItWasSignedIsFound_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const char *change, const QStringList &ids, const char *reason) {
        QTest::newRow(name) << QString(change) << ids << QString(reason);
    };
    const QStringList outdated("manifest-outdated"), lacking("manifest-lacks-file");
    row("another byte", "printf '#!/bin/sh\\nexit 1\\n' >update.sh", outdated, "(has another content)");
    row("a byte more", "echo >>update.sh", outdated, "(has 18 bytes, not 17)");
    row("another catalogue", "echo '; end' >>zul_install/system.ini", outdated, "(has 82 bytes, not 76)");
    row("gone", "rm notes", outdated, "(is missing)");
    row("a link", "mv notes n && ln -s n notes && echo >n", {"manifest-lacks-file", "manifest-outdated"},
        "lacks");
    row("a link to it", "rm notes && ln -s /dev/zero notes", outdated, "(is a link)");
    row("a folder", "rm notes && mkdir notes", outdated, "(is a folder)");
    row("a pipe", "rm notes && mkfifo notes", outdated, "(is a device or the like)");
    row("a folder that is a link", "mv a b && ln -s b a", {"manifest-lacks-file", "manifest-outdated"},
        "lacks");
    row("a file more", "echo >more", lacking, "is not there");
    row("a link more", "ln -s notes more", lacking, "cannot be signed (is a link)");
    row("a pipe more", "mkfifo a/more", lacking, "cannot be signed (is a device or the like)");
    row("results", "mkdir zul_results && echo >zul_results/log", {}, "");
    row("the right to execute", "chmod +x notes", {"manifest-mode"}, "no right to execute");
    row("a manifest that is a link", "cd zul_install && mv MANIFEST M && ln -s M MANIFEST", {"no-manifest"},
        "(zul_install/MANIFEST is a link)");
    row("a manifest that is a pipe", "cd zul_install && rm MANIFEST && mkfifo MANIFEST", {"no-manifest"},
        "is a device or the like");
    row("a manifest of 5 MB", "truncate -s 5M zul_install/MANIFEST", {"no-manifest"},
        "longer than 4194304 bytes");
    row("a manifest cut off", "truncate -s -1 zul_install/MANIFEST", {"manifest-malformed"}, "(line ");
    row("a manifest that is empty", ": >zul_install/MANIFEST", {"manifest-malformed"},
        "(line 1: not \"#zul-manifest 1\")");
    row("a signature that is a folder", "cd zul_install && rm MANIFEST.sig && mkdir MANIFEST.sig",
        {"no-signature"}, "(zul_install/MANIFEST.sig is a folder)");
}

void TestFindings::whatIsNotAsItWasSignedIsFound()
{
    QFETCH(QString, change);
    QFETCH(QStringList, ids);
    QFETCH(QString, reason);
    const QString medium = copyOf(fixture("no-signature"));
    QDir().mkpath(medium + "/a");
    put(medium + "/notes", "notes\n");
    put(medium + "/a/b", "b\n");
    runInShell("zul_catalogue sign " + medium + " --key YOUR-KEY");
    runInShell("cd " + medium + " && " + change);
    const Findings findings = check(medium);
    QStringList found = idsOf(findings);
    found.sort();
    QCOMPARE(found, ids);
    if (!ids.isEmpty())
        QVERIFY2(findings.list.first().message.contains(reason), qPrintable(findings.list.first().message));
}

void TestFindings::aSignatureOfAnotherLengthIsNone()
{
    const QString medium = signedMedium();
    for (const char *size : {"0", "63", "65", "1G"}) {
        runInShell(QString("truncate -s %1 %2/zul_install/MANIFEST.sig").arg(size, medium));
        QCOMPARE(idsOf(check(medium)), QStringList("no-signature"));
    }
}

void TestFindings::aSignedMediumIsFoundRight()
{
    QCOMPARE(idsOf(check(signedMedium())), QStringList());
}

void TestFindings::anUnsignedMediumIsNotAskedFor()
{
    const QString medium = signedMedium();
    runInShell("cd " + medium
               + " && rm zul_install/MANIFEST* && mkfifo pipe && ln -s pipe link && "
                 "truncate -s 1T big");
    QCOMPARE(idsOf(check(medium)), QStringList());
}

void TestFindings::whatWillBeSignedDoesNotMindAnOldManifest_data()
{
    QTest::addColumn<QString>("id");
    for (const char *id : {"no-manifest", "no-signature", "manifest-malformed", "manifest-outdated",
                           "manifest-lacks-file", "manifest-mode"})
        QTest::newRow(id) << QString(id);
}

void TestFindings::whatWillBeSignedDoesNotMindAnOldManifest()
{
    QFETCH(QString, id);
    const QString medium = copyOf(fixture(id));
    runInShell("zul_catalogue sign " + medium + " --key YOUR-KEY");
    QCOMPARE(idsOf(check(medium)), QStringList());
}

void TestFindings::theManifestDecidesOnTheRightToExecute()
{
    const QString medium = copyOf(fixture("fat-not-executable"));
    const QString manifest = medium + "/zul_install/MANIFEST";
    runInShell("zul_catalogue sign " + medium + " --key YOUR-KEY");
    QCOMPARE(idsOf(check(medium)), QStringList());
    // Where the file has no right here, the signed copy has it there.
    runInShell("chmod -x " + medium + "/update.sh");
    QCOMPARE(idsOf(check(medium)), QStringList());
    runInShell("sed -i 's/^\\(#file .*\\) 755$/\\1 644/' " + manifest);
    QCOMPARE(idsOf(check(medium)), QStringList("not-executable"));
}

void TestFindings::whatSignsDecidesOnTheRightToExecute()
{
    const QString medium = copyOf(fixture("not-executable"));
    const auto sign = [&] {
        QProcess program;
        program.start(ZUL_CATALOGUE, {"sign", medium, "--key", work.filePath("secret.pem")});
        return program.waitForFinished() ? program.exitCode() : -1;
    };
    QCOMPARE(sign(), 0); // a script by its first line
    put(medium + "/update.sh", "exit 0\n");
    QCOMPARE(sign(), 2);
    runInShell("chmod +x " + medium + "/update.sh");
    QCOMPARE(sign(), 0);
}

void TestFindings::whatIsWrittenOutsideTheResultsIsFound_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("right"); // empty where nothing is found
    const auto row = [](const char *command, const char *right) {
        QTest::newRow(command) << QString(command) << QString(right);
    };
    row("cp /var/log/syslog /mnt/upgrade", "cp /var/log/syslog /mnt/upgrade/zul_results");
    row("cp /var/log/syslog /mnt/upgrade/", "cp /var/log/syslog /mnt/upgrade/zul_results");
    row("cp -r /mnt/upgrade/a /mnt/upgrade/ab", "cp -r /mnt/upgrade/a /mnt/upgrade/zul_results/ab");
    row("sh -c \"dmesg >/mnt/upgrade/a.txt\"", "sh -c \"dmesg >/mnt/upgrade/zul_results/a.txt\"");
    row("sh -c \"dmesg 2>> /mnt/upgrade/a/b; sync\"",
        "sh -c \"dmesg 2>> /mnt/upgrade/zul_results/a/b; sync\"");
    row("dd if=/dev/mtd1 of=/mnt/upgrade/mtd", "dd if=/dev/mtd1 of=/mnt/upgrade/zul_results/mtd");
    row("touch /mnt/upgrade/done", "touch /mnt/upgrade/zul_results/done");
    row("cp /mnt/upgrade/update.sh /tmp", "");
    row("cp /var/log/syslog /mnt/upgrade/zul_results", "");
    row("cp /var/log/syslog /mnt/upgrade/zul_results/a", "");
    row("cp /var/log/syslog /mnt/upgrade.old", "");
    row("cat /mnt/upgrade/update.sh", "");
}

void TestFindings::whatIsWrittenOutsideTheResultsIsFound()
{
    QFETCH(QString, command);
    QFETCH(QString, right);
    const QString medium = copyOf(fixture("no-signature"));
    put(medium + "/zul_install/system.ini",
        "[system]\nCMD_List=\"a\"\n[CMD]\n" + iniLine("a", "A@" + command).toUtf8() + '\n');
    QCOMPARE(idsOf(check(medium)).contains("outside-results"), !right.isEmpty());
    for (const Finding &finding : check(medium).list) {
        if (finding.id == "outside-results")
            QCOMPARE(finding.right, iniLine("a", "A@" + right));
    }
    runInShell("rm " + medium + "/zul_install/MANIFEST");
    QVERIFY(!idsOf(check(medium)).contains("outside-results"));
}

void TestFindings::aScriptThatWritesOutsideTheResultsIsFound()
{
    const QString medium = copyOf(fixture("no-signature"));
    put(medium + "/update.sh", "date >>/mnt/upgrade/a.log\ndate >/mnt/upgrade/zul_results/b\n");
    runInShell("zul_catalogue sign " + medium + " --key YOUR-KEY");
    const Findings findings = check(medium);
    QCOMPARE(idsOf(findings), QStringList("outside-results"));
    QCOMPARE(findings.list.first().file, medium + "/update.sh");
    runInShell(findings.list.first().right);
    QFile script(medium + "/update.sh");
    QVERIFY(script.open(QIODevice::ReadOnly));
    QCOMPARE(script.readAll(),
             QByteArray("date >>/mnt/upgrade/zul_results/a.log\ndate >/mnt/upgrade/zul_results/b\n"));
}

void TestFindings::aCatalogueTriggersWhatItShould_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("ids");
    const auto row = [](const char *name, const QByteArray &text, const QStringList &ids) {
        QTest::newRow(name) << text << ids;
    };
    const auto line = [](const char *name, const QByteArray &value, const QStringList &ids) {
        QTest::newRow(name) << "[system]\nCMD_List=\"a\"\n[CMD]\na=" + value + '\n' << ids;
    };
    row("nothing at all", "", {"no-list"});
    row("capitals of a section", "[System]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\n", {"wrong-capitals"});
    row("capitals of the other section", "[system]\nCMD_List=\"a\"\n[cmd]\na=\"A@x\"\n", {"wrong-capitals"});
    row("capitals of the list", "[system]\nCmd_List=\"a\"\n[CMD]\na=\"A@x\"\n", {"wrong-capitals"});
    row("capitals of ENDGAME", "[system]\nCMD_List=\"a\"\nEndGame=true\n[CMD]\na=\"A@x\"\n",
        {"wrong-capitals"});
    row("ENDGAME=FALSE", "[system]\nCMD_List=\"a\"\nENDGAME=FALSE ; comment\n[CMD]\na=\"A@x\"\n", {});
    row("ENDGAME empty", "[system]\nCMD_List=\"a\"\nENDGAME=\n[CMD]\na=\"A@x\"\n", {"endgame-value"});
    row("a list", "[system]\nCMD_List=\"a\"\nENDGAME=true,false\n[CMD]\na=\"A@x\"\n", {"endgame-value"});
    row("sync where nothing is added", "[system]\nCMD_List=\"a\"\nENDGAME=0\n[CMD]\na=\"A@sync\"\n", {});
    row("the same name in direct mode", "[system]\nCMD_Type=\"a,b\"\n[CMD]\na=\"A@x\"\nb=\"A@y\"\n", {});
    row("an item twice", "[system]\nCMD_List=\"a,a\"\n[CMD]\na=\"A@x\"\n", {"duplicate-name"});
    row("an empty list", "[system]\nCMD_List=\n[CMD]\na=\"A@x\"\n", {"empty-item", "unlisted-key"});
    row("lines swallowed", "[system]\nCMD_List=\"a,b\"\n[CMD]\na=\"A@x\nb=\"B@y\"\n",
        {"item-without-command", "unbalanced-quotes"});
    row("quotation mark in a comment", "; 3\" disk\n[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\n", {});
    row("UTF-8 in a comment", "; \xc3\xa4\n[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\n", {});
    row("long countdown in direct mode", "[system]\nCMD_Type=\"a\"\n[CMD]\na=\"A@sleep 10m\"\n", {});
    row("UTF-8 in a key", "[system]\nCMD_List=\"\xc3\xa4\"\n[CMD]\n\xc3\xa4=\"A@x\"\n", {});
    row("UTF-8 in a key, with a byte-order mark",
        "\xef\xbb\xbf[system]\nCMD_List=\"\xc3\xa4\"\n[CMD]\n\xc3\xa4=\"A@x\"\n",
        {"bom", "item-without-command", "unlisted-key"});
    row("a section of another alphabet", "[system]\nCMD_List=\"a\"\n[\xd0\xa1MD]\na=\"A@x\"\n",
        {"lookalike-key"});
    row("another section of another alphabet", "[s\xd1\x83stem]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\n",
        {"lookalike-key"});
    row("a list of another alphabet", "[system]\n\xd0\xa1MD_List=\"a\"\n[CMD]\na=\"A@x\"\n",
        {"lookalike-key"});
    row("an underscore of full width", "[system]\nCMD\xef\xbc\xbfList=\"a\"\n[CMD]\na=\"A@x\"\n",
        {"lookalike-key"});
    row("an item of another alphabet", "[system]\nCMD_List=\"\xd1\x81op\"\n[CMD]\ncop=\"A@x\"\n",
        {"lookalike-key"});
    row("a figure of full width", "[system]\nCMD_List=\"a1\"\n[CMD]\na\xef\xbc\x91=\"A@x\"\n",
        {"lookalike-key"});
    row("names of two alphabets",
        "[system]\nCMD_List=\"a,b\"\n[CMD]\na=\"\\x0421\\x043e\\x0440@x\"\nb=\"Cop@y\"\n",
        {"lookalike-name"});
    row("names with I and l", "[system]\nCMD_List=\"a,b\"\n[CMD]\na=\"Zone I@x\"\nb=\"Zone l@y\"\n",
        {"lookalike-name"});
    row("names with two dashes", "[system]\nCMD_List=\"a,b\"\n[CMD]\na=\"A - B@x\"\nb=\"A \\x2013 B@y\"\n",
        {"lookalike-name"});
    row("names with two figures", "[system]\nCMD_List=\"a,b\"\n[CMD]\na=\"Zone 1@x\"\nb=\"Zone 2@y\"\n", {});
    line("a program of another alphabet", "\"A@\\x0441\\x0440 /a /b\"", {"mixed-scripts"});
    line("a file of another alphabet", "\"A@ls /opt/\\x0441\\x043e\\x0440\"", {});
    line("a path of two alphabets", "\"A@ls /opt/a\\x0440p\"", {"mixed-scripts"});
    line("a unit in a name", "\"5 \\x03bcm@x\"", {});
    line("find with a command", "\"A@find /tmp -exec rm {} ;\"", {});
    line("two commands", "\"A@a; b\"", {"shell-chain"});
    line("literal quotation marks", "\"A@echo \\\"\\\"\\\"a | b\\\"\\\"\\\"\"", {"shell-pipe"});
    line("comment behind quotes", "\"A@x\" ; comment", {});
    line("comma in a command", "A@cp x,y z", {"unquoted-comma"});
    line("a script for a shell", "\"A@sh -c \\\"a | b > $c && d *; e\\\"\"", {});
    line("pattern in quotes", "\"A@find / -name \\\"*.log\\\"\"", {});
    line("in the background", "\"A@sleep 5 &\"", {"shell-chain"});
    line("either", "\"A@a || b\"", {"shell-chain"});
    line("errors redirected", "\"A@a 2>/dev/null\"", {"shell-redirect"});
    line("backquotes", "\"A@kill `pidof a`\"", {"shell-variable"});
    line("single quotes for a shell", "\"A@sh -c 'a | b'\"", {"shell-quote"});
    line("sync by its path", "\"A@/bin/sync\"", {"own-sync-reboot"});
    line("escapes", "\"\\x4e2d\\x6587@a \\\\b\"", {});
    line("tabulator by escape", "\"A@a\\tb\"", {"backslash"});
    line("octal", "\"A@a\\101\"", {"backslash"});
    line("two at signs in front", "\"@@A@x\"", {"special-value"});
    line("no value at all", "@Invalid()", {"special-value"});
    line("bytes", "\"@ByteArray(A@x)\"", {"special-value"});
    line("brackets that are none of the reader's", "\"@run(x)\"", {"empty-name"});
    line("brackets behind a word of the reader's", "\"@Invalid(x)\"", {"empty-name"});
    line("nothing behind the key", "", {"item-without-command"});
    line("sh within a word", "\"A@/opt/share/tool\"", {"single-word-sh"});
    line("sh within a word, with an argument", "\"A@flash_erase /dev/mtd1\"", {});
    line("calibration", "\"A@ts_calibrate\"", {});
    line("minutes of sleep", "\"A@sh -c \\\"sleep 5m; a\\\"\"", {"outlasts-countdown"});
    line("quotes at the end", "A@a \"b c\"", {"quotes-eaten"});
    line("bytes that are not UTF-8", "\"\xe4@x\"", {"raw-utf8"});
    // What a shell knows is known where there is one.
    line("a builtin for a shell", "\"A@sh -c \\\"cd /opt && rm -rf app\\\"\"", {});
    line("a builtin that is a program as well", "\"A@echo a\"", {});
    line("an assignment and nothing else", "\"A@LANG=C\"", {"assignment-in-front"});
    line("an assignment behind the program", "\"A@env LANG=C cp /a /b\"", {});
    line("an assignment for a shell", "\"A@sh -c \\\"LANG=C cp /a /b\\\"\"", {});
    line("an editor in a script", "\"A@sh -c \\\"x; vi /etc/hosts\\\"\"", {"needs-terminal"});
    line("top once", "\"A@top -b -n 1\"", {});
    line("top for ever", "\"A@top -b\"", {"never-ends"});
    line("ping with a count", "\"A@ping -c 3 10.0.0.1\"", {});
    line("ping without", "\"A@ping 10.0.0.1\"", {"never-ends"});
    line("ping with a time limit", "\"A@timeout 9 ping 10.0.0.1\"", {});
    line("the last lines", "\"A@tail -n 5 /a\"", {});
    line("sleeping for ever", "\"A@sleep infinity\"", {"never-ends"});
    line("a program of the path", "\"A@app -f x/y\"", {});
    line("a folder of nowhere", "\"A@bin/app\"", {"relative-path"});
    line("a script of nowhere", "\"A@sh update.sh\"", {"relative-path"});
    line("calibration with an argument", "\"A@ts_calibrate -r 90\"", {"calibration-name"});
    line("calibration with capitals", "\"A@TS_Calibrate\"", {"calibration-name"});
    line("a program like it", "\"A@ts_calibrated\"", {});
    line("calibration by its mark", "\"A@/opt/TSTAPP -c\"", {});
    line("another mount", "\"A@umount /opt/data\"", {});
    line("every mount", "\"A@umount -a\"", {"loses-medium"});
    line("the link", "\"A@rm -f /mnt/upgrade\"", {"loses-medium"});
    line("a file on the medium", "\"A@rm -f /mnt/upgrade/log\"", {});
    line("another program", "\"A@killall app\"", {});
    line("the tool", "\"A@killall -9 zul_upgrade\"", {"stops-tool"});
    line("the tool in a script", "\"A@sh -c \\\"a; pkill zul_upgrade\\\"\"", {"stops-tool"});
    line("the status of the tool", "\"A@systemctl status zul_upgrade\"", {});
    line("a picture on the screen", "\"A@sh -c \\\"cat /a >/dev/fb0\\\"\"", {"takes-screen"});
    line("nowhere", "\"A@sh -c \\\"cat /a >/dev/null\\\"\"", {});
    line("a partition", "\"A@mkfs.ext4 /dev/mmcblk0p3\"", {});
    line("a disk", "\"A@dd if=/opt/a of=/dev/mmcblk0\"", {"overwrites-device"});
    line("a list of disks", "\"A@fdisk -l /dev/sda\"", {});
    line("a folder of an application", "\"A@rm -rf /opt/app\"", {});
    line("everything", "\"A@rm -rf /\"", {"deletes-too-much"});
    line("everything on the medium", "\"A@sh -c \\\"rm -rf /mnt/upgrade/*\\\"\"", {"deletes-too-much"});
    line("a folder that is only read", "\"A@ls -R /etc\"", {});
    line("a mount directory", "\"A@cp /media/usb0/a /opt\"", {"mount-directory"});
    line("a word like it", "\"A@cp /opt/media/usb0 /opt/b\"", {});
    line("a restart in selection mode", "\"A@sh -c \\\"a; reboot\\\"\"", {"cuts-short"});
    line("a builtin behind another program", "\"A@env cd /opt\"", {"shell-builtin"});
    line("a group", "\"A@( ls /opt )\"", {"shell-builtin"});
    line("an assignment behind another program", "\"A@timeout 5 LANG=C cp /a /b\"", {"assignment-in-front"});
    line("an assignment that adds", "\"A@A+=1 cp /a /b\"", {"assignment-in-front"});
    line("root asked to be root", "\"A@sudo cp /a /b\"", {"needless-sudo"});
    line("another user", "\"A@su app -c date\"", {});
    line("an interpreter without a script", "\"A@python3\"", {"needs-terminal"});
    line("an interpreter with one", "\"A@python3 -c \\\"print(1)\\\"\"", {});
    line("a package that is asked about", "\"A@apt-get install app\"", {"needs-terminal"});
    line("a package that is not", "\"A@apt-get -y install app\"", {});
    line("a copy that is asked about", "\"A@cp -i /a /b\"", {"needs-terminal"});
    line("a pager in a pipe", "\"A@sh -c \\\"more /a | head -n 1\\\"\"", {});
    line("what is fed to it", "\"A@sh -c \\\"echo 1 | bc\\\"\"", {});
    line("nothing to read", "\"A@grep root\"", {"needs-terminal"});
    line("a status", "\"A@passwd -S root\"", {});
    line("random numbers", "\"A@cat /dev/urandom\"", {"never-ends"});
    line("some of them", "\"A@sh -c \\\"head -c 9 /dev/urandom > /a\\\"\"", {"command-too-long"});
    line("a disk filled up", "\"A@dd if=/dev/zero of=/opt/a\"", {"never-ends"});
    line("so much of it", "\"A@dd if=/dev/zero of=/opt/a bs=1M count=1\"", {"command-too-long"});
    line("a loop without an end", "\"A@sh -c \\\"while true; do a; done\\\"\"", {"never-ends"});
    line("a loop with one", "\"A@sh -c \\\"while true; do a && break; done\\\"\"", {"command-too-long"});
    line("a loop nobody waits for", "\"A@sh -c \\\"while true; do a; done &\\\"\"", {});
    line("the main program", "\"A@/usr/bin/zul_main\"", {"never-ends"});
    line("a service in front", "\"A@syslogd -n\"", {"never-ends"});
    line("a file of nowhere", "\"A@cp app /opt/app\"", {"relative-path"});
    line("an archive of nowhere", "\"A@tar xzf a.tgz -C /opt\"", {"relative-path"});
    line("a target of nowhere", "\"A@cp /opt/a .\"", {"relative-path"});
    line("a script of nowhere behind options", "\"A@sh -e ./update.sh\"", {"relative-path"});
    line("a script of nowhere behind a program", "\"A@timeout 60 sh update.sh\"", {"relative-path"});
    line("a file of nowhere in a shell", "\"A@sh -c \\\"cp app /opt/app\\\"\"", {"relative-path"});
    line("a file of a folder that was entered", "\"A@sh -c \\\"cd /tmp && cp app /opt\\\"\"", {});
    line("the target of a link", "\"A@ln -s ../x /opt/a\"", {});
    line("the calibration, misspelt", "\"A@ts-calibrate\"", {"calibration-name"});
    line("the calibration, misspelt otherwise", "\"A@ts_caliberate\"", {"calibration-name"});
    line("a file behind an option", "\"A@a --file=/mnt/upgrade/b\"", {"missing-file"});
    line("a file with a blank", "\"A@cp \\\"/mnt/upgrade/a b\\\" /opt\"", {"missing-file"});
    line("a file of the medium that was entered", "\"A@sh -c \\\"cd /mnt/upgrade && cp x /opt\\\"\"",
         {"command-too-long", "missing-file"});
    line("files of a loop", "\"A@sh -c \\\"for f in a b; do cp /mnt/upgrade/$f /opt; done\\\"\"",
         {"command-too-long", "missing-file"});
    line("a pattern that nothing goes with", "\"A@sh -c \\\"cp /mnt/upgrade/f/* /opt\\\"\"",
         {"missing-file"});
    line("a script within a script", "\"A@sh -c \\\"sh -c 'cat /mnt/upgrade/x'\\\"\"",
         {"command-too-long", "missing-file"});
    line("a file that is asked for", "\"A@sh -c \\\"[ -f /mnt/upgrade/a ] && cat /mnt/upgrade/a\\\"\"",
         {"command-too-long"});
    line("a file that need not be there", "\"A@sh -c \\\"cat /mnt/upgrade/a || true\\\"\"",
         {"command-too-long"});
    line("a device of the medium", "\"A@umount /dev/sda1\"", {"loses-medium"});
    line("something over the medium", "\"A@mount /dev/sdb1 /mnt\"", {"loses-medium"});
    line("the driver of the medium", "\"A@modprobe -r usb_storage\"", {"loses-medium"});
    line("the medium unplugged", "\"A@sh -c \\\"echo 1 > /sys/block/sda/device/delete\\\"\"",
         {"command-too-long", "loses-medium"});
    line("a pattern that the tool goes with", "\"A@pkill zul\"", {"stops-tool"});
    line("everything that runs", "\"A@kill -9 -1\"", {"stops-tool"});
    line("the tool by its number", "\"A@sh -c \\\"kill $(pidof zul_upgrade)\\\"\"", {"stops-tool"});
    line("the number of the tool", "\"A@sh -c \\\"pidof zul_upgrade | xargs kill\\\"\"",
         {"command-too-long", "stops-tool"});
    line("the tool written over", "\"A@cp /opt/zul_upgrade /usr/bin/zul_upgrade\"",
         {"command-too-long", "stops-tool"});
    line("a level without the tool", "\"A@init 1\"", {"stops-tool"});
    line("the screen switched off", "\"A@sh -c \\\"echo 1 > /sys/class/graphics/fb0/blank\\\"\"",
         {"command-too-long", "takes-screen"});
    line("an application on the screen", "\"A@/opt/gui -platform linuxfb\"", {"takes-screen"});
    line("a picture of the screen", "\"A@cp /dev/fb0 /opt/a\"", {});
    line("the settings of the screen", "\"A@fbset -s\"", {});
    line("a picture onto a disk", "\"A@cp /opt/a /dev/sda\"", {"overwrites-device"});
    line("a table that is looked at", "\"A@parted -s /dev/sda print\"", {});
    line("a table that is kept", "\"A@sh -c \\\"sfdisk -d /dev/mmcblk0 > /opt/a\\\"\"", {"command-too-long"});
    line("signatures that are looked at", "\"A@wipefs -n /dev/sda\"", {});
    line("a disk that is read", "\"A@dd if=/dev/mmcblk0 of=/opt/a bs=1M count=8\"", {"command-too-long"});
    line("a folder by a detour", "\"A@rm -rf /opt/app/../..\"", {"deletes-too-much"});
    line("a folder of the system within one", "\"A@rm -rf /usr/bin\"", {"deletes-too-much"});
    line("a variable without a value", "\"A@sh -c \\\"rm -rf $DIR/*\\\"\"", {"deletes-too-much"});
    line("a variable that has one", "\"A@sh -c \\\"DIR=/opt/a; rm -rf $DIR/*\\\"\"", {"command-too-long"});
    line("all that is called so", "\"A@find / -name core -delete\"", {"deletes-too-much"});
    line("some below a folder", "\"A@find /opt/app -name core -delete\"", {"command-too-long"});
    line("the shell", "\"A@rm -f /bin/sh\"", {"deletes-too-much"});
    line("users", "\"A@sh -c \\\"> /etc/passwd\\\"\"", {"deletes-too-much"});
    line("a mirror of everything", "\"A@rsync -a --delete /opt/a/ /\"", {"deletes-too-much"});
    line("another name of the link", "\"A@cp /mnt/ugprade/a /opt\"", {"mount-directory"});
    line("capitals of the link", "\"A@cp /mnt/Upgrade/a /opt\"", {"mount-directory"});
    line("a drive of another system", "\"A@cp E:/a /opt\"", {"mount-directory"});
    line("a disk of the controller", "\"A@cp /opt/a /media/internal/a\"", {});
    line("a folder of the controller", "\"A@cp /opt/a /mnt/data/a\"", {});
    line("switching off", "\"A@poweroff\"", {"cuts-short"});
    line("restarting by hand", "\"A@sh -c \\\"echo b > /proc/sysrq-trigger\\\"\"",
         {"command-too-long", "cuts-short"});
    line("a shutdown called off", "\"A@shutdown -c\"", {});
    line("alternatives", "\"A@mkdir -p /opt/{a,b}\"", {"shell-braces"});
    line("numbers", "\"A@rm -f /opt/a.{1..5}\"", {"shell-braces"});
    line("a comment", "\"A@cp /a /b # keep\"", {"shell-comment"});
    line("a blank behind a backslash", "\"A@cp /opt/my\\\\ a /opt/b\"", {"shell-escape"});
    // Files of the medium.
    line("a file in a script", "\"A@sh -c \\\"tar xf /mnt/upgrade/a\\\"\"", {"missing-file"});
    line("a file with an option", "\"A@dd if=/mnt/upgrade/a of=/opt/b\"", {"missing-file"});
    line("a file that is made", "\"A@dd if=/opt/b of=/mnt/upgrade/a\"", {});
    line("an archive that is made", "\"A@tar czf /mnt/upgrade/a /opt\"", {});
    line("a target of a copy", "\"A@cp /opt/b /mnt/upgrade/b\"", {});
    line("made before it is read", "\"A@sh -c \\\"x >/mnt/upgrade/a; cat /mnt/upgrade/a\\\"\"",
         {"command-too-long"});
    line("behind a variable", "\"A@sh -c \\\"cat /mnt/upgrade/$a\\\"\"", {});
    line("a script that no shell reads", "\"A@sh -c \\\"if true\\\"\"", {"script-syntax"});
    line("a script for another shell", "\"A@zsh -c \\\"if true\\\"\"", {});
    // What the eye cannot see.
    line("typographic quotation marks in a name", "\"\\x201e\\x41\\x201c B@x\"", {});
    line("typographic quotation marks in a command", "\"A@echo \\x201cx y\\x201d\"", {"foreign-punctuation"});
    line("a no-break space in a name", "\"A\\xa0\\x42@x\"", {});
    line("a no-break space in a command", "\"A@cp\\xa0/a /b\"", {"invisible-character"});
    line("joined letters", "\"\\x645\\x6cc\\x200c\\x62e\\x648@x\"", {});
    line("two alphabets, a word each", "\"Service \\x421\\x435\\x440\\x432\\x438\\x441@x\"", {});
    row("a comma of another keyboard",
        "[system]\nCMD_List=\"a\xef\xbc\x8c\x62\"\n[CMD]\na=\"A@x\"\nb=\"B@y\"\n",
        {"foreign-separator", "item-without-command"});
    const auto list = [&row](const char *name, const QByteArray &lists, const QStringList &ids) {
        row(name, "[system]\n" + lists + "\n[CMD]\na=\"A@x\"\nb=\"B@y\"\n", ids);
    };
    list("a quotation mark for a comma",
         "CMD_List=\"a\xe2\x80\x9a"
         "b\"",
         {"foreign-separator", "item-without-command"});
    list("a full stop for a comma",
         "CMD_List=\"a\xe3\x80\x82"
         "b\"",
         {"foreign-separator", "item-without-command"});
    list("a semicolon for a comma", "CMD_List=\"a;b\"", {"item-without-command"});
    list("another character for a comma", "CMD_List=\"a|b\"", {"item-without-command"});
    list("typographic quotation marks around the list",
         "CMD_List=\xe2\x80\x9c"
         "a,b\xe2\x80\x9d",
         {"foreign-separator"});
    list("single quotation marks around the list", "CMD_List='a,b'", {"foreign-separator"});
    list("a misspelt list", "CMDList=\"a,b\"", {"lookalike-key"});
    list("a misspelt ENDGAME", "CMD_List=\"a,b\"\nENDGANE=false", {"lookalike-key"});
    list("a list that is kept for later", "CMD_List=\"a,b\"\nCMD_List2=\"a\"", {"unknown-key"});
    list("typographic quotation marks around ENDGAME",
         "CMD_List=\"a,b\"\nENDGAME=\xe2\x80\x9c"
         "false\xe2\x80\x9d",
         {"endgame-value"});
    list("an equals sign of another keyboard",
         "CMD_List=\"a,b\"\nENDGAME\xef\xbc\x9d"
         "\"false\"",
         {"foreign-separator"});
    list("a list with an equals sign of another keyboard",
         "CMD_List\xef\xbc\x9d"
         "\"a,b\"",
         {"foreign-separator"});
    list("a colon for an equals sign", "CMD_List=\"a,b\"\nENDGAME: false", {"ignored-line"});
    list("a byte-order mark in front of a key",
         "CMD_List=\"a,b\"\n\xef\xbb\xbf"
         "ENDGAME=false",
         {"invisible-character", "lookalike-key"});
    list("a byte-order mark by itself", "CMD_List=\"a,b\"\n\xef\xbb\xbf", {"invisible-character"});
    const auto head = [&row](const char *name, const QByteArray &section, const QStringList &ids) {
        row(name, "[system]\nCMD_List=\"a\"\n" + section + "\na=\"A@x\"\n", ids);
    };
    head("brackets of another keyboard",
         "\xef\xbc\xbb"
         "CMD\xef\xbc\xbd",
         {"foreign-separator"});
    head("other brackets of another keyboard",
         "\xe3\x80\x90"
         "CMD\xe3\x80\x91",
         {"foreign-separator"});
    head("one bracket of another keyboard", "[CMD\xef\xbc\xbd", {"broken-section", "lookalike-key"});
    head("a section without brackets", "CMD", {"ignored-line"});
    head("a byte-order mark in front of a section", "\xef\xbb\xbf[CMD]", {"invisible-character"});
    head("a misspelt section", "[Commands]", {"lookalike-key"});
    head("a section in brackets twice", "[[CMD]]", {"lookalike-key"});
    head("no section for the commands", "", {"key-before-section"});
    row("a section of another's", "[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\n[Commands]\nb=\"B@y\"\n",
        {"unknown-key"});
    row("ENDGAME among the commands", "[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\nENDGAME=false\n",
        {"key-before-section"});
    row("an operation that is called ENDGAME",
        "[system]\nCMD_List=\"a,ENDGAME\"\n[CMD]\na=\"A@x\"\nENDGAME=\"B@y\"\n", {});
    line("single quotation marks around a value", "'A@cp /opt/a /opt/b'", {"foreign-separator"});
    line("primes around a value",
         "\xe2\x80\xb2"
         "A@x\xe2\x80\xb2",
         {"foreign-separator", "raw-utf8"});
    line("an apostrophe in a name", "Don't stop@x", {});
    line("quotation marks of the command's own", "'A' B@echo 'x'", {"shell-quote"});
    line("a control character in a command", "\"A@cp /o\\x1bpt /b\"", {"invisible-character"});
    line("a tab in a name", "\"A\tB@x\"", {"invisible-character"});
    line("a tab between words", "\"A@cp\t/a /b\"", {});
    line("a filler in a name", "\"A\\x3164 B@x\"", {"invisible-character"});
    line("a sign and how it is drawn", "\"\\x26a0\\xfe0f A@x\"", {});
    // Programs that wait for input, or for nothing.
    line("a filter without a file", "\"A@sed s/a/b/\"", {"needs-terminal"});
    line("a filter with a file", "\"A@sed -i s/a/b/ /opt/a\"", {});
    line("a copy of what nobody types", "\"A@dd of=/opt/a\"", {"needs-terminal"});
    line("the first lines of nothing", "\"A@head -n 5\"", {"needs-terminal"});
    line("the first lines of a file", "\"A@head -n 5 /opt/a\"", {});
    line("a filter in a pipe", "\"A@sh -c \\\"x | sed s/a/b/\\\"\"", {});
    line("what the pager is", "\"A@less -V\"", {});
    line("ping with no limit", "\"A@ping -w 0 10.0.0.1\"", {"never-ends"});
    line("ping without names", "\"A@ping -n 10.0.0.1\"", {"never-ends"});
    line("ping with a limit", "\"A@ping -w5 10.0.0.1\"", {});
    line("a time limit that is none", "\"A@timeout 0 ping 10.0.0.1\"", {"never-ends"});
    line("as many answers as are read", "\"A@sh -c \\\"yes | head -n 3\\\"\"", {});
    line("nothing copied to nowhere", "\"A@dd if=/dev/zero of=/dev/null\"", {"never-ends"});
    line("a loop that sh does not know", "\"A@sh -c \\\"for ((;;)); do x; done\\\"\"", {"script-syntax"});
    line("find with a pattern", "\"A@find /opt/a -name *.log\"", {});
    line("find here", "\"A@find . -name a\"", {"relative-path"});
    line("a package of nowhere", "\"A@opkg install app.ipk\"", {"relative-path"});
    line("a package by its name", "\"A@opkg install app\"", {});
    line("a folder to unpack in", "\"A@tar -C opt -xf /opt/a.tar\"", {"relative-path"});
    line("a folder that env enters", "\"A@env -C /opt sh x.sh\"", {});
    line("a file behind an option", "\"A@app -f/mnt/upgrade/x\"", {"missing-file"});
    line("a file behind a long option", "\"A@app --file /mnt/upgrade/x\"", {"missing-file"});
    line("a file by its address", "\"A@app file:///mnt/upgrade/x\"", {"missing-file"});
    line("a target in front", "\"A@cp -t /opt /mnt/upgrade/x\"", {"missing-file"});
    line("a folder that is searched", "\"A@find /mnt/upgrade/a -name x\"", {"missing-file"});
    line("where something is written", "\"A@app -o/mnt/upgrade/x\"", {});
    // The ground.
    line("the medium only to be read", "\"A@mount -o remount,ro /mnt/upgrade\"",
         {"command-too-long", "loses-medium"});
    line("the medium to be written", "\"A@mount -o remount,rw /mnt/upgrade\"", {"command-too-long"});
    line("all that uses the medium", "\"A@fuser -km /mnt/upgrade\"", {"loses-medium"});
    line("all that is root's", "\"A@pkill -u root\"", {"stops-tool"});
    line("an application that is root's", "\"A@pkill -u root app\"", {});
    line("all but an application", "\"A@pkill -v app\"", {"stops-tool"});
    line("anything", "\"A@pkill .\"", {"stops-tool"});
    line("the folder of the tool", "\"A@rm -rf /opt/zul\"", {"stops-tool"});
    line("the package of the tool", "\"A@apt-get -y purge zul-upgrade\"", {"stops-tool"});
    line("another package", "\"A@dpkg -r app\"", {});
    line("the tool no more, from now on", "\"A@systemctl disable --now zul_upgrade\"",
         {"command-too-long", "stops-tool"});
    line("a console over the screen", "\"A@sh -c \\\"echo 0 > /sys/class/vtconsole/vtcon1/bind\\\"\"",
         {"command-too-long", "takes-screen"});
    line("a brighter screen", "\"A@sh -c \\\"echo 9 > /sys/class/backlight/a/brightness\\\"\"",
         {"command-too-long"});
    line("a dark screen", "\"A@sh -c \\\"echo 0 > /sys/class/backlight/a/brightness\\\"\"",
         {"command-too-long", "takes-screen"});
    line("the root formatted", "\"A@mkfs.ext4 /dev/disk/by-label/root\"",
         {"command-too-long", "overwrites-device"});
    line("a device cut off", "\"A@truncate -s 0 /dev/sda\"", {"overwrites-device"});
    row("an invisible character in a key", "[system]\nCMD_List=\"a\"\n[CMD]\na\xe2\x80\x8b=\"A@x\"\n",
        {"invisible-character", "item-without-command", "unlisted-key"});
    row("commands before their section", "a=\"A@x\"\n[system]\nCMD_List=\"a\"\n",
        {"item-without-command", "key-before-section"});
    row("a unit that restarts in direct mode",
        "[system]\nCMD_Type=\"a\"\n[CMD]\na=\"A@systemctl start reboot.target\"\n", {"reboots-again"});
    row("a restart by another name",
        "[system]\nCMD_Type=\"a\"\n[CMD]\na=\"A@sh -c \\\"$(which reboot)\\\"\"\n", {"reboots-again"});
    row("a restart in direct mode", "[system]\nCMD_Type=\"a\"\n[CMD]\na=\"A@sh -c \\\"x; reboot\\\"\"\n",
        {"reboots-again"});
}

void TestFindings::aCatalogueTriggersWhatItShould()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, ids);
    QStringList found = idsOf(checkText(text));
    found.sort();
    QCOMPARE(found, ids);
}

void TestFindings::aScriptTriggersWhatItShould_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("ids");
    const auto row = [](const char *name, const QByteArray &script, const QStringList &ids) {
        QTest::newRow(name) << script << ids;
    };
    row("nothing wrong", "#!/bin/sh\nset -eu\ndate\n", {});
    row("a variable", "m=/mnt/upgrade\ncp $m/x /opt\n", {"missing-in-script"});
    row("a variable in quotes", "m=\"/mnt/upgrade\"\ncp \"${m}/x\" /opt\n", {"missing-in-script"});
    row("a variable of a variable", "m=/mnt/upgrade\nexport n=$m/n\ncat \"$n/x\"\n", {"missing-in-script"});
    row("the value where there is none", "d=${1:-/mnt/upgrade}\ncat \"$d/x\"\n", {"missing-in-script"});
    row("the folder of the script", "here=$(dirname \"$0\")\ncat \"$here/x\"\n", {"missing-in-script"});
    row("the folder of the script, as it is", "here=$(cd \"$(dirname \"$0\")\" && pwd)\ncat \"$here/x\"\n",
        {"missing-in-script"});
    row("the folder of the script, in short", "cat \"${0%/*}/x\"\n", {"missing-in-script"});
    row("the folder of the script, entered", "cd \"$(dirname \"$0\")\" || exit 1\ncat x\n",
        {"missing-in-script"});
    row("the script itself", "here=$(dirname \"$0\")\ncat \"$here/run\"\n", {});
    row("a variable with two values", "m=/mnt/upgrade\nif a; then m=/opt; fi\ncat $m/x\n", {});
    row("a loop", "for f in run x; do cat /mnt/upgrade/$f; done\n", {"missing-in-script"});
    row("another script", "sh /mnt/upgrade/x.sh\n", {"missing-in-script"});
    row("a script that is read", "m=/mnt/upgrade\n. $m/x.sh\n", {"missing-in-script"});
    row("asked for", "m=/mnt/upgrade\n[ -f \"$m/x\" ] || exit 0\ncat \"$m/x\"\n", {});
    row("made", "o=/mnt/upgrade/o\nmkdir -p \"$o\"\ndmesg >\"$o/x\"\ncat \"$o/x\"\n", {});
    row("a document in place", "cat >/opt/a <<EOF\ncat /mnt/upgrade/x\nrm -rf /\nEOF\n", {});
    row("a comment", "# rm -rf /; cat /mnt/upgrade/x\n", {});
    row("a text", "echo \"do not rm -rf / now\"\n", {});
    row("a choice", "case $1 in\n  a) cat /mnt/upgrade/x;;\n  *) date;;\nesac\n", {"missing-in-script"});
    row("a function", "f() {\n  cat /mnt/upgrade/x\n}\nf\n", {"missing-in-script"});
    row("a file of nowhere", "cp app /opt\n", {"relative-path"});
    row("an editor", "vi /etc/hosts\n", {"needs-terminal"});
    row("a question", "read answer\n", {"needs-terminal"});
    row("lines of a file", "while read -r l; do echo \"$l\"; done </etc/hosts\n", {});
    row("lines of a program", "df | while read -r l; do echo \"$l\"; done\n", {});
    row("for ever", "while :; do date; sleep 5; done\n", {"never-ends"});
    row("calibration", "export A=b\nexec ts_calibrate\n", {"calibration-name"});
    row("the tool", "killall zul_upgrade\n", {"stops-tool"});
    row("the medium", "umount /mnt/upgrade\n", {"loses-medium"});
    row("the screen", "cat /opt/a >/dev/fb0\n", {"takes-screen"});
    row("a disk by a variable", "d=/dev/mmcblk0\ndd if=/opt/a of=$d\n", {"overwrites-device"});
    row("a folder by a variable", "d=/usr\nrm -rf $d\n", {"deletes-too-much"});
    row("nothing by a variable", "rm -rf \"$d\"/*\n", {"deletes-too-much"});
    row("nothing, which ends the script", "set -u\nrm -rf \"$d\"/*\n", {});
    row("something by a variable", "d=$(mktemp -d)\nrm -rf \"$d\"/*\n", {});
    row("a mount directory", "m=/media/sda1\ncp $m/x /opt\n", {"mount-directory"});
    row("a restart", "sync\nreboot\n", {"cuts-short"});
    row("root asked to be root", "sudo date\n", {"needless-sudo"});
    row("a blank of another kind",
        "cp\xc2\xa0"
        "-f /a /b\n",
        {"invisible-character"});
    row("a dash of another kind",
        "cp \xe2\x80\x93"
        "f /a /b\n",
        {"foreign-punctuation"});
    row("letters in quotes",
        "echo \"a \xe2\x80\x93"
        " b\"\n",
        {});
    row("a byte-order mark",
        "\xef\xbb\xbf"
        "date\n",
        {"invisible-character"});
    row("what comes at run time", "cat /mnt/upgrade/zul_results/a.txt\ncd /mnt/upgrade/zul_results\nsort b\n",
        {});
    row("a folder with a similar name", "cat /mnt/upgrade/zul_results_old/a.txt\n", {"missing-in-script"});
    row("a program among the results", "sh /mnt/upgrade/zul_results/a.sh\n", {"missing-in-script"});
    row("what no shell reads", "if true\n", {"script-syntax"});
}

void TestFindings::aScriptTriggersWhatItShould()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, ids);
    const Findings findings = checkCommand("sh /mnt/upgrade/run", script);
    QCOMPARE(idsOf(findings), ids);
    for (const Finding &finding : findings.list)
        QVERIFY2(finding.file.endsWith("/run"), qPrintable(finding.file));
}

void TestFindings::whatShellcheckSaysIsToldWhereItIsCertain_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message"); // none where nothing is told
    const auto row = [](const char *name, const char *script, const char *message) {
        QTest::newRow(name) << QByteArray(script) << QString(message);
    };
    row("an error", "#say error 2070 5 x y\n", "x y (SC2070)");
    row("an error that is a matter of quotation marks", "#say error 2068 5 x\n", "");
    row("what one sh knows and another does not", "#say error 3010 5 x\n", "");
    row("what no sh knows", "#say error 3030 5 x\n", "x (SC3030)");
    row("a warning", "#say warning 2034 5 x\n", "");
    row("a warning on what is certain", "#say warning 2050 5 x\n", "x (SC2050)");
    row("a variable that nobody sets", "#say warning 2154 5 medum is referenced but not assigned.\n", "");
    row("a misspelt variable", "#say warning 2154 5 medum is (did you mean 'medium'?)\n",
        "medum is (did you mean 'medium'?) (SC2154)");
    row("a variable of that name elsewhere",
        "medum=5\n#say warning 2154 5 medum is (did you mean 'medium'?)\n", "");
    row("where it gave up, what it stumbled over",
        "#say error 1019 2 x\n#say error 1020 5 y\n#say error 1072 5 z\n#say error 1073 4 t\n", "y (SC1020)");
    row("where it gave up, it does not know over what", "#say error 1072 5 z\n#say error 1073 4 t\n", "");
    row("where the shell gives up, too", "#say error 1020 5 y\n#say error 1072 5 z\nif\n", "");
}

void TestFindings::whatShellcheckSaysIsToldWhereItIsCertain()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    QStringList told;
    for (const Finding &finding : checkCommand("sh /mnt/upgrade/run", script).list) {
        if (finding.id != "script-shellcheck")
            continue;
        told.append(finding.message);
        QCOMPARE(finding.at.column, 5);
        QCOMPARE(finding.end.column, 8);
        QVERIFY(finding.isAdvice);
    }
    QCOMPARE(told.join('|'), message);
}

void TestFindings::aScriptOfAScriptIsReadToo()
{
    const QString folder = work.filePath(QString::number(++copies));
    QDir().mkpath(folder + "/zul_install");
    put(folder + "/zul_install/system.ini", "[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@sh /mnt/upgrade/one\"\n");
    put(folder + "/one", "m=/mnt/upgrade\nsh $m/two\n");
    put(folder + "/two", "date\ncat /mnt/upgrade/three\n");
    const Findings findings = check(folder);
    QCOMPARE(idsOf(findings), QStringList("missing-in-script"));
    QVERIFY(findings.list.first().file.endsWith("/two"));
    QCOMPARE(findings.list.first().at.line, 2);
}

void TestFindings::whatAMisreadListNamesIsLookedAtToo_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<QString>("id");
    const auto row = [](const char *name, const QByteArray &list, const char *id) {
        QTest::newRow(name) << list << QString(id);
    };
    row("without quotation marks", "CMD_List=a, b", "unquoted-comma");
    row("with semicolons", "CMD_List=a;b", "unquoted-semicolon");
    row("with semicolons in quotation marks", "CMD_List=\"a;b\"", "item-without-command");
    row("with anything else in quotation marks", "CMD_List=\"a|b\"", "item-without-command");
    row("with blanks", "CMD_List=\"a, b\"", "blank-after-comma");
    row("with commas of another keyboard",
        "CMD_List=\"a\xef\xbc\x8c"
        "b\"",
        "foreign-separator");
    row("at once", "CMD_Type=a,b", "unquoted-comma");
}

/// Else its author would be told of them only once the list is put right.
void TestFindings::whatAMisreadListNamesIsLookedAtToo()
{
    QFETCH(QByteArray, list);
    QFETCH(QString, id);
    const Findings findings = checkText("[system]\n" + list
                                        + "\n[CMD]\na=\"A@date | tee /a\"\nb=\"Gr\xc3\xb6\xc3\x9f"
                                          "e@date | tee /b\"\n");
    const QStringList ids = idsOf(findings);
    QVERIFY2(ids.contains(id), qPrintable(ids.join(' ')));
    QStringList rights;
    for (const Finding &finding : findings.list)
        rights.append(finding.right);
    QVERIFY2(rights.contains(list.left(9) + "\"a,b\""), qPrintable(rights.join('\n')));
    QVERIFY2(!ids.contains("unlisted-key"), qPrintable(ids.join(' ')));
    QVERIFY2(rights.contains("a=\"A@sh -c \\\"date | tee /a\\\"\""), qPrintable(rights.join('\n')));
    QVERIFY2(rights.contains("b=\"Gr\\xf6\\xdf\\x65@sh -c \\\"date | tee /b\\\"\""),
             qPrintable(rights.join('\n')));
}

void TestFindings::aKeyIsRenamedWhereItsListIsReadOnly_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<bool>("mendable");
    QTest::newRow("read") << QByteArray("CMD_List=\"copy all,b\"") << true;
    QTest::newRow("not listed") << QByteArray("CMD_List=b") << true;
    QTest::newRow("no list") << QByteArray("ENDGAME=true") << true;
    QTest::newRow("commas") << QByteArray("CMD_List=copy all, b") << false;
    QTest::newRow("a semicolon") << QByteArray("CMD_List=copy all;b") << false;
    QTest::newRow("a semicolon in quotation marks") << QByteArray("CMD_List=\"copy all;b\"") << false;
}

/// Else the list, once it is put right, would name what the key was called before.
void TestFindings::aKeyIsRenamedWhereItsListIsReadOnly()
{
    QFETCH(QByteArray, list);
    QFETCH(bool, mendable);
    const Findings findings = checkText("[system]\n" + list + "\n[CMD]\ncopy all=\"A@date\"\nb=\"B@date\"\n");
    for (const Finding &finding : findings.list) {
        if (finding.id == "space-in-key") {
            QCOMPARE(finding.mendable, mendable);
            return;
        }
    }
    QFAIL(qPrintable(idsOf(findings).join(' ')));
}

void TestFindings::whatSwallowsOtherLinesIsNotMendedWithThem_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("a value") << QByteArray("[x]\nk=a\"b\\");
    QTest::newRow("a key") << QByteArray("[CMD]\nk \xc3\xa4\"");
    QTest::newRow("a key elsewhere") << QByteArray("[x]\nk \xc3\xa4\"");
}

/// All that an open quotation mark makes part of one entry would become one line, or a comment.
void TestFindings::whatSwallowsOtherLinesIsNotMendedWithThem()
{
    QFETCH(QByteArray, line);
    const QByteArray catalogue =
        "[system]\nCMD_List=\"a\"\n" + line + "\n[CMD]\na=\"A@date\"\nb=\"B@sync\"\n";
    for (const Finding &finding : checkText(catalogue).list) {
        if (finding.mendable)
            QVERIFY2(edited(catalogue, finding.edits).contains("\na=\"A@date\"\nb=\"B@sync\"\n"),
                     qPrintable(finding.id));
    }
}

void TestFindings::aScriptIsReadWithItsArguments_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("ids");
    const auto row = [](const char *name, const QByteArray &script, const QStringList &ids) {
        QTest::newRow(name) << script << ids;
    };
    row("its first", "cat \"$1\"\n", {"relative-path"});
    row("its second", "cat \"/mnt/upgrade/$2\"\n", {"missing-in-script"});
    row("those of a function", "f() {\n    cat \"$1\" \"/mnt/upgrade/$2\"\n}\nf /opt/a b\n", {});
    row("those of a function in a shell of its own", "f()\n(\n    cat \"$1\"\n)\nf /opt/a\n", {});
    row("its own behind a function", "f() { date; }\ncat \"$1\"\n", {"relative-path"});
    row("its own in a group", "{\n    cat \"$1\"\n}\n", {"relative-path"});
    row("the next one", "shift\ncat \"$1\"\n", {});
    row("others", "set -- /opt/a\ncat \"$1\"\n", {});
    row("its own name in a function", "f() { cat \"${0%/*}/x\"; }\nf\n", {"missing-in-script"});
}

void TestFindings::aScriptIsReadWithItsArguments()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, ids);
    QCOMPARE(idsOf(checkCommand("sh /mnt/upgrade/run a.txt b.txt", script)), ids);
}

void TestFindings::theRightLineIsRightForWhateverIsWritten_data()
{
    QTest::addColumn<QByteArray>("before"); // of the lines that are put right
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("column");
    QTest::addColumn<QByteArray>("right");
    const QByteArray list = "[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@x\"\n";
    const auto row = [](const char *name, const QByteArray &before, const QByteArray &lines, const char *id,
                        int column, const QByteArray &right) {
        QTest::newRow(name) << before << lines << QString(id) << column << right;
    };
    row("a comment of two lines", list, "[x]\nk=\"a\nb\"\n", "unknown-key", 1, "[x]\n; k=\"a b\"\n");
    row("a comment with a zero byte", list, QByteArray("[x]\nk=a\0b\n", 10), "unknown-key", 1,
        "[x]\n; k=a b\n");
    row("a line of zero bytes", list, QByteArray("\0\0\n", 3), "nul", 1, ";\n");
    row("a key behind zero bytes and a tab", list, QByteArray("\0\0\tb=\"B@y\"\n", 11), "nul", 1,
        "b=\"B@y\"\n");
    row("a section outside the sections", list, "[General\n", "broken-section", 1, "[General]\n");
    row("a section of that name", list, "[%General\n", "broken-section", 1, "[%General]\n");
    row("a section with a bracket in it", list, "[a%5db\n", "broken-section", 1, "[a%5db]\n");
    row("a section of two lines", list, "[a\"\nb\"\n", "broken-section", 1, "[a%22%0ab%22]\n");
    row("a quotation mark behind #", list, "# 3\" disk\nb=\"B@y\"\n", "hash-comment", 1,
        "; 3\" disk\nb=\"B@y\"\n");
    row("a quotation mark on a line without =", list, "3\" disk\nb=\"B@y\"\n", "ignored-line", 1,
        "; 3\" disk\nb=\"B@y\"\n");
    row("a comment on a line without =", list, "nothing ; else\n", "ignored-line", 1, "; nothing ; else\n");
    row("a key that no list can name", list, "b,c=\"B@y\"\n", "unlisted-key", 1, "; b,c=\"B@y\"\n");
    row("a blank behind a letter of two bytes", list, "\xc3\xa4 b=\"B@y\"\n", "space-in-key", 3,
        "\xc3\xa4_b=\"B@y\"\n");
    row("a key that is no UTF-8", "[system]\nCMD_List=\"\xe4\"\n[CMD]\n", "\xe4=\"B@y.sh\"\n",
        "single-word-sh", 6, "%e4=\"B@sh y.sh\"\n");
    row("a key with an at sign", "[system]\nCMD_List=\"a@b\"\n[CMD]\n", "a@b=\"B\"\n", "no-at", 6,
        "a@b=\"a b@B\"\n");
    row("a name with blanks at the front", "[system]\nCMD_List=\"b\"\n[CMD]\n",
        "b=\"" + QByteArray(200, ' ') + "B@y\"\n", "name-too-long-list", 4, "b=\"NAME@y\"\n");
}

void TestFindings::theRightLineIsRightForWhateverIsWritten()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, lines);
    QFETCH(QString, id);
    QFETCH(QByteArray, right);
    const QByteArray text = before + lines;
    for (const Finding &finding : checkText(text).list) {
        if (finding.id != id)
            continue;
        QTEST(finding.at.column, "column");
        const QByteArray mended = edited(text, finding.edits);
        QCOMPARE(mended, before + right);
        QVERIFY(right.contains(finding.right.toUtf8())); // it is shown as it becomes
        QVERIFY(!idsOf(checkText(mended)).contains(id));
        return;
    }
    QFAIL("not found");
}

void TestFindings::aCommandIsSentToAScriptOnlyWhenThereIsOne()
{
    const QByteArray text = "[system]\nCMD_List=\"a %/b\"\n[CMD]\na%20%25\\b=\"B@c@d\"\n";
    const QString line = "a%20%25\\b=\"B@sh /mnt/upgrade/a___b.sh\"";
    const Findings without = checkText(text);
    QCOMPARE(idsOf(without), QStringList("several-at"));
    QCOMPARE(without.list.first().right, "put it into a script, a___b.sh on the medium, and write " + line);
    QVERIFY(without.list.first().edits.isEmpty());
    const QString folder = work.filePath(QString::number(copies));
    put(folder + "/a___b.sh", "#!/bin/sh\ntrue\n");
    const Finding with = check(folder).list.first();
    QCOMPARE(with.right, line);
    QCOMPARE(edited(text, with.edits), text.left(text.indexOf("a%20")) + line.toUtf8() + '\n');
    QVERIFY(!with.mendable); // what the script does, only its author knows
}

void TestFindings::aCommentBehindAValueStays()
{
    const QByteArray text = "[system]\nCMD_List=\"a\"\n[CMD]\na = \"A@ls | wc\"  ; why\n";
    const Finding finding = checkText(text).list.first();
    QCOMPARE(finding.right, QString("a=\"A@sh -c \\\"ls | wc\\\"\"  ; why"));
    QCOMPARE(edited(text, finding.edits), text.left(text.indexOf("a = ")) + finding.right.toUtf8() + '\n');
}

void TestFindings::theRightLineIsRightInEveryRespect_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("right");
    const auto row = [](const char *name, const char *line, const char *right) {
        QTest::newRow(name) << QString(line) << QString(right);
    };
    row("of two kinds", "a=\"A@ls a* | wc >/tmp/x\"", "a=\"A@sh -c \\\"ls a* | wc >/tmp/x\\\"\"");
    row("found only once the letters are right", "a=\"\xc3\x84@cat\xc2\xa0/etc/x | wc\"",
        "a=\"\\xc4@sh -c \\\"cat /etc/x | wc\\\"\"");
    row("four, one behind the other", "a=\"\xc3\x84@B=C\xc2\xa0/media/sda1/run\"",
        "a=\"\\xc4@env B=C sh /mnt/upgrade/run\"");
    row("a comment", "a=\"\xc3\x84@ls | wc\" ; because", "a=\"\\xc4@sh -c \\\"ls | wc\\\"\" ; because");
}

void TestFindings::theRightLineIsRightInEveryRespect()
{
    QFETCH(QString, line);
    QFETCH(QString, right);
    const QByteArray head = "[system]\nCMD_List=\"a\"\n[CMD]\n";
    const QByteArray script = "#!/bin/sh\ntrue\n";
    const Findings found = checkText(head + line.toUtf8() + '\n', script);
    QVERIFY(found.list.size() > 1);
    for (const Finding &finding : found.list)
        QCOMPARE(finding.right, right);
    QCOMPARE(idsOf(checkText(head + right.toUtf8() + '\n', script)), QStringList());
}

void TestFindings::theRightLineLeavesWhatIsIgnored()
{
    const Findings found = checkText(
        "[system]\nCMD_List=\"a\"\n[CMD]\na=\"\xc3\x84@grep /x*\" ; zul: ignore=shell-glob because grep takes it\n");
    QCOMPARE(idsOf(found), QStringList("raw-utf8"));
    QVERIFY2(found.list.first().right.startsWith("a=\"\\xc4@grep /x*\""),
             qPrintable(found.list.first().right));
}

void TestFindings::theRightLineLeavesWhatIsAsked()
{
    // What the second "A" is called, only its author knows; that a shell is missing, anybody does.
    const Findings findings =
        checkText("[system]\nCMD_List=\"a,b\"\n[CMD]\na=\"A@/opt/x\"\nb=\"A@/opt/y | /opt/z\"\n");
    QStringList rights;
    for (const Finding &finding : findings.list)
        rights.append(finding.id + ": " + finding.right);
    QVERIFY2(rights.contains("duplicate-name: b=\"A (b)@sh -c \\\"/opt/y | /opt/z\\\"\""),
             qPrintable(rights.join('\n')));
    QVERIFY2(rights.contains("shell-pipe: b=\"A@sh -c \\\"/opt/y | /opt/z\\\"\""),
             qPrintable(rights.join('\n')));
}

void TestFindings::everyLineWithAnOpenQuotationMarkIsTold()
{
    const Findings findings = checkText("[system]\nCMD_List=\"a,b,c\n[CMD]\na=\"A@x\nb=\"B@y\"\nc=\"C@z\n");
    QVector<int> lines;
    for (const Finding &finding : findings.list) {
        if (finding.id == "unbalanced-quotes")
            lines.append(finding.at.line);
    }
    QCOMPARE(lines, (QVector<int>{2, 4, 6}));
}

void TestFindings::aKeyWithABlankIsRenamedInTheListToo()
{
    const QByteArray text =
        "[system]\nCMD_List=\"a b,c,a  d\"\n[CMD]\na b=\"A@x\"\nc=\"C@y\"\na  d=\"D@z\"\n";
    const Findings findings = checkText(text);
    QCOMPARE(idsOf(findings), QStringList("space-in-key"));
    const QByteArray mended = edited(text, findings.list.first().edits);
    QCOMPARE(mended,
             QByteArray("[system]\nCMD_List=\"a_b,c,a__d\"\n[CMD]\na_b=\"A@x\"\nc=\"C@y\"\na__d=\"D@z\"\n"));
    QCOMPARE(idsOf(checkText(mended)), QStringList());
    // Two keys are not to become one.
    const Findings taken = checkText("[system]\nCMD_List=\"a b,a_b\"\n[CMD]\na b=\"A@x\"\na_b=\"B@y\"\n");
    QVERIFY(!taken.list.first().mendable);
}

void TestFindings::whatOnlyTheAuthorKnowsIsAsked()
{
    for (const QString &id : findingIds()) {
        const Findings findings = check(fixture(id), mountDirectoryOf(fixture(id)));
        for (const Finding &finding : findings.list) {
            QVERIFY2(finding.mendable || !questionOf(id).isEmpty(), qPrintable(id));
            QVERIFY2(!finding.mendable || !(changeOf(id) & AsksAuthor), qPrintable(id));
        }
    }
}

void TestFindings::aMessageKeepsWhatLooksLikeAPlaceInIt()
{
    const QByteArray start = "[system]\nCMD_List=\"a,b\"\n[CMD]\n";
    const auto messageOf = [this](const QByteArray &text, const QString &id) {
        for (const Finding &finding : checkText(text).list) {
            if (finding.id == id)
                return finding.message;
        }
        return QString();
    };
    QCOMPARE(messageOf(start + "a=\"%2%1@x\"\nb=\"%2%1@y\"\n", "duplicate-name"),
             QString("\"%2%1\" is the name of line 4 too: both show, and both run this command"));
    QCOMPARE(messageOf(start + "%2=\"A@x\"\n%2=\"A@y\"\n", "duplicate-key"),
             QString("\"%2\" is defined again on line 5, and that one counts"));
}

void TestFindings::aSectionWithinAnotherHidesItsKeys()
{
    const QString copy = copyOf(fixture("nested-section"));
    const QString catalogue = copy + "/zul_install/system.ini";
    QCOMPARE(readVerdict(catalogue).operations.size(), 0);
    putIntoCatalogue(catalogue, check(copy).list.first());
    const QVector<Operation> shown = readVerdict(catalogue).operations;
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.first().name, QString("Clear logs"));
}

void TestFindings::everyRuleKnowsTheSameShells_data()
{
    QTest::addColumn<QString>("shell");
    for (const char *shell : {"sh", "ash", "bash", "dash", "hush", "ksh", "mksh", "zsh", "/bin/sh",
                              "/usr/bin/bash", "busybox sh", "busybox ash"})
        QTest::newRow(shell) << QString(shell);
}

void TestFindings::everyRuleKnowsTheSameShells()
{
    QFETCH(QString, shell);
    // What a script has for the shell is no mistake.
    for (const char *script : {"a | b > $c", "a && d *", "a; ~/e"})
        QCOMPARE(idsOf(checkCommand(shell + " -c \"" + script + '"')), QStringList());
    // It stays the shell that it is when its script is put right.
    const Findings quoted = checkCommand(shell + " -c 'a | b'");
    QCOMPARE(idsOf(quoted), QStringList("shell-quote"));
    QCOMPARE(quoted.list.first().right, iniLine("a", "A@" + shell + " -c \"a | b\""));
    const Findings split = checkCommand(shell + " -c ls /opt");
    QCOMPARE(idsOf(split), QStringList("shell-script-split"));
    QCOMPARE(split.list.first().right, iniLine("a", "A@" + shell + " -c \"ls /opt\""));
    // The script in a file needs no right to execute, has to be there, and its line ends matter.
    QCOMPARE(idsOf(checkCommand(shell + " /mnt/upgrade/run", "true\n")), QStringList());
    QCOMPARE(idsOf(checkCommand(shell + " /mnt/upgrade/run")), QStringList("missing-program"));
    QCOMPARE(idsOf(checkCommand(shell + " /mnt/upgrade/run", "true\r\n")), QStringList("script-line-ends"));
    // A script that asks for it is given to it.
    const QByteArray firstLine = (shell.startsWith('/') ? "#!" + shell : "#!/bin/" + shell).toUtf8();
    const Findings bare = checkCommand("/mnt/upgrade/run -f", firstLine + "\n");
    QCOMPARE(idsOf(bare), QStringList("not-executable"));
    QCOMPARE(bare.list.first().right, iniLine("a", "A@" + shell.section('/', -1) + " /mnt/upgrade/run -f"));
}

void TestFindings::noRuleTakesAnotherProgramForAShell()
{
    QCOMPARE(idsOf(checkCommand("push -c a | b")), QStringList("shell-pipe"));
    QCOMPARE(idsOf(checkCommand("push -c ls /opt")), QStringList());
    const Findings quoted = checkCommand("push -c 'a b'");
    QCOMPARE(quoted.list.first().right, iniLine("a", "A@push -c \"a b\""));
    QCOMPARE(idsOf(checkCommand("push /mnt/upgrade/run")), QStringList());
}

void TestFindings::anInterpreterIsPutInFrontOfItsScript()
{
    const QMap<QString, QString> rights = {
        {"env A=b /mnt/upgrade/run", "env A=b sh /mnt/upgrade/run"},
        {"timeout 9 \"/mnt/upgrade/run\" x", "timeout 9 sh \"/mnt/upgrade/run\" x"},
        {"sh -c \"/mnt/upgrade/run; sync\"", "sh -c \"sh /mnt/upgrade/run; sync\""},
    };
    for (auto right = rights.begin(); right != rights.end(); ++right) {
        const Findings findings = checkCommand(right.key(), "#!/bin/sh\ntrue\n");
        QCOMPARE(idsOf(findings), QStringList("not-executable"));
        QCOMPARE(findings.list.first().right, iniLine("a", "A@" + *right));
    }
}

void TestFindings::everyFixtureIsThatOfAFinding()
{
    QStringList fixtures = QDir(FIXTURES).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QStringList ids = findingIds();
    fixtures.sort();
    ids.sort();
    QCOMPARE(fixtures, ids);
}

void TestFindings::everyFindingIsInTheManual()
{
    QFile manual(MANUAL);
    QVERIFY(manual.open(QIODevice::ReadOnly));
    QStringList explained;
    const QRegularExpression heading("\\*\\*`([a-z0-9-]+)`\\*\\* \\((?:error|warning|note)\\)");
    for (auto headings = heading.globalMatch(QString::fromUtf8(manual.readAll())); headings.hasNext();)
        explained.append(headings.next().captured(1));
    QStringList ids = findingIds();
    explained.sort();
    ids.sort();
    QCOMPARE(explained, ids);
}

void TestFindings::severityDecidesTheExitCode()
{
    const Findings note = check(fixture("needs-scrolling"));
    const Findings warning = check(fixture("unlisted-key"));
    const Findings error = check(fixture("no-list"));
    QCOMPARE(exitCodeOf(note, true), 0);
    QCOMPARE(exitCodeOf(warning, false), 0);
    QCOMPARE(exitCodeOf(warning, true), 1);
    QCOMPARE(exitCodeOf(error, false), 2);
    QCOMPARE(exitCodeOf(error, true), 2);
}

void TestFindings::onlyTheFirstOfAKindAreKept()
{
    QByteArray text = "[system]\nCMD_List=\"a\"\n[CMD]\na=\"A@true\"\n";
    for (int i = 0; i < 200; ++i)
        text += "k" + QByteArray::number(i) + "=\"K@true\"\n";
    const Findings findings = checkText(text);
    QCOMPARE(idsOf(findings), QStringList("unlisted-key"));
    QCOMPARE(findings.list.size() + findings.omitted.value("unlisted-key"), 200);
    QVERIFY(findings.omitted.value("unlisted-key") > 0);
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    TestFindings test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_findings.moc"
