// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "mediumfolder.h"

#include "gate/media.h"
#include "gate/mounts.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using gate::Manifest;
using gate::Mount;
using gate::SecretKey;

/// What becomes of a medium that is plugged in and pulled, seen as the tool sees it: by df.
class TestMedia : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void withoutAGateItIsMountedAsItIs();
    void itIsUnmountedThoughItIsInUse();
    void aSecondCallChangesNothing();
    void whatSomethingElseHasMountedIsTold();

    void whatIsSignedIsMountedAndNothingElse();
    void theCopyIsWhatTheToolTakes_data();
    void theCopyIsWhatTheToolTakes();
    void theCopyCannotBeWritten();
    void theMediumItselfIsMountedNowhere();
    void theDirectorysMountMayBeShared_data();
    void theDirectorysMountMayBeShared();
    void whatIsRefusedIsMountedNowhere_data();
    void whatIsRefusedIsMountedNowhere();
    void whatCannotBeMountedIsTold_data();
    void whatCannotBeMountedIsTold();
    void withoutAPlaceToJudgeItIsRefused();
    void withoutADirectoryItIsRefused();
    void aSerialThatCannotBeWrittenIsTold();
    void theOwnersProgramHearsOfIt();

    void damagedSettingsMountNothing_data();
    void damagedSettingsMountNothing();
    void withoutKeysNothingIsMounted();
    void theSettingsAreTold();

    void aSerialIsRemembered();
    void aSerialThatCannotBeReadRefuses();

    void resultsAreWrittenToTheMedium();
    void resultsAreNotTakenForAMedium();
    void resultsThatCannotBeWrittenAreTold();
    void onAnOldKernelLinksAreTold();
    void onAnOldKernelThereAreNoResultsWithLinks();
    void aLockedMediumIsMountedForReading();
    void aLockedMediumHasNoResults();

    void twoMediaAtOnceAreBothJudged();
    void theToolSeesItWholeOrNotAtAll();
    void killedAtAnyMomentItLeavesAllOrNothing();
    void whoeverOfThemIsKilledItIsRefused_data();
    void whoeverOfThemIsKilledItIsRefused();
    void theJudgeCanDoNothingElse();
    void namesOfMediaAreNames_data();
    void namesOfMediaAreNames();

private:
    /// Runs the program to its end; its lines are in `said`.
    int zulMedia(const QStringList &arguments);
    void configure(const QByteArray &settings) const;
    void writeMedium(const QString &name, const QByteArray &script = "#!/bin/sh\n") const;
    void sign(const QString &name, const SecretKey &key, Manifest manifest = Manifest()) const;
    /// What the tool would link to /mnt/upgrade; empty for none.
    static QString toolsMedium();
    QString directory(const QString &name) const;
    QStringList mountsBelow() const;
    /// Until every process that mounts the medium has ended: each of them has its lock.
    void waitForAllOfThem(const QString &name) const;
    /// Starts mounting a large medium and stops who mounts, or who judges, at work. Returns that process; 0
    /// when it has ended too soon each time.
    qint64 stopAtWork(QProcess *process, bool isJudge);

    SecretKey owner = SecretKey::make();
    QString said;
    const QString root = QString("/mnt") + "/zul";
};

namespace
{

void write(const QString &path, const QByteArray &bytes)
{
    QDir("/").mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%s cannot be written", qPrintable(path));
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
}

Mount mountAt(const QString &path)
{
    const Mount mount = gate::mountOf(path.toStdString());
    return mount.directory == path.toStdString() ? mount : Mount();
}

bool has(const std::string &options, const char *option)
{
    return QString::fromStdString(options).split(',').contains(option);
}

/// The first process that this one starts, once it has; 0 when it ends before.
qint64 childOf(qint64 process)
{
    const QString path = QString("/proc/%1/task/%1/children").arg(process);
    QByteArray children;
    while (QFile::exists(path) && children.trimmed().isEmpty())
        children = read(path);
    return children.split(' ').first().toLongLong();
}

/// Whether the judge has a file of the copy open.
bool isCopying(qint64 judge)
{
    const QString folder = QString("/proc/%1/fd").arg(judge);
    for (const QString &number :
         QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        if (QFile::symLinkTarget(folder + '/' + number).contains("/stage/copy/"))
            return true;
    }
    return false;
}

QString longestPath()
{
    const QString name(204, 'x');
    return QStringList{name, name, name, name, name}.join('/');
}

constexpr char usual[] = "Signature=required\nFreeMemory=0\n";

} // namespace

