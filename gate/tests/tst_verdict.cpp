// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "deviouscalls.h"
#include "mediumfolder.h"

#include "gate/verdict.h"

#include <QDir>
#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using gate::Manifest;
using gate::Policy;
using gate::SecretKey;
using gate::Verdict;

/// What the gate says of a medium; the same to an author, who copies nothing, as on the controller.
class TestVerdict : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void aSignedMediumIsAcceptedAndOnlyWhatIsListedIsCopied();
    void theKeyOfTheSignatureIsNamed();
    void whatIsChangedAfterwardsIsRefused_data();
    void whatIsChangedAfterwardsIsRefused();
    void oneBitOfAnyFileIsRefused();
    void whoeverSignsButTheOwnerIsRefused();
    void nothingIsParsedBeforeItsSignatureHolds();
    void aSignedManifestThatIsWrongIsRefused();
    void theControllersNameHasToBeTheManifests_data();
    void theControllersNameHasToBeTheManifests();
    void anOlderSerialIsRefused_data();
    void anOlderSerialIsRefused();
    void whatIsTooBigIsRefusedBeforeItIsCopied_data();
    void whatIsTooBigIsRefusedBeforeItIsCopied();
    void withoutRoomItIsRefused();
    void roomThatCannotBeUsedIsRefused();
    void aDevicePulledAtAnyMomentIsRefused();
    void itTakesNoMoreMemoryForALargerFile();

private:
    /// Of both functions, which have to agree. The copy is in `copy`.
    Verdict judged();
    QByteArray refusal();
    /// KiB at the peak of a process that judges and copies a medium; 0 when it is refused.
    long peakWith(const MediumFolder &itsMedium);

    QScopedPointer<MediumFolder> medium, copy;
    Policy policy;
    SecretKey owner = SecretKey::make();
    int rooms = 0; ///< how often one was asked for
};

void TestVerdict::init()
{
    medium.reset(new MediumFolder);
    copy.reset(new MediumFolder);
    medium->write("zul_install/system.ini", "[system]\n");
    medium->write("zul_install/update.sh", "#!/bin/sh\n");
    policy = Policy();
    std::string error;
    QVERIFY(policy.keys.add("owner.pem", owner.publicPem(), &error));
    rooms = 0;
}

Verdict TestVerdict::judged()
{
    rooms = 0;
    copy.reset(new MediumFolder);
    const Verdict verdict =
        gate::judgeAndCopy(medium->open(), policy, [this](const Manifest &, std::string *) {
            ++rooms;
            return copy->open();
        });
    const Verdict looked = gate::judge(medium->open(), policy);
    if (looked.isAccepted != verdict.isAccepted || looked.refusal != verdict.refusal)
        qFatal("an author is told \"%s\", and the controller \"%s\"", looked.refusal.c_str(),
               verdict.refusal.c_str());
    if (verdict.isAccepted != verdict.refusal.empty())
        qFatal("refused without a reason, or accepted with one");
    return verdict;
}

QByteArray TestVerdict::refusal()
{
    return QByteArray::fromStdString(judged().refusal);
}

long TestVerdict::peakWith(const MediumFolder &itsMedium)
{
    copy.reset(new MediumFolder);
    const pid_t process = fork(); // it begins with what is in use now, whatever was before
    if (process == 0) {
        const auto verdict = gate::judgeAndCopy(
            itsMedium.open(), policy, [this](const Manifest &, std::string *) { return copy->open(); });
        _exit(verdict.isAccepted ? 0 : 1);
    }
    int status = 0;
    rusage used = {};
    return wait4(process, &status, 0, &used) == process && status == 0 ? used.ru_maxrss : 0;
}

void TestVerdict::aSignedMediumIsAcceptedAndOnlyWhatIsListedIsCopied()
{
    medium->sign(owner);
    medium->write("not listed", "");
    medium->write("zul_install/not listed", "");
    QVERIFY(judged().isAccepted);
    QCOMPARE(copy->names(), (QStringList{"zul_install", "zul_install/system.ini", "zul_install/update.sh"}));
    QCOMPARE(copy->read("zul_install/update.sh"), QByteArray("#!/bin/sh\n"));
    QCOMPARE(rooms, 1);
}

void TestVerdict::theKeyOfTheSignatureIsNamed()
{
    medium->sign(owner);
    QCOMPARE(judged().key, std::string("owner.pem"));
}

