// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/manifest.h"
#include "gate/signature.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <type_traits>

using gate::ListedFile;
using gate::Manifest;

/// What an author can say of a medium, and how little besides.
class TestManifest : public QObject
{
    Q_OBJECT

private slots:
    void onlyASignedTextCanBeRead();
    void everythingIsRead();
    void theRestMayBeLeftOut();
    void whatDeviatesIsToldWithItsLine_data();
    void whatDeviatesIsToldWithItsLine();
    void goodPathsAreTaken_data();
    void goodPathsAreTaken();
    void badPathsAreRefused_data();
    void badPathsAreRefused();
    void twoFilesCannotBeInOnePlace_data();
    void twoFilesCannotBeInOnePlace();
    void noCutOffManifestIsWhole();
    void thereAreOnlySoManyFiles();
    void thereAreOnlySoManyFolders();
    void itIsOnlySoBig();
    void aMillionLinesAreRefusedAtTheFirst();
    void theLargestSizesDoNotOverflow();

    void theWriterSortsAndWritesTheSameBytesTwice();
    void whatIsWrittenIsReadAsItWas();
    void theWriterWritesNothingThatIsRefused();
    void sha256sumTakesItAsItIs();
    void foldersComeBeforeWhatIsInThem();
};

namespace
{

const QByteArray digest(64, 'a');
const QByteArray head = "#zul-manifest 1\n";

QByteArray fileLines(const QByteArray &path, const QByteArray &sizeAndMode = "5 644")
{
    return "#file " + sizeAndMode + '\n' + digest + "  " + path + '\n';
}

/// As from somebody trusted: with a key that is made for it.
std::optional<Manifest> read(const QByteArray &text, std::string *error)
{
    const gate::SecretKey secret = gate::SecretKey::make();
    gate::PublicKeys keys;
    keys.add("author", secret.publicPem(), error);
    const auto verified = keys.verify(text.toStdString(), secret.sign(text.toStdString()));
    return gate::readManifest(verified.value(), error);
}

Manifest readWell(const QByteArray &text)
{
    std::string error;
    std::optional<Manifest> manifest = read(text, &error);
    if (!manifest)
        qFatal("%s", error.c_str());
    return *manifest;
}

QByteArray errorOf(const QByteArray &text)
{
    std::string error;
    return read(text, &error) ? QByteArray("accepted") : QByteArray::fromStdString(error);
}

ListedFile file(const char *path, std::uint64_t size = 5, unsigned int mode = 0644)
{
    return {size, mode, digest.toStdString(), path};
}

template <typename Text>
using Reads = decltype(gate::readManifest(std::declval<Text>(), nullptr));

template <template <typename> class Expression, typename Argument, typename = void>
struct Compiles : std::false_type {
};

template <template <typename> class Expression, typename Argument>
struct Compiles<Expression, Argument, std::void_t<Expression<Argument>>> : std::true_type {
};

} // namespace

void TestManifest::onlyASignedTextCanBeRead()
{
    QVERIFY((Compiles<Reads, gate::VerifiedText>::value));
    QVERIFY((!Compiles<Reads, std::string>::value));
    QVERIFY((!Compiles<Reads, std::string_view>::value));
    QVERIFY((!Compiles<Reads, const char *>::value));
}

void TestManifest::everythingIsRead()
{
    const Manifest manifest =
        readWell(head + "#compatible zul-800\n#serial 42\n" + fileLines("zul_install/a", "0 755")
                 + fileLines("b", "1099511627776 000"));
    QCOMPARE(*manifest.compatible, std::string("zul-800"));
    QCOMPARE(*manifest.serial, std::uint64_t(42));
    QCOMPARE(manifest.files.size(), std::size_t(2));
    QCOMPARE(manifest.files[0].path, std::string("zul_install/a"));
    QCOMPARE(manifest.files[0].size, std::uint64_t(0));
    QCOMPARE(manifest.files[0].mode, 0755U);
    QCOMPARE(manifest.files[0].sha256, digest.toStdString());
    QCOMPARE(manifest.files[1].mode, 0U);
    QCOMPARE(manifest.size(), std::uint64_t(1099511627776));
}