void TestMedia::initTestCase()
{
    QVERIFY2(QFile::exists("/mnt/.zul-sandbox"), "run it as: simulator/sandbox TEST");
}

void TestMedia::init()
{
    said.clear();
    for (const char *folder : {"media", "run", "keys.d", "devices"})
        QVERIFY(QDir("/").mkpath(root + '/' + folder));
    QCOMPARE(mount("run", (root + "/run").toLocal8Bit().constData(), "tmpfs", 0, "size=1M"), 0);
    write(root + "/keys.d/owner.pem", QByteArray::fromStdString(owner.publicPem()));
    configure(usual);
    writeMedium("sda1");
}

void TestMedia::cleanup()
{
    for (const std::string &mounted : {std::string("media"), std::string("run")}) {
        while (umount2((root.toStdString() + '/' + mounted).c_str(), MNT_DETACH) == 0) {
        }
    }
    for (const QString &name : QDir(root + "/media").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        while (umount2(directory(name).toLocal8Bit().constData(), MNT_DETACH) == 0) {
        }
    }
    QCOMPARE(mount(nullptr, "/mnt", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    QVERIFY(QDir(root).removeRecursively());
}

int TestMedia::zulMedia(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(ZUL_MEDIA, QStringList{root} + arguments);
    if (!process.waitForFinished(60000))
        QTest::qFail("it does not end", __FILE__, __LINE__);
    said = QString::fromUtf8(process.readAll());
    return process.exitCode();
}

void TestMedia::configure(const QByteArray &settings) const
{
    write(root + "/media.conf", settings);
}

QString TestMedia::directory(const QString &name) const
{
    return root + "/media/" + name;
}

void TestMedia::writeMedium(const QString &name, const QByteArray &script) const
{
    write(root + "/devices/" + name + "/zul_install/system.ini", "[system]\n");
    write(root + "/devices/" + name + "/zul_install/update.sh", script);
}

void TestMedia::sign(const QString &name, const SecretKey &key, Manifest manifest) const
{
    const MediumFolder medium(root + "/devices/" + name);
    medium.sign(key, std::move(manifest));
}

QString TestMedia::toolsMedium()
{
    QProcess df;
    df.start("df", QStringList());
    df.waitForFinished();
    QString found;
    for (const QString &line : QString::fromUtf8(df.readAllStandardOutput()).split('\n')) {
        if (line.contains("/dev/sd") || line.contains("/dev/mmc"))
            found = line.split(' ').last();
    }
    return found;
}

void TestMedia::waitForAllOfThem(const QString &name) const
{
    const QByteArray lock = (root + "/run/zul_media/" + name + ".lock").toLocal8Bit();
    const gate::Descriptor file(open(lock.constData(), O_RDWR | O_CLOEXEC));
    QVERIFY(!file.isOpen() || flock(file.number(), LOCK_EX) == 0);
}

qint64 TestMedia::stopAtWork(QProcess *process, bool isJudge)
{
    writeMedium("sda1", QByteArray(100 * 1024 * 1024, 'x'));
    sign("sda1", owner);
    for (int attempt = 0; attempt < 10; ++attempt) {
        process->start(ZUL_MEDIA, {root, "mount", "sda1"});
        process->waitForStarted();
        const qint64 stage = childOf(process->processId()), judge = childOf(stage);
        // The copy's folder is open once everything else is done.
        while (QFile::exists(QString("/proc/%1/fd").arg(judge)) && !isCopying(judge)) {
        }
        const qint64 victim = isJudge ? judge : stage;
        if (victim > 0 && kill(static_cast<pid_t>(victim), SIGSTOP) == 0) {
            if (isCopying(judge))
                return victim;
            kill(static_cast<pid_t>(victim), SIGCONT);
        }
        process->waitForFinished();
        process->readAll();
        zulMedia({"unmount", "sda1"});
    }
    return 0;
}

QStringList TestMedia::mountsBelow() const
{
    QStringList found;
    for (const Mount &mounted : gate::currentMounts()) {
        if (gate::isAtOrBelow(mounted.directory, root.toStdString()))
            found.append(QString::fromStdString(mounted.directory).mid(root.size()));
    }
    found.sort();
    return found;
}

void TestMedia::withoutAGateItIsMountedAsItIs()
{
    configure("Signature=off\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: mounted\n"));
    QCOMPARE(toolsMedium(), directory("sda1"));
    const Mount mounted = mountAt(directory("sda1"));
    QCOMPARE(mounted.source, std::string("/dev/sda1"));
    for (const char *option : {"rw", "nosuid", "nodev", "nosymfollow", "noatime"})
        QVERIFY2(has(mounted.options, option), option);
    QVERIFY(!has(mounted.options, "noexec"));
    QCOMPARE(mountsBelow(), (QStringList{"/media/sda1", "/run"}));
    write(directory("sda1") + "/report", "x");
    QCOMPARE(read(root + "/devices/sda1/report"), QByteArray("x"));

    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: unmounted\n"));
    QCOMPARE(toolsMedium(), QString());
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString());
}

