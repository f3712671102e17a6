// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "deviouscalls.h"
#include "mediumfolder.h"

#include "gate/copy.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using gate::ListedFile;
using gate::Manifest;

/// What gets from a medium into the copy: what was signed, or nothing.
class TestCopy : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theCopyHasTheBytesAndThePermissions_data();
    void theCopyHasTheBytesAndThePermissions();
    void everyLengthAroundTheBufferIsCopied_data();
    void everyLengthAroundTheBufferIsCopied();
    void whatIsNotAFileIsRefusedByItsKind_data();
    void whatIsNotAFileIsRefusedByItsKind();
    void theWayToAFileHasNoLinks_data();
    void theWayToAFileHasNoLinks();
    void aNamedPipeIsNotWaitedFor();
    void anotherFileSystemBelowIsNotEntered();
    void whatIsMissingIsTold_data();
    void whatIsMissingIsTold();
    void oneOtherBitIsRefused();
    void anotherLengthIsRefusedBeforeItIsRead();
    void aFileThatGrowsWhileItIsReadIsRefused();
    void theSecondAnswerOfADeviceGainsNothing();
    void aPulledDeviceIsTold_data();
    void aPulledDeviceIsTold();
    void interruptionsDoNoHarm();
    void aFullCopyIsTold();
    void nothingThatIsThereIsOverwritten_data();
    void nothingThatIsThereIsOverwritten();
    void foldersAreOpenToAllWhateverTheMask();
    void aFolderThatCannotBeMadeIsTold();
    void whatTheCopyTakesIsCountedInPages();
    void checkingSaysTheSameAndWritesNothing();

private:
    QByteArray copyError(const ListedFile &file) const;

    QScopedPointer<MediumFolder> medium, target;
};

namespace
{

unsigned int permissions(const QString &path)
{
    struct stat status = {};
    return stat(path.toLocal8Bit().constData(), &status) == 0 ? status.st_mode & 07777U : 0U;
}

ListedFile nowhere(const char *path)
{
    return {0, 0644, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", path};
}

void makeSocket(const QString &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.toLocal8Bit().constData(), sizeof address.sun_path);
    const gate::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    QCOMPARE(bind(socket.number(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
}

} // namespace

void TestCopy::init()
{
    medium.reset(new MediumFolder);
    target.reset(new MediumFolder);
}

void TestCopy::cleanup()
{
    umask(022);
}

/// What is wrong with copying it; nothing when it is copied.
QByteArray TestCopy::copyError(const ListedFile &file) const
{
    std::string error;
    const bool copied = gate::copyFile(medium->open(), file, target->open(), &error);
    if (copied != error.empty())
        qFatal("a failure without its reason, or a reason without a failure");
    return QByteArray::fromStdString(error);
}

void TestCopy::theCopyHasTheBytesAndThePermissions_data()
{
    QTest::addColumn<unsigned int>("mode");
    for (const unsigned int mode : {0644U, 0755U, 0600U, 0777U, 0400U})
        QTest::addRow("%03o", mode) << mode;
}

void TestCopy::theCopyHasTheBytesAndThePermissions()
{
    QFETCH(unsigned int, mode);
    umask(077);
    medium->write("run.sh", "#!/bin/sh\n");
    QCOMPARE(copyError(medium->listed("run.sh", mode)), QByteArray());
    QCOMPARE(permissions(target->path("run.sh")), mode);
    QCOMPARE(target->read("run.sh"), QByteArray("#!/bin/sh\n"));
    QCOMPARE(target->names(), QStringList{"run.sh"});
}

void TestCopy::everyLengthAroundTheBufferIsCopied_data()
{
    QTest::addColumn<int>("length");
    for (const int length : {0, 1, 65535, 65536, 65537, 131072, 200000})
        QTest::addRow("%d bytes", length) << length;
}

void TestCopy::everyLengthAroundTheBufferIsCopied()
{
    QFETCH(int, length);
    QByteArray bytes;
    for (int i = 0; i < length; ++i)
        bytes.append(static_cast<char>(i * 7 + i / 256));
    medium->write("data", bytes);
    QCOMPARE(copyError(medium->listed("data")), QByteArray());
    QCOMPARE(target->read("data"), bytes);
}

void TestCopy::whatIsNotAFileIsRefusedByItsKind_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("a folder") << "folder" << QByteArray("a: is a folder");
    QTest::newRow("a link to a file") << "link" << QByteArray("a: is a link");
    QTest::newRow("a link to nothing") << "broken link" << QByteArray("a: is a link");
    QTest::newRow("a link to a device") << "device link" << QByteArray("a: is a link");
    QTest::newRow("a pipe") << "pipe" << QByteArray("a: is a device or the like");
    QTest::newRow("a socket") << "socket" << QByteArray("a: is a device or the like");
}

void TestCopy::whatIsNotAFileIsRefusedByItsKind()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, error);
    medium->write("good", "");
    const QString path = medium->path("a");
    if (kind == "folder")
        QVERIFY(QDir(medium->path()).mkdir("a"));
    else if (kind == "pipe")
        QCOMPARE(mkfifo(path.toLocal8Bit().constData(), 0644), 0);
    else if (kind == "socket")
        makeSocket(path);
    else
        QVERIFY(QFile::link(kind == "link" ? "good" : kind == "device link" ? "/dev/null" : "none", path));
    QCOMPARE(copyError(nowhere("a")), error);
    QCOMPARE(copyError(nowhere("good")), QByteArray());
}