void TestVerdict::whatIsChangedAfterwardsIsRefused_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QByteArray>("refusal");
    const auto row = [](const char *change, const char *refusal) {
        QTest::newRow(change) << QString(change) << QByteArray(refusal);
    };
    const char removed[] = "zul_install/update.sh: No such file or directory";
    row("everything removed", "no manifest");
    row("manifest removed", "no manifest");
    row("signature removed", "no signature");
    row("signature shorter", "signature of no known key, or of another manifest");
    row("signature longer", "zul_install/MANIFEST.sig: longer than 64 bytes");
    row("signature empty", "signature of no known key, or of another manifest");
    row("manifest longer", "signature of no known key, or of another manifest");
    row("manifest empty", "signature of no known key, or of another manifest");
    row("manifest huge", "zul_install/MANIFEST: longer than 4194304 bytes");
    row("manifest a link", "zul_install/MANIFEST: is a link");
    row("manifest a folder", "zul_install/MANIFEST: is a folder");
    row("manifest a pipe", "zul_install/MANIFEST: is a device or the like");
    row("signature a link", "zul_install/MANIFEST.sig: is a link");
    row("file removed", removed);
    row("file renamed", removed);
    row("file longer", "zul_install/update.sh: is not what was signed: it has 11 bytes, not 10");
    row("file a link", "zul_install/update.sh: is a link");
    row("file a folder", "zul_install/update.sh: is a folder");
    row("file a pipe", "zul_install/update.sh: is a device or the like");
    row("folder a link", "zul_install/MANIFEST: the folder zul_install: is a link");
}

void TestVerdict::whatIsChangedAfterwardsIsRefused()
{
    QFETCH(QString, change);
    QFETCH(QByteArray, refusal);
    medium->sign(owner);
    QVERIFY(judged().isAccepted);
    const QString name = change.startsWith("manifest")    ? gate::manifestPath
                         : change.startsWith("signature") ? gate::signaturePath
                                                          : "zul_install/update.sh";
    const QByteArray before = medium->read(name);
    if (change == "everything removed") {
        QVERIFY(QDir(medium->path("zul_install")).removeRecursively());
    } else if (change == "folder a link") {
        QVERIFY(QDir(medium->path()).rename("zul_install", "other"));
        QVERIFY(QFile::link("other", medium->path("zul_install")));
    } else if (change.endsWith("shorter")) {
        medium->write(name, before.left(before.size() - 1));
    } else if (change.endsWith("longer")) {
        medium->write(name, before + '\n');
    } else if (change.endsWith("empty")) {
        medium->write(name, "");
    } else if (change.endsWith("huge")) {
        medium->write(name, QByteArray(100 * 1024 * 1024, '\n'));
    } else {
        medium->remove(name);
        medium->write("kept", before);
    }
    if (change.endsWith("a pipe"))
        QCOMPARE(mkfifo(medium->path(name).toLocal8Bit().constData(), 0644), 0);
    else if (change.endsWith("a folder"))
        QVERIFY(QDir(medium->path()).mkdir(name));
    else if (change.endsWith("a link") && !change.startsWith("folder"))
        QVERIFY(QFile::link("../kept", medium->path(name)));
    QCOMPARE(this->refusal(), refusal);
}

void TestVerdict::oneBitOfAnyFileIsRefused()
{
    medium->sign(owner);
    for (const char *name : {"zul_install/system.ini", "zul_install/update.sh", "zul_install/MANIFEST",
                             "zul_install/MANIFEST.sig"}) {
        const QByteArray before = medium->read(name);
        for (int byte = 0; byte < before.size(); byte += 3) {
            QByteArray other = before;
            other[byte] = static_cast<char>(other.at(byte) ^ 1 << byte % 8);
            medium->write(name, other);
            QVERIFY2(!judged().isAccepted, name);
        }
        medium->write(name, before);
        QVERIFY2(judged().isAccepted, name);
    }
}

void TestVerdict::whoeverSignsButTheOwnerIsRefused()
{
    medium->sign(SecretKey::make());
    QCOMPARE(refusal(), QByteArray("signature of no known key, or of another manifest"));
    medium->sign(owner);
    QVERIFY(judged().isAccepted);
    policy.keys = gate::PublicKeys();
    QCOMPARE(refusal(), QByteArray("there is no key that it could be signed with"));
}