void TestMedia::itIsUnmountedThoughItIsInUse()
{
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QFile inUse(directory("sda1") + "/zul_install/system.ini");
    QVERIFY(inUse.open(QIODevice::ReadOnly));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(toolsMedium(), QString());
    QCOMPARE(inUse.readAll(), QByteArray("[system]\n"));
}

void TestMedia::aSecondCallChangesNothing()
{
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    const Mount first = mountAt(directory("sda1"));
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: mounted already\n"));
    QCOMPARE(mountAt(directory("sda1")).id, first.id);
}

/// A rule of the owner's that was left beside this one would get the tool whatever is on a medium.
void TestMedia::whatSomethingElseHasMountedIsTold()
{
    configure("Signature=off\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: mounted already\n"));
    configure(usual);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, QString("sda1: refused: mounted already by something else, and not verified\n"));
    configure("Signature\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QVERIFY2(said.endsWith("sda1: refused: mounted already by something else, and not verified\n"),
             qPrintable(said));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QVERIFY2(said.startsWith("sda1: unmounted\nsda1: removed\n"), qPrintable(said));
}

void TestMedia::whatIsSignedIsMountedAndNothingElse()
{
    Manifest manifest;
    manifest.serial = 42;
    sign("sda1", owner, manifest);
    write(root + "/devices/sda1/unsigned.sh", "#!/bin/sh\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: accepted: signed by owner.pem, serial 42\n"));
    const MediumFolder copy(directory("sda1"));
    QCOMPARE(copy.names(), (QStringList{"zul_install", "zul_install/system.ini", "zul_install/update.sh"}));
    QCOMPARE(copy.read("zul_install/update.sh"), QByteArray("#!/bin/sh\n"));
}

void TestMedia::theCopyIsWhatTheToolTakes_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a drive") << "sda1";
    QTest::newRow("a card") << "mmcblk0p1";
}

void TestMedia::theCopyIsWhatTheToolTakes()
{
    QFETCH(QString, name);
    writeMedium(name);
    sign(name, owner);
    QCOMPARE(zulMedia({"mount", name}), int(gate::ExitDone));
    QCOMPARE(toolsMedium(), directory(name));
    QCOMPARE(mountAt(directory(name)).source, "/dev/" + name.toStdString());
    QCOMPARE(zulMedia({"unmount", name}), int(gate::ExitDone));
    QCOMPARE(toolsMedium(), QString());
}

void TestMedia::theCopyCannotBeWritten()
{
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(creat((directory("sda1") + "/new").toLocal8Bit().constData(), 0644), -1);
    QCOMPARE(errno, EROFS);
    const Mount mounted = mountAt(directory("sda1"));
    QCOMPARE(mounted.type, std::string("tmpfs"));
    for (const char *option : {"nosuid", "nodev"})
        QVERIFY2(has(mounted.options, option), option);
}

void TestMedia::theMediumItselfIsMountedNowhere()
{
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/media/sda1", "/run"}));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/run"}));
}