void TestCopy::theWayToAFileHasNoLinks_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("points");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("a link to a folder beside") << "a"
                                               << "b" << QByteArray("a/c/file: the folder a: is a link");
    QTest::newRow("a link out of the medium") << "a"
                                              << "/tmp" << QByteArray("a/c/file: the folder a: is a link");
    QTest::newRow("a link further down") << "a/c"
                                         << "../b/c" << QByteArray("a/c/file: the folder c: is a link");
}

void TestCopy::theWayToAFileHasNoLinks()
{
    QFETCH(QString, link);
    QFETCH(QString, points);
    QFETCH(QByteArray, error);
    medium->write("b/c/file", "");
    if (link.contains('/'))
        QVERIFY(QDir(medium->path()).mkdir("a"));
    QVERIFY(QFile::link(points, medium->path(link)));
    QCOMPARE(copyError(nowhere("a/c/file")), error);
}

/// Whoever opens it as a file waits until somebody writes.
void TestCopy::aNamedPipeIsNotWaitedFor()
{
    QCOMPARE(mkfifo(medium->path("a").toLocal8Bit().constData(), 0644), 0);
    medium->write("b/c", "");
    QCOMPARE(copyError(nowhere("a")), QByteArray("a: is a device or the like"));
    QCOMPARE(copyError(nowhere("a/b")), QByteArray("a/b: the folder a: is a device or the like"));
}

void TestCopy::anotherFileSystemBelowIsNotEntered()
{
    QVERIFY(QDir(medium->path()).mkdir("a"));
    const QByteArray folder = medium->path("a").toLocal8Bit();
    if (mount("other", folder.constData(), "tmpfs", 0, "size=64K") != 0)
        QSKIP("nothing can be mounted here");
    medium->write("a/file", "");
    const QByteArray error = copyError(nowhere("a/file"));
    QCOMPARE(umount(folder.constData()), 0);
    QCOMPARE(error, QByteArray("a/file: the folder a: is of another file system"));
}

void TestCopy::whatIsMissingIsTold_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("error");
    QTest::addColumn<bool>("missing");
    QTest::newRow("the file") << QByteArray("a/none") << QByteArray("No such file or directory") << true;
    QTest::newRow("its folder") << QByteArray("none/b")
                                << QByteArray("the folder none: No such file or directory") << true;
    QTest::newRow("its folder is a file")
        << QByteArray("a/file/b") << QByteArray("the folder file: is a file") << false;
}

void TestCopy::whatIsMissingIsTold()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, error);
    QFETCH(bool, missing);
    medium->write("a/file", "");
    gate::Failure failure;
    QVERIFY(!gate::openBelow(medium->open(), path.toStdString(), &failure).isOpen());
    QCOMPARE(QByteArray::fromStdString(failure.why), error);
    QCOMPARE(failure.isMissing, missing);
    QCOMPARE(copyError(nowhere(path.constData())), path + ": " + error);
}

void TestCopy::oneOtherBitIsRefused()
{
    const QByteArray bytes = "#!/bin/sh\n";
    medium->write("run.sh", bytes);
    const ListedFile file = medium->listed("run.sh");
    for (int bit = 0; bit < bytes.size() * 8; ++bit) {
        QByteArray other = bytes;
        other[bit / 8] = static_cast<char>(other.at(bit / 8) ^ 1 << bit % 8);
        medium->write("run.sh", other);
        QCOMPARE(copyError(file), QByteArray("run.sh: is not what was signed"));
        target->remove("run.sh");
    }
}

void TestCopy::anotherLengthIsRefusedBeforeItIsRead()
{
    medium->write("a", "12345");
    ListedFile file = medium->listed("a");
    file.size = 4;
    QCOMPARE(copyError(file), QByteArray("a: is not what was signed: it has 5 bytes, not 4"));
    file.size = 6;
    QCOMPARE(copyError(file), QByteArray("a: is not what was signed: it has 5 bytes, not 6"));
    QCOMPARE(target->names(), QStringList());
}

/// The kernel's own files have no length before they are read.
void TestCopy::aFileThatGrowsWhileItIsReadIsRefused()
{
    std::string error;
    const gate::Descriptor kernel(open("/proc/sys/kernel", O_PATH | O_DIRECTORY));
    QVERIFY(!gate::copyFile(kernel, nowhere("ostype"), target->open(), &error));
    QCOMPARE(QByteArray::fromStdString(error), QByteArray("ostype: is not what was signed"));
    QCOMPARE(QFileInfo(target->path("ostype")).size(), qint64(0));
}

