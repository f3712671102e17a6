// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/mounts.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/mount.h>

using gate::Mount;

/// Which disks are the system's, and where things are mounted.
class TestMounts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void aLineIsReadWhole();
    void whatIsNoLineIsLeftOut_data();
    void whatIsNoLineIsLeftOut();
    void ourOwnMountsAreFound();
    void linksAreFollowedOrNot_data();
    void linksAreFollowedOrNot();
    void pathsAreComparedPartByPart_data();
    void pathsAreComparedPartByPart();
    void aPartitionIsPartOfItsDisk();
    void aDiskWithPartitionsIsTold();
    void anEncryptedDiskIsThatBelow();
    void whatTheMediaAreOnIsNotTheSystems();
    void disksThatGoInACircleEndSomewhere();

private:
    /// A kernel's tree of devices: sda with two partitions, mmcblk0 with one, dm-0 upon sda2.
    QString fakeSys();

    QTemporaryDir folder;
};

namespace
{

std::vector<std::string> disks(const QString &sys, const char *device)
{
    return gate::disksOf(device, sys.toStdString());
}

} // namespace

QString TestMounts::fakeSys()
{
    const QDir sys(folder.path());
    sys.mkpath("dev/block");
    const auto add = [&](const QString &device, const QString &node, bool isPartition) {
        sys.mkpath("devices/" + node + "/slaves");
        QFile::link("../../devices/" + node, sys.filePath("dev/block/" + device));
        QFile partition(sys.filePath("devices/" + node + "/partition"));
        if (isPartition && !partition.open(QIODevice::WriteOnly))
            qFatal("no partition");
    };
    add("8:0", "usb/sda", false);
    add("8:1", "usb/sda/sda1", true);
    add("8:2", "usb/sda/sda2", true);
    add("179:0", "mmc/mmcblk0", false);
    add("179:1", "mmc/mmcblk0/mmcblk0p1", true);
    add("254:0", "dm-0", false);
    QFile::link("../../usb/sda/sda2", sys.filePath("devices/dm-0/slaves/sda2"));
    add("254:1", "dm-1", false);
    QFile::link("../../dm-1", sys.filePath("devices/dm-1/slaves/dm-1"));
    return QDir(folder.path()).canonicalPath();
}

void TestMounts::initTestCase()
{
    QVERIFY2(QFile::exists("/mnt/.zul-sandbox"), "run it as: simulator/sandbox TEST");
}

void TestMounts::aLineIsReadWhole()
{
    const auto mounts =
        gate::readMounts("36 35 8:1 /a /media/sd\\040a1 rw,nosuid shared:7 master:1 - vfat /dev/sda1 ro\n"
                         "37 36 0:5 / / ro - tmpfs tmpfs rw\n");
    QCOMPARE(mounts.size(), std::size_t(2));
    QCOMPARE(mounts[0].id, 36);
    QCOMPARE(mounts[0].device, std::string("8:1"));
    QCOMPARE(mounts[0].directory, std::string("/media/sd a1"));
    QCOMPARE(mounts[0].options, std::string("rw,nosuid"));
    QVERIFY(mounts[0].isShared);
    QCOMPARE(mounts[0].type, std::string("vfat"));
    QCOMPARE(mounts[0].source, std::string("/dev/sda1"));
    QVERIFY(!mounts[1].isShared);
    QCOMPARE(mounts[1].directory, std::string("/"));
}

void TestMounts::whatIsNoLineIsLeftOut_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("an empty line") << QByteArray("\n");
    QTest::newRow("no number") << QByteArray("x 35 8:1 / /m rw - vfat /dev/sda1 ro\n");
    QTest::newRow("no dash") << QByteArray("36 35 8:1 / /m rw shared:7 vfat /dev/sda1 ro\n");
    QTest::newRow("an early dash") << QByteArray("36 35 8:1 / - vfat /dev/sda1 ro\n");
    QTest::newRow("nothing behind the dash") << QByteArray("36 35 8:1 / /m rw - vfat\n");
}

void TestMounts::whatIsNoLineIsLeftOut()
{
    QFETCH(QByteArray, text);
    QVERIFY(gate::readMounts(text.toStdString()).empty());
}