void TestMedia::theDirectorysMountMayBeShared_data()
{
    QTest::addColumn<bool>("isShared");
    QTest::addColumn<QStringList>("mounts");
    QTest::newRow("as where systemd runs") << true << QStringList{"/media/sda1", "/run"};
    QTest::newRow("as where it does not") << false << QStringList{"/media", "/media/sda1", "/run"};
}

void TestMedia::theDirectorysMountMayBeShared()
{
    QFETCH(bool, isShared);
    QFETCH(QStringList, mounts);
    QCOMPARE(mount(nullptr, "/mnt", nullptr, MS_REC | (isShared ? MS_SHARED : MS_PRIVATE), nullptr), 0);
    sign("sda1", owner);
    // Another service that was started before.
    QProcess service;
    service.start("unshare", {"--mount", "--propagation", "slave", "sh", "-c", "echo; read go; exec df"});
    QVERIFY(service.waitForReadyRead());
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(mountsBelow(), mounts);
    QCOMPARE(toolsMedium(), directory("sda1"));
    service.write("\n");
    QVERIFY(service.waitForFinished());
    QCOMPARE(service.readAll().contains("/dev/sda1 "), isShared);
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(toolsMedium(), QString());
    // And once more, as it then is.
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(mountsBelow(), mounts);
}

void TestMedia::whatIsRefusedIsMountedNowhere_data()
{
    QTest::addColumn<QString>("medium");
    QTest::addColumn<QString>("line");
    QTest::newRow("not signed") << "unsigned"
                                << "no manifest";
    QTest::newRow("signed by another") << "foreign"
                                       << "signature of no known key, or of another manifest";
    QTest::newRow("changed") << "changed"
                             << "zul_install/update.sh: is not what was signed";
    QTest::newRow("a file too few") << "fewer"
                                    << "zul_install/update.sh: No such file or directory";
    QTest::newRow("too big") << "big"
                             << "its files have 19 bytes, and 18 are accepted";
    QTest::newRow("for another controller") << "other"
                                            << "for the controller zul-480, and this has no name";
    QTest::newRow("a control character in a name")
        << "name"
        << "zul_install/MANIFEST: line 3: the path a\\x1bb is not plain UTF-8";
    QTest::newRow("the longest path") << "long" << longestPath() + ": is not what was signed";
}

void TestMedia::whatIsRefusedIsMountedNowhere()
{
    QFETCH(QString, medium);
    QFETCH(QString, line);
    const QString script = root + "/devices/sda1/zul_install/update.sh";
    Manifest manifest;
    if (medium == "other")
        manifest.compatible = "zul-480";
    if (medium == "long")
        write(root + "/devices/sda1/" + longestPath(), "signed");
    if (medium != "unsigned")
        sign("sda1", medium == "foreign" ? SecretKey::make() : owner, manifest);
    if (medium == "changed")
        write(script, "#!/bin/ed\n");
    if (medium == "long")
        write(root + "/devices/sda1/" + longestPath(), "chance");
    if (medium == "fewer")
        QVERIFY(QFile::remove(script));
    if (medium == "big")
        configure(QByteArray(usual) + "MaximumSize=18\n");
    if (medium == "name") {
        const std::string text = "#zul-manifest 1\n#file 0 644\n" + std::string(64, '0')
                                 + "  a\x1b"
                                   "b\n";
        write(root + "/devices/sda1/zul_install/MANIFEST", text.c_str());
        write(root + "/devices/sda1/zul_install/MANIFEST.sig", QByteArray::fromStdString(owner.sign(text)));
    }
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, "sda1: refused: " + line + '\n');
    QCOMPARE(toolsMedium(), QString());
    QVERIFY(!mountsBelow().contains("/media/sda1"));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: removed\n"));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString());
}

void TestMedia::whatCannotBeMountedIsTold_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("line");
    QTest::newRow("as it is") << QByteArray("Signature=off\n") << int(gate::ExitFailed)
                              << "sda1: cannot be mounted: No such file or directory\n";
    QTest::newRow("signed") << QByteArray(usual) << int(gate::ExitRefused)
                            << "sda1: refused: cannot be mounted: No such file or directory\n";
}