void TestManifest::theRestMayBeLeftOut()
{
    const Manifest manifest = readWell(head + fileLines("a"));
    QVERIFY(!manifest.compatible);
    QVERIFY(!manifest.serial);
    QVERIFY(*readWell(head + "#serial 0\n" + fileLines("a")).serial == 0);
    QVERIFY(!readWell(head + "#compatible x\n" + fileLines("a")).serial);
}

void TestManifest::whatDeviatesIsToldWithItsLine_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("error");
    const auto row = [](const char *name, const QByteArray &text, const QByteArray &error) {
        QTest::newRow(name) << text << error;
    };
    const QByteArray noHead = "line 1: not \"#zul-manifest 1\"";
    row("nothing", "", noHead);
    row("another text", "hello\n", noHead);
    row("a later version", "#zul-manifest 2\n" + fileLines("a"), noHead);
    row("a blank behind the version", "#zul-manifest 1 \n" + fileLines("a"), noHead);
    row("a mark before the first line", "\xef\xbb\xbf" + head + fileLines("a"), noHead);
    row("lines of another system", "#zul-manifest 1\r\n" + fileLines("a"), noHead);
    row("the first line without its end", "#zul-manifest 1", noHead);
    const QByteArray noFile = "line 2: not \"#file SIZE MODE\"";
    row("no file", head, noFile);
    row("an empty line", head + "\n" + fileLines("a"), noFile);
    row("a comment", head + "# hello\n" + fileLines("a"), noFile);
    row("a field that is not known", head + "#valid-until 2030\n" + fileLines("a"), noFile);
    row("a sum without its size", head + digest + "  a\n", noFile);
    row("a size without its mode", head + fileLines("a", "5"), noFile);
    row("a mode without its size", head + fileLines("a", " 644"), noFile);
    row("a mode too short", head + fileLines("a", "5 64"), noFile);
    row("a mode that sets the user", head + fileLines("a", "5 4755"), noFile);
    row("a mode that is not octal", head + fileLines("a", "5 648"), noFile);
    row("a mode with something behind", head + fileLines("a", "5 644 "), noFile);
    row("two blanks before the mode", head + fileLines("a", "5  644"), noFile);
    row("a negative size", head + fileLines("a", "-5 644"), noFile);
    row("a size with a leading zero", head + fileLines("a", "05 644"), noFile);
    row("a size that is too large", head + fileLines("a", "1099511627777 644"), noFile);
    row("a size that overflows", head + fileLines("a", "18446744073709551617 644"), noFile);
    row("a size in hexadecimal", head + fileLines("a", "0x5 644"), noFile);
    row("the size's line without its end", head + "#file 5 644", noFile);
    const QByteArray noSum = "line 3: not \"SHA256  PATH\"";
    row("no sum", head + "#file 5 644\n", noSum);
    row("an empty line instead of the sum", head + "#file 5 644\n\n", noSum);
    row("a line that is shorter than a sum", head + "#file 5 644\nabc  a\n", noSum);
    row("a sum that is too short", head + "#file 5 644\n" + digest.left(63) + "  a\n", noSum);
    row("a sum that is too long", head + "#file 5 644\n" + digest + "a  a\n", noSum);
    row("a sum in capitals", head + "#file 5 644\n" + digest.toUpper() + "  a\n", noSum);
    row("a sum with another letter", head + "#file 5 644\n" + digest.left(63) + "g  a\n", noSum);
    row("one blank before the path", head + "#file 5 644\n" + digest + " a\n", noSum);
    row("a path marked as binary", head + "#file 5 644\n" + digest + " *a\n", noSum);
    row("a line that sha256sum has escaped", head + "#file 5 644\n\\" + digest + "  a\n", noSum);
    row("a sum alone", head + "#file 5 644\n" + digest + "\n", noSum);
    row("the last line without its end", head + "#file 5 644\n" + digest + "  a", noSum);
    row("something behind the last file", head + fileLines("a") + "x\n", "line 4: not \"#file SIZE MODE\"");
    row("an empty line at the end", head + fileLines("a") + "\n", "line 4: not \"#file SIZE MODE\"");
    row("the controller's name empty", head + "#compatible \n" + fileLines("a"),
        "line 2: not the name of a controller: ");
    row("the controller's name with a blank", head + "#compatible a b\n" + fileLines("a"),
        "line 2: not the name of a controller: a b");
    row("two controllers", head + "#compatible a\n#compatible b\n" + fileLines("a"),
        "line 3: not \"#file SIZE MODE\"");
    row("the serial before the controller", head + "#serial 1\n#compatible b\n" + fileLines("a"),
        "line 3: not \"#file SIZE MODE\"");
    row("two serials", head + "#serial 1\n#serial 2\n" + fileLines("a"), "line 3: not \"#file SIZE MODE\"");
    row("a serial that is no number", head + "#serial 1x\n" + fileLines("a"), "line 2: not a serial: 1x");
    row("a serial with a leading zero", head + "#serial 01\n" + fileLines("a"), "line 2: not a serial: 01");
    row("a serial that is too large", head + "#serial 1000000000000000000\n" + fileLines("a"),
        "line 2: not a serial: 1000000000000000000");
    row("a serial that a terminal would obey", head + "#serial \x1b[2J\n" + fileLines("a"),
        "line 2: not a serial: \\x1b[2J");
    row("a serial behind the files", head + fileLines("a") + "#serial 1\n",
        "line 4: not \"#file SIZE MODE\"");
}

