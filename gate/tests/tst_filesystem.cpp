// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/filesystem.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

/// What is mounted at all.
class TestFileSystem : public QObject
{
    Q_OBJECT

private slots:
    void whatIsMadeIsKnown_data();
    void whatIsMadeIsKnown();
    void whatIsSomethingElseIsLeftAlone_data();
    void whatIsSomethingElseIsLeftAlone();
    void everyNumberOfAFatCounts_data();
    void everyNumberOfAFatCounts();
    void aShortDeviceIsLeftAlone();
    void namesOnFatAreUtf8();
    void aJournalIsNotWrittenOutByReading();
};

namespace
{

QByteArray typeOf(const QByteArray &start)
{
    const char *type = gate::fileSystemOf({start.constData(), static_cast<std::size_t>(start.size())});
    return type ? type : "none";
}

QByteArray zeros()
{
    return QByteArray(static_cast<int>(gate::fileSystemStart), '\0');
}

QByteArray with(QByteArray start, int place, const QByteArray &bytes)
{
    return start.replace(place, bytes.size(), bytes);
}

/// The least that a FAT has.
QByteArray fat()
{
    QByteArray start = with(zeros(), 11, QByteArray::fromHex("0002 08 2000 02"));
    start = with(start, 21, QByteArray::fromHex("f8"));
    return with(start, 510, QByteArray::fromHex("55aa"));
}

} // namespace

void TestFileSystem::whatIsMadeIsKnown_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("type");
    QTest::newRow("FAT12") << "mkfs.fat"
                           << "-F 12" << QByteArray("vfat");
    QTest::newRow("FAT16") << "mkfs.fat"
                           << "-F 16" << QByteArray("vfat");
    QTest::newRow("FAT32") << "mkfs.fat"
                           << "-F 32" << QByteArray("vfat");
    QTest::newRow("FAT with large sectors") << "mkfs.fat"
                                            << "-S 4096" << QByteArray("vfat");
    QTest::newRow("ext2") << "mkfs.ext2"
                          << "-q" << QByteArray("ext4");
    QTest::newRow("ext4") << "mkfs.ext4"
                          << "-q" << QByteArray("ext4");
    QTest::newRow("swap") << "mkswap"
                          << "-q" << QByteArray("none");
}

void TestFileSystem::whatIsMadeIsKnown()
{
    QFETCH(QString, program);
    QFETCH(QString, arguments);
    QFETCH(QByteArray, type);
    const QString found = QStandardPaths::findExecutable(program, {"/usr/sbin", "/sbin", "/usr/bin"});
    QVERIFY2(!found.isEmpty(), qPrintable(program));
    QTemporaryDir folder;
    QFile image(folder.filePath("image"));
    QVERIFY(image.open(QIODevice::ReadWrite));
    QVERIFY(image.resize(64 * 1024 * 1024));
    QProcess make;
    make.start(found, arguments.split(' ') + QStringList{image.fileName()});
    QVERIFY(make.waitForFinished());
    QCOMPARE(make.exitCode(), 0);
    QCOMPARE(typeOf(image.read(static_cast<int>(gate::fileSystemStart))), type);
}

void TestFileSystem::whatIsSomethingElseIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("type");
    const auto row = [](const char *name, const QByteArray &start, const char *type) {
        QTest::newRow(name) << start << QByteArray(type);
    };
    row("nothing", zeros(), "none");
    row("text", QByteArray("text").repeated(512), "none");
    row("a table of partitions", with(zeros(), 510, QByteArray::fromHex("55aa")), "none");
    row("exFAT", with(zeros(), 3, "EXFAT   "), "exfat");
    row("NTFS", with(with(fat(), 3, "NTFS    "), 14, QByteArray::fromHex("0000 00")), "none");
    row("the least FAT", fat(), "vfat");
    row("a FAT without its last mark", with(fat(), 510, QByteArray::fromHex("0000")), "none");
}

void TestFileSystem::whatIsSomethingElseIsLeftAlone()
{
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, type);
    QCOMPARE(typeOf(start), type);
}

void TestFileSystem::everyNumberOfAFatCounts_data()
{
    QTest::addColumn<int>("place");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("type");
    const auto row = [](const char *name, int place, const char *hex, const char *type) {
        QTest::newRow(name) << place << QByteArray::fromHex(hex) << QByteArray(type);
    };
    row("small sectors", 11, "0001", "none");
    row("huge sectors", 11, "0020", "none");
    row("odd sectors", 11, "0003", "none");
    row("no cluster", 13, "00", "none");
    row("an odd cluster", 13, "03", "none");
    row("nothing reserved", 14, "0000", "none");
    row("no table", 16, "00", "none");
    row("three tables", 16, "03", "none");
    row("one table", 16, "01", "vfat");
    row("a disk that is none", 21, "f7", "none");
    row("a disk that is removable", 21, "f0", "vfat");
}

void TestFileSystem::everyNumberOfAFatCounts()
{
    QFETCH(int, place);
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, type);
    QCOMPARE(typeOf(with(fat(), place, bytes)), type);
}

void TestFileSystem::aShortDeviceIsLeftAlone()
{
    for (int length = 0; length < fat().size(); ++length)
        QCOMPARE(typeOf(fat().left(length)), QByteArray("none"));
}

void TestFileSystem::namesOnFatAreUtf8()
{
    for (const bool isReadOnly : {false, true}) {
        QCOMPARE(QByteArray(gate::mountOptionsOf("vfat", isReadOnly)), QByteArray("utf8"));
        QCOMPARE(QByteArray(gate::mountOptionsOf("exfat", isReadOnly)), QByteArray("iocharset=utf8"));
    }
}

void TestFileSystem::aJournalIsNotWrittenOutByReading()
{
    QCOMPARE(QByteArray(gate::mountOptionsOf("ext4", true)), QByteArray("errors=continue,noload"));
    QCOMPARE(QByteArray(gate::mountOptionsOf("ext4", false)), QByteArray("errors=continue"));
}

QTEST_GUILESS_MAIN(TestFileSystem)
#include "tst_filesystem.moc"