void TestMedia::whatCannotBeMountedIsTold()
{
    QFETCH(QByteArray, settings);
    QFETCH(int, result);
    QFETCH(QString, line);
    configure(settings);
    QVERIFY(QDir(root + "/devices/sda1").removeRecursively());
    QCOMPARE(zulMedia({"mount", "sda1"}), result);
    QCOMPARE(said, line);
    QCOMPARE(toolsMedium(), QString());
}

/// What is mounted there would be seen by all.
void TestMedia::withoutAPlaceToJudgeItIsRefused()
{
    sign("sda1", owner);
    QCOMPARE(umount((root + "/run").toLocal8Bit().constData()), 0);
    QCOMPARE(mount(nullptr, "/mnt", nullptr, MS_SHARED, nullptr), 0);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, QString("sda1: refused: cannot be mounted: %1/run/zul_media/stage is on the same mount as "
                           "%1/media/sda1\n")
                       .arg(root));
    QCOMPARE(mountsBelow(), QStringList());
}

void TestMedia::withoutADirectoryItIsRefused()
{
    QVERIFY(QDir(root).rmdir("media"));
    write(root + "/media", "");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, QString("sda1: refused: %1/media/sda1: Not a directory\n").arg(root));
    QVERIFY(QFile::remove(root + "/media"));
}

/// A full disk does not lock out the medium that makes room.
void TestMedia::aSerialThatCannotBeWrittenIsTold()
{
    configure(QByteArray(usual) + "RememberSerial=yes\n");
    Manifest manifest;
    manifest.serial = 5;
    sign("sda1", owner, manifest);
    QVERIFY(QDir(root).mkpath("state/serial.new"));
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(
        said,
        QString(
            "sda1: accepted: signed by owner.pem, serial 5\n%1/state/serial: cannot be written: Is a directory\n")
            .arg(root));
}