/// What is wrong with the text of somebody else is not even known.
void TestVerdict::nothingIsParsedBeforeItsSignatureHolds()
{
    const std::string text = "#zul-manifest 7\n";
    medium->write(gate::manifestPath, text.c_str());
    medium->write(gate::signaturePath, QByteArray::fromStdString(SecretKey::make().sign(text)));
    QCOMPARE(refusal(), QByteArray("signature of no known key, or of another manifest"));
    medium->write(gate::signaturePath, QByteArray::fromStdString(owner.sign(text)));
    QCOMPARE(refusal(), QByteArray("zul_install/MANIFEST: line 1: not \"#zul-manifest 1\""));
}

void TestVerdict::aSignedManifestThatIsWrongIsRefused()
{
    const std::string text = "#zul-manifest 1\n#file 0 644\n" + std::string(64, '0') + "  ../a\n";
    medium->write(gate::manifestPath, text.c_str());
    medium->write(gate::signaturePath, QByteArray::fromStdString(owner.sign(text)));
    QCOMPARE(refusal(), QByteArray("zul_install/MANIFEST: line 3: the path ../a has a part that is no name"));
    QCOMPARE(rooms, 0);
}

void TestVerdict::theControllersNameHasToBeTheManifests_data()
{
    QTest::addColumn<QString>("controller");
    QTest::addColumn<QString>("manifest");
    QTest::addColumn<QByteArray>("refusal");
    QTest::newRow("neither") << QString() << QString() << QByteArray();
    QTest::newRow("only the controller") << "zul-800" << QString() << QByteArray();
    QTest::newRow("the same") << "zul-800"
                              << "zul-800" << QByteArray();
    QTest::newRow("another") << "zul-800"
                             << "zul-480" << QByteArray("for the controller zul-480, and this is zul-800");
    QTest::newRow("more of it") << "zul-800"
                                << "zul-8000"
                                << QByteArray("for the controller zul-8000, and this is zul-800");
    QTest::newRow("other capitals") << "zul-800"
                                    << "ZUL-800"
                                    << QByteArray("for the controller ZUL-800, and this is zul-800");
    QTest::newRow("only the manifest")
        << QString() << "zul-800" << QByteArray("for the controller zul-800, and this has no name");
}

void TestVerdict::theControllersNameHasToBeTheManifests()
{
    QFETCH(QString, controller);
    QFETCH(QString, manifest);
    QFETCH(QByteArray, refusal);
    policy.settings.compatible = controller.toStdString();
    Manifest signedOne;
    if (!manifest.isEmpty())
        signedOne.compatible = manifest.toStdString();
    medium->sign(owner, signedOne);
    QCOMPARE(this->refusal(), refusal);
    QCOMPARE(rooms, refusal.isEmpty() ? 1 : 0);
}

void TestVerdict::anOlderSerialIsRefused_data()
{
    QTest::addColumn<int>("serial"); // -1: none
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("remembered");
    QTest::addColumn<bool>("remember");
    QTest::addColumn<QByteArray>("refusal");
    QTest::newRow("none is needed") << -1 << 0 << 0 << true << QByteArray();
    QTest::newRow("more than needed") << 7 << 5 << 6 << true << QByteArray();
    QTest::newRow("as much as needed") << 5 << 5 << 5 << true << QByteArray();
    QTest::newRow("older than the owner's")
        << 4 << 5 << 0 << true << QByteArray("serial 4, and 5 is the lowest that is accepted");
    QTest::newRow("older than the remembered one")
        << 5 << 5 << 6 << true << QByteArray("serial 5, and 6 is the lowest that is accepted");
    QTest::newRow("remembered, but not to be") << 5 << 5 << 6 << false << QByteArray();
    QTest::newRow("none, and the owner needs one")
        << -1 << 1 << 0 << false << QByteArray("no serial, and 1 is the lowest that is accepted");
    QTest::newRow("none, and one is remembered")
        << -1 << 0 << 3 << true << QByteArray("no serial, and 3 is the lowest that is accepted");
}