void TestManifest::whatDeviatesIsToldWithItsLine()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, error);
    QCOMPARE(errorOf(text), error);
}

void TestManifest::goodPathsAreTaken_data()
{
    QTest::addColumn<QByteArray>("path");
    const auto row = [](const char *name, const QByteArray &path) { QTest::newRow(name) << path; };
    row("in a folder", "zul_install/system.ini");
    row("blanks", " a b ");
    row("Chinese", "\xe4\xb8\xad/\xe6\x96\x87.sh");
    row("hidden", ".profile");
    row("three dots", "...");
    row("two dots and more", "..a/a..");
    row("beginning with a dash", "-a");
    row("beginning with a comment's mark", "#file 5 644");
    row("beginning with a star", "*a");
    row("the longest name", QByteArray(255, 'n'));
    row("the longest path", QByteArray("a/").repeated(511) + "bc");
    row("like the folder for results", "zul_results2/a");
    row("the folder for results further down", "a/zul_results/b");
    row("like the manifest", "zul_install/MANIFEST.old");
}

void TestManifest::goodPathsAreTaken()
{
    QFETCH(QByteArray, path);
    QCOMPARE(errorOf(head + fileLines(path)), QByteArray("accepted"));
    QCOMPARE(QByteArray::fromStdString(readWell(head + fileLines(path)).files[0].path), path);
}

void TestManifest::badPathsAreRefused_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("why");
    const auto row = [](const char *name, const QByteArray &path, const char *why) {
        QTest::newRow(name) << path << QByteArray(why);
    };
    row("nothing", "", "the path  is empty");
    row("absolute", "/etc/passwd", "the path /etc/passwd is not from the medium's root");
    row("the root", "/", "the path / is not from the medium's root");
    row("one folder up", "../a", "the path ../a has a part that is no name");
    row("up in the middle", "a/../../b", "the path a/../../b has a part that is no name");
    row("up at the end", "a/..", "the path a/.. has a part that is no name");
    row("two dots", "..", "the path .. has a part that is no name");
    row("one dot", ".", "the path . has a part that is no name");
    row("a dot in the middle", "a/./b", "the path a/./b has a part that is no name");
    row("a folder", "a/", "the path a/ has an empty part");
    row("two slashes", "a//b", "the path a//b has an empty part");
    row("a zero byte", QByteArray("a\0b", 3), "the path a\\x00b is not plain UTF-8");
    row("a carriage return", "a\r", "the path a\\x0d is not plain UTF-8");
    row("an escape", "\x1b[2J", "the path \\x1b[2J is not plain UTF-8");
    row("an upper control character", "a\xc2\x85", "the path a\\xc2\\x85 is not plain UTF-8");
    row("no UTF-8", "caf\xe9", "the path caf\\xe9 is not plain UTF-8");
    row("a slash in two bytes", "..\xc0\xaf", "the path ..\\xc0\\xaf is not plain UTF-8");
    row("a backslash", "a\\b", "the path a\\b has a backslash");
    row("the standard input", "-", "the path - is the standard input to sha256sum");
    row("the manifest", "zul_install/MANIFEST", "the path zul_install/MANIFEST cannot list itself");
    row("its signature", "zul_install/MANIFEST.sig", "the path zul_install/MANIFEST.sig cannot list itself");
    row("the folder for results", "zul_results", "the path zul_results is left to what commands write");
    row("a file in it", "zul_results/a", "the path zul_results/a is left to what commands write");
    QTest::newRow("a name that is too long")
        << "a/" + QByteArray(256, 'n')
        << "the path a/" + QByteArray(198, 'n') + "... has a name that is too long";
    QTest::newRow("a path that is too long")
        << QByteArray("a/").repeated(512) + "b"
        << "the path " + QByteArray("a/").repeated(100) + "... is too long";
}