void TestMedia::theOwnersProgramHearsOfIt()
{
    write(root + "/lamp", "#!/bin/sh\nif [ $1 = removed ]; then sleep 1; fi\necho \"$#: $*\" >>"
                              + root.toUtf8() + "/heard\n");
    QVERIFY(QFile::setPermissions(root + "/lamp", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    configure(QByteArray(usual) + "OnRefused=" + root.toUtf8() + "/lamp\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QTRY_COMPARE(read(root + "/heard"), QByteArray("3: refused sda1 no manifest\n"));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    // A service that has stopped takes with it what it has started, so that this is waited for.
    QCOMPARE(read(root + "/heard"), QByteArray("3: refused sda1 no manifest\n3: removed sda1 \n"));
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    configure(QByteArray(usual) + "OnRefused=" + root.toUtf8() + "/none\nCompatible=x\nMinimumSerial=1\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(read(root + "/heard").count('\n'), 2);
}

void TestMedia::damagedSettingsMountNothing_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("line");
    QTest::newRow("a wrong value") << QByteArray("Signature=of\n")
                                   << "line 1: Signature is off or required, not \"of\"";
    QTest::newRow("a wrong name") << QByteArray("Signature=off\nBeep=1\n")
                                  << "line 2: no setting is called Beep";
    QTest::newRow("no file") << QByteArray() << "No such file or directory";
}

void TestMedia::damagedSettingsMountNothing()
{
    QFETCH(QByteArray, settings);
    QFETCH(QString, line);
    configure(settings);
    if (settings.isEmpty())
        QVERIFY(QFile::remove(root + "/media.conf"));
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said,
             root + "/media.conf: " + line + "\nsda1: refused: the settings have to be put right first\n");
    QCOMPARE(toolsMedium(), QString());
}

void TestMedia::withoutKeysNothingIsMounted()
{
    sign("sda1", owner);
    write(root + "/keys.d/owner.pem", "damaged");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, root + "/keys.d/owner.pem: not a public key: left out\n"
                       + "sda1: refused: there is no key that it could be signed with\n");
    QCOMPARE(toolsMedium(), QString());
}

void TestMedia::theSettingsAreTold()
{
    QCOMPARE(zulMedia({"settings"}), int(gate::ExitDone));
    QCOMPARE(said, QString("Only what is signed is mounted.\n"));
    QVERIFY(QFile::remove(root + "/keys.d/owner.pem"));
    QCOMPARE(zulMedia({"settings"}), int(gate::ExitRefused));
    QCOMPARE(said, QString("Nothing is mounted: there is no key to be signed with.\n"));
    configure("Signature=off\n");
    QCOMPARE(zulMedia({"settings"}), int(gate::ExitDone));
    QCOMPARE(said, QString("Every medium is mounted, whoever made it.\n"));
    configure("Signature\n");
    QCOMPARE(zulMedia({"settings"}), int(gate::ExitRefused));
    QVERIFY2(said.contains("Nothing is mounted before the settings are put right.\n"), qPrintable(said));
}

void TestMedia::aSerialIsRemembered()
{
    configure(QByteArray(usual) + "RememberSerial=yes\n");
    const auto plug = [this](int serial) {
        Manifest manifest;
        manifest.serial = static_cast<std::uint64_t>(serial);
        sign("sda1", owner, manifest);
        const int result = zulMedia({"mount", "sda1"});
        QString lines = said;
        zulMedia({"unmount", "sda1"});
        return QString::number(result) + ' ' + lines;
    };
    QVERIFY(!QDir(root).exists("state")); // as where no service has made it
    QCOMPARE(plug(5), QString("0 sda1: accepted: signed by owner.pem, serial 5\n"));
    QCOMPARE(read(root + "/state/serial"), QByteArray("5\n"));
    QCOMPARE(plug(4), QString("1 sda1: refused: serial 4, and 5 is the lowest that is accepted\n"));
    QCOMPARE(plug(5), QString("0 sda1: accepted: signed by owner.pem, serial 5\n"));
    QCOMPARE(plug(7), QString("0 sda1: accepted: signed by owner.pem, serial 7\n"));
    QCOMPARE(read(root + "/state/serial"), QByteArray("7\n"));
    configure(usual);
    QCOMPARE(plug(4), QString("0 sda1: accepted: signed by owner.pem, serial 4\n"));
    QCOMPARE(read(root + "/state/serial"), QByteArray("7\n"));
}

void TestMedia::aSerialThatCannotBeReadRefuses()
{
    configure(QByteArray(usual) + "RememberSerial=yes\n");
    sign("sda1", owner);
    write(root + "/state/serial", "seven\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, "sda1: refused: " + root + "/state/serial: not a serial: seven\\x0a\n");
    QVERIFY(QFile::remove(root + "/state/serial"));
    QVERIFY(QDir(root).mkpath("state/serial"));
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitRefused));
    QCOMPARE(said, "sda1: refused: " + root + "/state/serial: not a regular file\n");
}

void TestMedia::resultsAreWrittenToTheMedium()
{
    configure(QByteArray(usual) + "Results=yes\n");
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    const QString results = directory("sda1") + "/zul_results";
    write(results + "/log", "done");
    QCOMPARE(creat((directory("sda1") + "/new").toLocal8Bit().constData(), 0644), -1);
    const Mount mounted = mountAt(results);
    for (const char *option : {"rw", "noexec", "nosuid", "nodev", "nosymfollow"})
        QVERIFY2(has(mounted.options, option), option);
    QCOMPARE(read(root + "/devices/sda1/zul_results/log"), QByteArray("done"));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/media/sda1", "/media/sda1/zul_results", "/run"}));
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/run"}));
}

/// It comes after the copy in df, which would make it the medium, and a catalogue in it would run unsigned.
void TestMedia::resultsAreNotTakenForAMedium()
{
    configure(QByteArray(usual) + "Results=yes\n");
    sign("sda1", owner);
    write(root + "/devices/sda1/zul_results/zul_install/system.ini", "[system]\n");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QVERIFY(QFile::exists(directory("sda1") + "/zul_results/zul_install/system.ini"));
    QCOMPARE(toolsMedium(), directory("sda1"));
    for (const Mount &mounted : gate::currentMounts())
        QCOMPARE(QString::fromStdString(mounted.source).contains("/dev/sd"),
                 mounted.directory == directory("sda1").toStdString());
}