/// Good at the first look and evil at the second, and the other way round.
void TestCopy::theSecondAnswerOfADeviceGainsNothing()
{
    const QByteArray padding(100000, '#');
    medium->write("run.sh", "echo good" + padding);
    const ListedFile good = medium->listed("run.sh");
    {
        DeviousCalls device;
        device.answerOtherwiseAtTheSecondRead("good", "evil");
        QCOMPARE(copyError(good), QByteArray());
    }
    QCOMPARE(target->read("run.sh"), "echo good" + padding);

    target->remove("run.sh");
    medium->write("run.sh", "echo evil" + padding);
    DeviousCalls device;
    device.answerOtherwiseAtTheSecondRead("evil", "good");
    QCOMPARE(copyError(good), QByteArray("run.sh: is not what was signed"));
}

void TestCopy::aPulledDeviceIsTold_data()
{
    QTest::addColumn<int>("bytes");
    for (const int bytes : {0, 1, 65536, 99999})
        QTest::addRow("after %d bytes", bytes) << bytes;
}

void TestCopy::aPulledDeviceIsTold()
{
    QFETCH(int, bytes);
    medium->write("a", QByteArray(100000, 'x'));
    const ListedFile file = medium->listed("a");
    DeviousCalls device;
    device.pullAfter(bytes);
    QCOMPARE(copyError(file), QByteArray("a: cannot be read: Input/output error"));
}

void TestCopy::interruptionsDoNoHarm()
{
    const QByteArray bytes = QByteArray("0123456789").repeated(20000);
    medium->write("a", bytes);
    const ListedFile file = medium->listed("a");
    {
        DeviousCalls calls;
        calls.interrupt();
        QCOMPARE(copyError(file), QByteArray());
    }
    QCOMPARE(target->read("a"), bytes);
}

void TestCopy::aFullCopyIsTold()
{
    medium->write("a", "x");
    const ListedFile file = medium->listed("a");
    DeviousCalls calls;
    calls.leaveNoRoom();
    QCOMPARE(copyError(file), QByteArray("a: cannot be copied: No space left on device"));
}

void TestCopy::nothingThatIsThereIsOverwritten_data()
{
    QTest::addColumn<bool>("isLink");
    QTest::newRow("a file") << false;
    QTest::newRow("a link") << true;
}

void TestCopy::nothingThatIsThereIsOverwritten()
{
    QFETCH(bool, isLink);
    medium->write("a", "new");
    target->write(isLink ? "other" : "a", "old");
    if (isLink)
        QVERIFY(QFile::link("other", target->path("a")));
    QCOMPARE(copyError(medium->listed("a")), QByteArray("a: cannot be copied: File exists"));
    QCOMPARE(target->read("a"), QByteArray("old"));
}

void TestCopy::foldersAreOpenToAllWhateverTheMask()
{
    umask(077);
    Manifest manifest;
    manifest.files = {nowhere("a/b/c"), nowhere("a/d"), nowhere("e")};
    std::string error;
    QVERIFY2(gate::makeFolders(manifest, target->open(), &error), error.c_str());
    QCOMPARE(target->names(), (QStringList{"a", "a/b"}));
    QCOMPARE(permissions(target->path("a")), 0755U);
    QCOMPARE(permissions(target->path("a/b")), 0755U);
}

void TestCopy::aFolderThatCannotBeMadeIsTold()
{
    target->write("a", "");
    Manifest manifest;
    manifest.files = {nowhere("a/b")};
    std::string error;
    QVERIFY(!gate::makeFolders(manifest, target->open(), &error));
    QCOMPARE(error, std::string("a: cannot be copied: File exists"));
}

void TestCopy::whatTheCopyTakesIsCountedInPages()
{
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    Manifest manifest;
    manifest.files = {nowhere("a/b/c"), nowhere("d"), nowhere("e"), nowhere("f")};
    manifest.files[0].size = 1;
    manifest.files[1].size = page;
    manifest.files[2].size = page + 1;
    QCOMPARE(gate::needsOf(manifest).bytes, 4 * page);
    QCOMPARE(gate::needsOf(manifest).entries, std::uint64_t(6));
}

void TestCopy::checkingSaysTheSameAndWritesNothing()
{
    medium->write("a", "x");
    ListedFile file = medium->listed("a");
    std::string error;
    QVERIFY(gate::checkFile(medium->open(), file, &error));
    file.sha256[0] = file.sha256[0] == 'a' ? 'b' : 'a';
    QVERIFY(!gate::checkFile(medium->open(), file, &error));
    QCOMPARE(QByteArray::fromStdString(error), copyError(file));
    QCOMPARE(medium->names(), QStringList{"a"});
}

QTEST_GUILESS_MAIN(TestCopy)
#include "tst_copy.moc"