void TestVerdict::anOlderSerialIsRefused()
{
    QFETCH(int, serial);
    QFETCH(int, minimum);
    QFETCH(int, remembered);
    QFETCH(bool, remember);
    QFETCH(QByteArray, refusal);
    policy.settings.minimumSerial = static_cast<std::uint64_t>(minimum);
    policy.settings.rememberSerial = remember;
    policy.rememberedSerial = static_cast<std::uint64_t>(remembered);
    Manifest signedOne;
    if (serial >= 0)
        signedOne.serial = static_cast<std::uint64_t>(serial);
    medium->sign(owner, signedOne);
    QCOMPARE(this->refusal(), refusal);
}

void TestVerdict::whatIsTooBigIsRefusedBeforeItIsCopied_data()
{
    QTest::addColumn<qulonglong>("maximum");
    QTest::addColumn<qulonglong>("memory");
    QTest::addColumn<QByteArray>("refusal");
    const qulonglong page = 4096, kept = 1000000;
    QTest::newRow("just fits") << qulonglong(119) << kept + 2 * page << QByteArray();
    QTest::newRow("one byte too much")
        << qulonglong(118) << kept + 2 * page << QByteArray("its files have 119 bytes, and 118 are accepted");
    QTest::newRow("one byte of memory too little")
        << qulonglong(119) << kept + 2 * page - 1
        << QByteArray("its files need 8192 bytes of memory, and 8191 can be had");
    QTest::newRow("less memory than has to be kept")
        << qulonglong(119) << kept - 1 << QByteArray("its files need 8192 bytes of memory, and 0 can be had");
}

void TestVerdict::whatIsTooBigIsRefusedBeforeItIsCopied()
{
    QFETCH(qulonglong, maximum);
    QFETCH(qulonglong, memory);
    QFETCH(QByteArray, refusal);
    medium->write("zul_install/update.sh", QByteArray(110, '#'));
    policy.settings.maximumSize = maximum;
    policy.settings.freeMemory = 1000000;
    policy.availableMemory = memory;
    medium->sign(owner);
    QCOMPARE(this->refusal(), refusal);
    QCOMPARE(rooms, refusal.isEmpty() ? 1 : 0);
}

void TestVerdict::withoutRoomItIsRefused()
{
    medium->sign(owner);
    const Verdict verdict =
        gate::judgeAndCopy(medium->open(), policy, [](const Manifest &, std::string *error) {
            *error = "no room";
            return gate::Descriptor();
        });
    QVERIFY(!verdict.isAccepted);
    QCOMPARE(verdict.refusal, std::string("no room"));
}

void TestVerdict::roomThatCannotBeUsedIsRefused()
{
    medium->sign(owner);
    copy->write("zul_install", "");
    const Verdict verdict = gate::judgeAndCopy(
        medium->open(), policy, [this](const Manifest &, std::string *) { return copy->open(); });
    QVERIFY(!verdict.isAccepted);
    QCOMPARE(verdict.refusal, std::string("zul_install: cannot be copied: File exists"));
}

void TestVerdict::aDevicePulledAtAnyMomentIsRefused()
{
    medium->sign(owner);
    long long all = 0;
    for (const char *name : {"zul_install/system.ini", "zul_install/update.sh", "zul_install/MANIFEST",
                             "zul_install/MANIFEST.sig"})
        all += medium->read(name).size();
    for (long long bytes = 0; bytes <= all; ++bytes) {
        copy.reset(new MediumFolder);
        DeviousCalls device;
        device.pullAfter(bytes);
        const Verdict verdict = gate::judgeAndCopy(
            medium->open(), policy, [this](const Manifest &, std::string *) { return copy->open(); });
        QVERIFY2(!verdict.isAccepted, qPrintable(QString::number(bytes)));
    }
    QVERIFY(judged().isAccepted);
}

void TestVerdict::itTakesNoMoreMemoryForALargerFile()
{
    // Both before either is judged, as some memory of the making may stay in use.
    const MediumFolder media[2];
    for (int index : {0, 1}) {
        media[index].write("file", QByteArray(index == 0 ? 1 : 32 * 1024 * 1024, 'x'));
        media[index].sign(owner);
    }
    const long small = peakWith(media[0]), large = peakWith(media[1]);
    QVERIFY(small > 0 && large > 0);
    QVERIFY2(100 * large <= 110 * small, qPrintable(QString("%1 and %2 KiB").arg(small).arg(large)));
}

QTEST_GUILESS_MAIN(TestVerdict)
#include "tst_verdict.moc"