void TestMedia::resultsThatCannotBeWrittenAreTold()
{
    configure(QByteArray(usual) + "Results=yes\n");
    sign("sda1", owner);
    QVERIFY(QFile::link("/tmp", root + "/devices/sda1/zul_results"));
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(said, QString("sda1: accepted: signed by owner.pem; no folder for results: Not a directory\n"));
    QCOMPARE(toolsMedium(), directory("sda1"));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/media/sda1", "/run"}));
}

void TestMedia::onAnOldKernelLinksAreTold()
{
    configure("Signature=off\n");
    qputenv("ZUL_OLD_KERNEL", "1");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    qunsetenv("ZUL_OLD_KERNEL");
    QCOMPARE(said, QString("sda1: mounted; this kernel follows the links on it\n"));
}

void TestMedia::aLockedMediumIsMountedForReading()
{
    configure("Signature=off\n");
    qputenv("ZUL_LOCKED", "1");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    qunsetenv("ZUL_LOCKED");
    QCOMPARE(said, QString("sda1: mounted, read-only: it is locked\n"));
    QVERIFY(has(mountAt(directory("sda1")).options, "ro"));
}

void TestMedia::aLockedMediumHasNoResults()
{
    configure(QByteArray(usual) + "Results=yes\n");
    sign("sda1", owner);
    write(root + "/devices/sda1/zul_results/earlier", "");
    qputenv("ZUL_LOCKED", "1");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    qunsetenv("ZUL_LOCKED");
    QCOMPARE(said,
             QString("sda1: accepted: signed by owner.pem; no folder for results: the medium is locked\n"));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/media/sda1", "/run"}));
}

/// What a command writes there would go wherever a link leads that was on the medium before.
void TestMedia::onAnOldKernelThereAreNoResultsWithLinks()
{
    configure(QByteArray(usual) + "Results=yes\n");
    sign("sda1", owner);
    qputenv("ZUL_OLD_KERNEL", "1");
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    qunsetenv("ZUL_OLD_KERNEL");
    QCOMPARE(said, QString("sda1: accepted: signed by owner.pem; no folder for results: this kernel would "
                           "follow the links in it\n"));
    QCOMPARE(toolsMedium(), directory("sda1"));
    QCOMPARE(mountsBelow(), (QStringList{"/media", "/media/sda1", "/run"}));
}

void TestMedia::twoMediaAtOnceAreBothJudged()
{
    writeMedium("mmcblk0p1");
    sign("mmcblk0p1", owner);
    QProcess good, bad;
    good.start(ZUL_MEDIA, {root, "mount", "mmcblk0p1"});
    bad.start(ZUL_MEDIA, {root, "mount", "sda1"});
    QVERIFY(good.waitForFinished() && bad.waitForFinished());
    QCOMPARE(good.exitCode(), int(gate::ExitDone));
    QCOMPARE(bad.exitCode(), int(gate::ExitRefused));
    QCOMPARE(toolsMedium(), directory("mmcblk0p1"));
    sign("sda1", owner);
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    QCOMPARE(zulMedia({"unmount", "mmcblk0p1"}), int(gate::ExitDone));
    QCOMPARE(toolsMedium(), directory("sda1"));
}

void TestMedia::theToolSeesItWholeOrNotAtAll()
{
    const QByteArray big(20 * 1024 * 1024, 'x');
    configure(QByteArray(usual) + "Results=yes\n");
    writeMedium("sda1", big);
    sign("sda1", owner);
    const QString results = directory("sda1") + "/zul_results",
                  script = directory("sda1") + "/zul_install/update.sh";
    QProcess process;
    process.start(ZUL_MEDIA, {root, "mount", "sda1"});
    QVERIFY(process.waitForStarted());
    int looks = 0;
    while (mountAt(directory("sda1")).id == 0 && process.state() == QProcess::Running) {
        ++looks;
        process.waitForFinished(0);
    }
    QCOMPARE(QFileInfo(script).size(), qint64(big.size()));
    QVERIFY(has(mountAt(directory("sda1")).options, "nosuid"));
    QCOMPARE(creat((directory("sda1") + "/new").toLocal8Bit().constData(), 0644), -1);
    QVERIFY(mountAt(results).id != 0);
    QVERIFY(looks > 0);
    QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished());
    QCOMPARE(process.exitCode(), int(gate::ExitDone));
}