void TestMounts::ourOwnMountsAreFound()
{
    QTemporaryDir above;
    const std::string directory = above.filePath("a b").toStdString();
    QVERIFY(QDir(above.path()).mkdir("a b"));
    QCOMPARE(mount("some source", directory.c_str(), "tmpfs", MS_NODEV, "size=64K"), 0);
    const Mount ours = gate::mountOf(directory);
    QCOMPARE(mount(nullptr, directory.c_str(), nullptr, MS_SHARED, nullptr), 0);
    const Mount shared = gate::mountOf(directory);
    QCOMPARE(umount(directory.c_str()), 0);
    QCOMPARE(ours.directory, directory);
    QCOMPARE(ours.source, std::string("some source"));
    QCOMPARE(ours.options, std::string("rw,nodev,relatime"));
    QVERIFY(!ours.isShared);
    QVERIFY(shared.isShared);
    QVERIFY(gate::mountOf(directory).directory != directory);
    QCOMPARE(gate::mountOf(directory + "/none").id, 0);
}

void TestMounts::linksAreFollowedOrNot_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<bool>("areFollowed");
    QTest::newRow("asked for") << QByteArray("ext4") << QByteArray("rw,nosymfollow,noatime") << false;
    QTest::newRow("not known to the kernel") << QByteArray("ext4") << QByteArray("rw,noatime") << true;
    QTest::newRow("another word") << QByteArray("ext4") << QByteArray("rw,nosymfollows") << true;
    QTest::newRow("FAT has none") << QByteArray("vfat") << QByteArray("rw") << false;
    QTest::newRow("exFAT has none") << QByteArray("exfat") << QByteArray("rw") << false;
}

void TestMounts::linksAreFollowedOrNot()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, options);
    Mount mount;
    mount.type = type.toStdString();
    mount.options = options.toStdString();
    QTEST(gate::followsLinks(mount), "areFollowed");
}

void TestMounts::pathsAreComparedPartByPart_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("directory");
    QTest::addColumn<bool>("isBelow");
    QTest::newRow("the same") << QByteArray("/media") << QByteArray("/media") << true;
    QTest::newRow("below") << QByteArray("/media/sda1") << QByteArray("/media") << true;
    QTest::newRow("a longer name") << QByteArray("/media2") << QByteArray("/media") << false;
    QTest::newRow("above") << QByteArray("/") << QByteArray("/media") << false;
    QTest::newRow("below the root") << QByteArray("/media") << QByteArray("/") << true;
}

void TestMounts::pathsAreComparedPartByPart()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, directory);
    QFETCH(bool, isBelow);
    QCOMPARE(gate::isAtOrBelow(path.toStdString(), directory.toStdString()), isBelow);
}

void TestMounts::aPartitionIsPartOfItsDisk()
{
    const QString sys = fakeSys();
    const std::vector<std::string> sda = {sys.toStdString() + "/devices/usb/sda"};
    QCOMPARE(disks(sys, "8:0"), sda);
    QCOMPARE(disks(sys, "8:1"), sda);
    QCOMPARE(disks(sys, "8:2"), sda);
    QVERIFY(disks(sys, "0:25").empty());
    QVERIFY(disks(sys, "").empty());
}

void TestMounts::aDiskWithPartitionsIsTold()
{
    const std::string sys = fakeSys().toStdString();
    QVERIFY(gate::hasPartitions("8:0", sys));
    for (const char *device : {"8:1", "179:1", "254:0", "8:99"})
        QVERIFY2(!gate::hasPartitions(device, sys), device);
}

void TestMounts::anEncryptedDiskIsThatBelow()
{
    const QString sys = fakeSys();
    QCOMPARE(disks(sys, "254:0"), (std::vector<std::string>{sys.toStdString() + "/devices/usb/sda"}));
}

void TestMounts::whatTheMediaAreOnIsNotTheSystems()
{
    const QString sys = fakeSys();
    Mount root, medium;
    root.device = "179:1";
    root.directory = "/";
    medium.device = "8:1";
    medium.directory = "/media/sda1";
    const auto inUse = [&](const char *media) {
        return gate::disksInUse({root, medium}, "Filename Type\n/dev/null partition\nnone x\n", media,
                                sys.toStdString());
    };
    const std::string card = sys.toStdString() + "/devices/mmc/mmcblk0",
                      drive = sys.toStdString() + "/devices/usb/sda";
    QCOMPARE(inUse("/media"), std::vector<std::string>{card});
    QCOMPARE(inUse("/run/media"), (std::vector<std::string>{card, drive}));
}

void TestMounts::disksThatGoInACircleEndSomewhere()
{
    QVERIFY(disks(fakeSys(), "254:1").empty());
}

QTEST_GUILESS_MAIN(TestMounts)
#include "tst_mounts.moc"