void TestManifest::badPathsAreRefused()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, why);
    QCOMPARE(errorOf(head + fileLines("good") + fileLines(path)), "line 5: " + why);
}

void TestManifest::twoFilesCannotBeInOnePlace_data()
{
    QTest::addColumn<QList<QByteArray>>("paths");
    QTest::addColumn<QByteArray>("why");
    using Paths = QList<QByteArray>;
    QTest::newRow("twice") << Paths{"a", "b", "a"} << QByteArray("line 7: the path a is there twice");
    QTest::newRow("a file below a file")
        << Paths{"a", "a-b", "a/b"} << QByteArray("line 7: the path a/b is below a file");
    QTest::newRow("a file far below a file")
        << Paths{"a/b", "a/b/c/d"} << QByteArray("line 5: the path a/b/c/d is below a file");
    QTest::newRow("a file where a folder is")
        << Paths{"a/b", "a"} << QByteArray("line 5: the path a is a folder, too");
    QTest::newRow("a file where a folder on the way is")
        << Paths{"a/b/c", "a/b"} << QByteArray("line 5: the path a/b is a folder, too");
    QTest::newRow("names that begin alike") << Paths{"a", "ab", "a.b/c", "a.b/d"} << QByteArray("accepted");
}

void TestManifest::twoFilesCannotBeInOnePlace()
{
    QFETCH(QList<QByteArray>, paths);
    QFETCH(QByteArray, why);
    QByteArray text = head;
    for (const QByteArray &path : paths)
        text += fileLines(path);
    QCOMPARE(errorOf(text), why);
}

/// A manifest that lost its end lists fewer files; only whole files may be lost without a word, and a
/// signature tells.
void TestManifest::noCutOffManifestIsWhole()
{
    const QByteArray first = head + "#compatible x\n#serial 7\n" + fileLines("a");
    const QByteArray whole = first + fileLines("b");
    for (int length = 0; length < whole.size(); ++length)
        QCOMPARE(errorOf(whole.left(length)) == "accepted", length == first.size());
}

void TestManifest::thereAreOnlySoManyFiles()
{
    QByteArray text = head;
    for (std::size_t i = 0; i < gate::mostFiles; ++i)
        text += fileLines(QByteArray::number(static_cast<qulonglong>(i)));
    QCOMPARE(readWell(text).files.size(), gate::mostFiles);
    QCOMPARE(errorOf(text + fileLines("one more")), QByteArray("line 40003: more than 20000 files"));
}

/// Few files can be in very many folders, each of which takes memory.
void TestManifest::thereAreOnlySoManyFolders()
{
    QByteArray text = head;
    for (int i = 0; i < 40; ++i)
        text += fileLines(QByteArray::number(i) + '/' + QByteArray("d/").repeated(499) + 'x');
    QCOMPARE(readWell(text).folders().size(), gate::mostFolders);
    QCOMPARE(errorOf(text + fileLines("one/more")), QByteArray("line 83: more than 20000 folders"));
}

void TestManifest::itIsOnlySoBig()
{
    QCOMPARE(errorOf(head + QByteArray(static_cast<int>(gate::largestManifest), '\n')),
             QByteArray("longer than 4194304 bytes"));
}

