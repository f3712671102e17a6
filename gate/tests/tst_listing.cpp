// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "deviouscalls.h"
#include "mediumfolder.h"

#include "gate/listing.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>

/// What an author signs.
class TestListing : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void everyFileIsListedInOrder();
    void whatIsNotTheAuthorsIsLeftOut();
    void whatIsRunMayBeRun_data();
    void whatIsRunMayBeRun();
    void whatKeepsNoRightsIsListedByItsBytes_data();
    void whatKeepsNoRightsIsListedByItsBytes();
    void pathsAreThoseOfTheListAndWhatCannotBeInIt();
    void sumsAreThoseOfTheFiles();
    void whatCannotBeSignedIsTold_data();
    void whatCannotBeSignedIsTold();
    void whatCannotBeReadIsTold();
    void aMediumThatIsNotThereIsTold();

private:
    /// Each path with its mode; or the error.
    QStringList listed() const;

    QScopedPointer<MediumFolder> medium;
};

void TestListing::init()
{
    medium.reset(new MediumFolder);
}

QStringList TestListing::listed() const
{
    std::vector<gate::ListedFile> files;
    std::string error;
    if (!gate::listFiles(medium->open(), &files, &error))
        return {"error", QString::fromStdString(error)};
    QStringList lines;
    for (const gate::ListedFile &file : files)
        lines.append(QString("%1 %2").arg(file.mode, 3, 8).arg(QString::fromStdString(file.path)));
    return lines;
}

void TestListing::everyFileIsListedInOrder()
{
    QCOMPARE(listed(), QStringList());
    for (const char *name : {"b", "a/z", "a/b/c", "a-b", ".hidden"})
        medium->write(name, "");
    QVERIFY(QDir(medium->path()).mkdir("empty"));
    QCOMPARE(listed(), (QStringList{"644 .hidden", "644 a-b", "644 a/b/c", "644 a/z", "644 b"}));
}

void TestListing::whatIsNotTheAuthorsIsLeftOut()
{
    for (const char *name :
         {"zul_install/MANIFEST", "zul_install/MANIFEST.sig", "zul_results/a/b", "lost+found/x",
          "System Volume Information/y", "zul_install/system.ini", "a/zul_results/b", "a/lost+found"})
        medium->write(name, "");
    QCOMPARE(listed(),
             (QStringList{"644 a/lost+found", "644 a/zul_results/b", "644 zul_install/system.ini"}));
}

void TestListing::whatIsRunMayBeRun_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isExecutable");
    QTest::addColumn<QString>("line");
    QTest::newRow("a text") << QByteArray("text") << false << "644 a";
    QTest::newRow("a text that may be run") << QByteArray("text") << true << "755 a";
    QTest::newRow("a script") << QByteArray("#!/bin/sh\n") << false << "755 a";
    QTest::newRow("a program") << QByteArray("\x7f"
                                             "ELF\x01")
                               << false << "755 a";
    QTest::newRow("a comment") << QByteArray("#") << false << "644 a";
    QTest::newRow("a script further down") << QByteArray(65536, ' ') + "#!/bin/sh\n" << false << "644 a";
    QTest::newRow("nothing") << QByteArray() << false << "644 a";
}

void TestListing::whatIsRunMayBeRun()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isExecutable);
    QFETCH(QString, line);
    medium->write("a", bytes);
    QCOMPARE(chmod(medium->path("a").toLocal8Bit().constData(), isExecutable ? 0700 : 0600), 0);
    QCOMPARE(listed(), QStringList{line});
}

void TestListing::whatKeepsNoRightsIsListedByItsBytes_data()
{
    QTest::addColumn<long>("fileSystem");
    QTest::addColumn<QString>("mode");
    QTest::newRow("FAT") << 0x4d44L << "644";
    QTest::newRow("exFAT") << 0x2011bab0L << "644";
    QTest::newRow("NTFS") << 0x7366746eL << "644";
    QTest::newRow("by a driver outside the kernel") << 0x65735546L << "644";
    QTest::newRow("ext4") << 0xef53L << "755";
}

void TestListing::whatKeepsNoRightsIsListedByItsBytes()
{
    QFETCH(long, fileSystem);
    QFETCH(QString, mode);
    medium->write("a", "text");
    medium->write("b", "#!/bin/sh\n");
    for (const char *name : {"a", "b"})
        QCOMPARE(chmod(medium->path(name).toLocal8Bit().constData(), 0755), 0);
    DeviousCalls device;
    device.haveFileSystem(fileSystem);
    QCOMPARE(listed(), (QStringList{mode + " a", "755 b"}));
}

void TestListing::pathsAreThoseOfTheListAndWhatCannotBeInIt()
{
    medium->write("b/c", "");
    medium->write("zul_install/MANIFEST", "");
    QVERIFY(QFile::link("c", medium->path("b/d")));
    QCOMPARE(mkfifo(medium->path("a").toLocal8Bit().constData(), 0644), 0);
    std::vector<std::string> paths;
    std::string error;
    QVERIFY(gate::listPaths(medium->open(), &paths, &error));
    QCOMPARE(paths, (std::vector<std::string>{"a", "b/c", "b/d"}));
}

void TestListing::sumsAreThoseOfTheFiles()
{
    medium->write("a", QByteArray("0123456789").repeated(20000));
    std::vector<gate::ListedFile> files;
    std::string error;
    QVERIFY(gate::listFiles(medium->open(), &files, &error));
    QCOMPARE(files.size(), std::size_t(1));
    QCOMPARE(files[0].size, std::uint64_t(200000));
    QCOMPARE(files[0].sha256, medium->listed("a").sha256);
}

void TestListing::whatCannotBeSignedIsTold_data()
{
    QTest::addColumn<bool>("isPipe");
    QTest::addColumn<QString>("error");
    QTest::newRow("a link") << false << "a/b: is a link";
    QTest::newRow("a pipe") << true << "a/b: is a device or the like";
}

void TestListing::whatCannotBeSignedIsTold()
{
    QFETCH(bool, isPipe);
    QFETCH(QString, error);
    medium->write("a/c", "");
    if (isPipe)
        QCOMPARE(mkfifo(medium->path("a/b").toLocal8Bit().constData(), 0644), 0);
    else
        QVERIFY(QFile::link("c", medium->path("a/b")));
    QCOMPARE(listed(), (QStringList{"error", error}));
}

void TestListing::whatCannotBeReadIsTold()
{
    medium->write("a", "x");
    DeviousCalls device;
    device.pullAfter(0);
    QCOMPARE(listed(), (QStringList{"error", "a: cannot be read: Input/output error"}));
}

void TestListing::aMediumThatIsNotThereIsTold()
{
    std::vector<gate::ListedFile> files;
    std::string error;
    QVERIFY(!gate::listFiles(gate::Descriptor(), &files, &error));
    QCOMPARE(error, std::string(": Bad file descriptor"));
}

QTEST_GUILESS_MAIN(TestListing)
#include "tst_listing.moc"