void TestMedia::killedAtAnyMomentItLeavesAllOrNothing()
{
    writeMedium("sda1", QByteArray(4 * 1024 * 1024, 'x'));
    sign("sda1", owner);
    QElapsedTimer whole;
    whole.start();
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
    const int longest = static_cast<int>(whole.elapsed());
    QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
    for (int part = 0; part < 20; ++part) {
        QProcess process;
        process.start(ZUL_MEDIA, {root, "mount", "sda1"});
        QVERIFY(process.waitForStarted());
        process.waitForFinished(longest * part / 20);
        process.kill();
        QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished());
        waitForAllOfThem("sda1");
        const bool isThere = !toolsMedium().isEmpty();
        QCOMPARE(QFileInfo::exists(directory("sda1") + "/zul_install/update.sh"), isThere);
        QCOMPARE(zulMedia({"unmount", "sda1"}), int(gate::ExitDone));
        QCOMPARE(toolsMedium(), QString());
        QCOMPARE(mountsBelow(), (QStringList{"/media", "/run"}));
    }
    QCOMPARE(zulMedia({"mount", "sda1"}), int(gate::ExitDone));
}

void TestMedia::whoeverOfThemIsKilledItIsRefused_data()
{
    QTest::addColumn<bool>("isJudge");
    QTest::addColumn<QString>("line");
    QTest::newRow("who mounts") << false << "the process that mounts has ended";
    QTest::newRow("who judges") << true << "the judge has ended without a verdict";
}

void TestMedia::whoeverOfThemIsKilledItIsRefused()
{
    QFETCH(bool, isJudge);
    QFETCH(QString, line);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    const qint64 victim = stopAtWork(&process, isJudge);
    QVERIFY(victim > 0);
    QCOMPARE(kill(static_cast<pid_t>(victim), SIGKILL), 0);
    QVERIFY(process.waitForFinished());
    waitForAllOfThem("sda1");
    QCOMPARE(process.exitCode(), int(gate::ExitRefused));
    QCOMPARE(QString::fromUtf8(process.readAll()), "sda1: refused: " + line + '\n');
    QCOMPARE(toolsMedium(), QString());
    QVERIFY(!mountsBelow().contains("/media/sda1"));
}

void TestMedia::theJudgeCanDoNothingElse()
{
#ifdef ZUL_COVERAGE
    return; // there it is not shut in, see zul_media_of_folders.cpp
#endif
    QProcess process;
    const qint64 judge = stopAtWork(&process, true);
    QVERIFY(judge > 0);
    const QString about = QString("/proc/%1/").arg(judge);
    const QByteArray status = read(about + "status");
    const QString itsRoot = QFile::symLinkTarget(about + "root");
    QStringList others;
    for (const QString &number :
         QDir(about + "fd").entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        const QString target = QFile::symLinkTarget(about + "fd/" + number);
        if (number.toInt() > STDERR_FILENO && !target.contains("pipe:") && !target.contains("/stage/"))
            others.append(target);
    }
    QCOMPARE(kill(static_cast<pid_t>(judge), SIGCONT), 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), int(gate::ExitDone));
    QVERIFY2(status.contains("CapPrm:\t0000000000000004\n"), status.constData()); // to read others' files
    QVERIFY2(status.contains("CapEff:\t0000000000000004\n"), status.constData());
    QVERIFY2(status.contains("NoNewPrivs:\t1\n"), status.constData());
    QCOMPARE(itsRoot, root + "/run/zul_media/stage");
    QCOMPARE(others, QStringList());
}

void TestMedia::namesOfMediaAreNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isName");
    for (const char *name : {"sda1", "mmcblk0p1", "sdaa12"})
        QTest::newRow(name) << name << true;
    for (const char *name :
         {"", ".", "..", "a/b", "a b", "sda1\n", "sd-a", "123456789012345678901234567890123"})
        QTest::newRow(name) << name << false;
}

void TestMedia::namesOfMediaAreNames()
{
    QFETCH(QString, name);
    QFETCH(bool, isName);
    QCOMPARE(gate::isMediumsName(name.toStdString()), isName);
}

QTEST_GUILESS_MAIN(TestMedia)
#include "tst_media.moc"