void TestManifest::aMillionLinesAreRefusedAtTheFirst()
{
    QCOMPARE(errorOf(head + QByteArray(1000000, '\n')), QByteArray("line 2: not \"#file SIZE MODE\""));
}

void TestManifest::theLargestSizesDoNotOverflow()
{
    QByteArray text = head;
    for (int i = 0; i < 1000; ++i)
        text += fileLines(QByteArray::number(i), "1099511627776 644");
    QCOMPARE(readWell(text).size(), std::uint64_t(1000) << 40);
    QVERIFY((std::uint64_t(gate::mostFiles) << 40) >> 40 == gate::mostFiles);
}

void TestManifest::theWriterSortsAndWritesTheSameBytesTwice()
{
    Manifest manifest;
    manifest.compatible = "zul-800";
    manifest.serial = 42;
    manifest.files = {file("b", 7, 0755), file("a/b"), file("a-b", 0, 0), file("\xc3\xa4")};
    Manifest turned = manifest;
    std::reverse(turned.files.begin(), turned.files.end());
    std::string error;
    const std::string text = gate::writeManifest(manifest, &error).value();
    QCOMPARE(QByteArray::fromStdString(text), head + "#compatible zul-800\n#serial 42\n"
                                                  + fileLines("a-b", "0 000") + fileLines("a/b")
                                                  + fileLines("b", "7 755") + fileLines("\xc3\xa4"));
    QCOMPARE(gate::writeManifest(turned, &error).value(), text);
}

void TestManifest::whatIsWrittenIsReadAsItWas()
{
    Manifest manifest;
    manifest.files = {file("a", 1099511627776, 0777), file("b/c", 0, 0)};
    std::string error;
    const std::string text = gate::writeManifest(manifest, &error).value();
    const Manifest again = readWell(QByteArray::fromStdString(text));
    QCOMPARE(gate::writeManifest(again, &error).value(), text);
    QVERIFY(!again.serial && !again.compatible);
}

void TestManifest::theWriterWritesNothingThatIsRefused()
{
    std::string error;
    QVERIFY(!gate::writeManifest(Manifest(), &error));
    QCOMPARE(error, std::string("line 2: not \"#file SIZE MODE\""));
    Manifest manifest;
    manifest.files = {file("a\nb")};
    QVERIFY(!gate::writeManifest(manifest, &error));
    manifest.files = {file("a"), file("a")};
    QVERIFY(!gate::writeManifest(manifest, &error));
    QCOMPARE(error, std::string("line 5: the path a is there twice"));
    manifest.files = {file("a", 5, 04755)};
    QVERIFY(!gate::writeManifest(manifest, &error));
}

void TestManifest::sha256sumTakesItAsItIs()
{
    QTemporaryDir folder;
    QFile listed(folder.filePath("a b"));
    QVERIFY(listed.open(QIODevice::WriteOnly));
    Manifest manifest;
    manifest.compatible = "zul-800";
    manifest.serial = 1;
    manifest.files = {{0, 0644, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", "a b"}};
    std::string error;
    QFile written(folder.filePath("MANIFEST"));
    QVERIFY(written.open(QIODevice::WriteOnly));
    written.write(QByteArray::fromStdString(gate::writeManifest(manifest, &error).value()));
    written.close();

    QProcess sums;
    sums.setWorkingDirectory(folder.path());
    sums.setProcessChannelMode(QProcess::MergedChannels);
    sums.start("sha256sum", {"--check", "--strict", "MANIFEST"});
    QVERIFY(sums.waitForFinished());
    QCOMPARE(sums.readAll(), QByteArray("a b: OK\n"));
    QCOMPARE(sums.exitCode(), 0);
}

void TestManifest::foldersComeBeforeWhatIsInThem()
{
    Manifest manifest;
    manifest.files = {file("b/c/d"), file("a"), file("b/e"), file("b-/x")};
    QCOMPARE(manifest.folders(), (std::vector<std::string>{"b", "b-", "b/c"}));
}

QTEST_GUILESS_MAIN(TestManifest)
#include "tst_manifest.moc"
