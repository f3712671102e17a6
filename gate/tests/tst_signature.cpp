// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/signature.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <type_traits>

using gate::PublicKeys;
using gate::SecretKey;
using gate::VerifiedText;

/// Whom the owner trusts, and that the openssl program agrees.
class TestSignature : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void nothingElseMakesAVerifiedText();
    void aSignatureHoldsForItsTextAndItsKeyOnly();
    void oneBitOfTheTextBreaksIt();
    void oneBitOfTheSignatureBreaksIt();
    void aSignatureOfAnotherLengthIsNone_data();
    void aSignatureOfAnotherLengthIsNone();
    void anyOfTheKeysWillDoAndIsNamed();
    void signingTwiceGivesTheSameBytes();
    void withoutKeysNothingHolds();

    void whatIsNoKeyIsTold_data();
    void whatIsNoKeyIsTold();
    void aBrokenKeyFileIsToldAndTheOthersCount();
    void onlyFilesNamedPemAreKeys();
    void aFolderThatIsNotThereHasNoKeys();

    void opensslTakesOurSignatures();
    void weTakeWhatOpensslHasMadeAndSigned();
    void whatIsNoSecretKeyIsTold_data();
    void whatIsNoSecretKeyIsTold();
    void anEncryptedKeyNeedsItsPassphrase();

private:
    void write(const QString &name, const QByteArray &bytes) const;
    QByteArray read(const QString &name) const;
    /// Runs openssl in the folder and returns what it has printed; what it complains about fails the test.
    QByteArray openssl(const QString &arguments) const;

    QScopedPointer<QTemporaryDir> folder;
};

namespace
{

const std::string text = "#zul-manifest 1\n";

PublicKeys keysOf(std::initializer_list<SecretKey> secrets)
{
    PublicKeys keys;
    std::string error;
    int number = 0;
    for (const SecretKey &secret : secrets) {
        if (!keys.add("key" + std::to_string(++number), secret.publicPem(), &error))
            qFatal("%s", error.c_str());
    }
    return keys;
}

QByteArray bytesOf(const std::string &string)
{
    return QByteArray::fromStdString(string);
}

} // namespace

void TestSignature::init()
{
    folder.reset(new QTemporaryDir);
    QVERIFY(folder->isValid());
}

void TestSignature::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(folder->filePath(name));
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(name));
    file.write(bytes);
}

QByteArray TestSignature::read(const QString &name) const
{
    QFile file(folder->filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        QTest::qFail(qPrintable("no " + name), __FILE__, __LINE__);
    return file.readAll();
}

QByteArray TestSignature::openssl(const QString &arguments) const
{
    QProcess process;
    process.setWorkingDirectory(folder->path());
    process.start("openssl", arguments.split(' '));
    if (!process.waitForFinished() || process.exitCode() != 0)
        QTest::qFail(process.readAllStandardError().constData(), __FILE__, __LINE__);
    return process.readAllStandardOutput();
}

void TestSignature::nothingElseMakesAVerifiedText()
{
    QVERIFY((!std::is_default_constructible<VerifiedText>::value));
    QVERIFY((!std::is_constructible<VerifiedText, std::string>::value));
    QVERIFY((!std::is_constructible<VerifiedText, std::string, std::string>::value));
    QVERIFY((!std::is_convertible<std::string, VerifiedText>::value));
}

void TestSignature::aSignatureHoldsForItsTextAndItsKeyOnly()
{
    const SecretKey ours = SecretKey::make(), foreign = SecretKey::make();
    const PublicKeys keys = keysOf({ours});
    const std::optional<VerifiedText> verified = keys.verify(text, ours.sign(text));
    QVERIFY(verified);
    QCOMPARE(verified->text(), text);
    QVERIFY(!keys.verify(text, foreign.sign(text)));
    QVERIFY(!keys.verify(text + "\n", ours.sign(text)));
    QVERIFY(!keys.verify("", ours.sign(text)));
    QVERIFY(keys.verify("", ours.sign("")));
}

void TestSignature::oneBitOfTheTextBreaksIt()
{
    const SecretKey secret = SecretKey::make();
    const PublicKeys keys = keysOf({secret});
    const std::string signature = secret.sign(text);
    for (std::size_t bit = 0; bit < text.size() * 8; ++bit) {
        std::string other = text;
        other[bit / 8] = static_cast<char>(other[bit / 8] ^ 1 << bit % 8);
        QVERIFY(!keys.verify(other, signature));
    }
}

void TestSignature::oneBitOfTheSignatureBreaksIt()
{
    const SecretKey secret = SecretKey::make();
    const PublicKeys keys = keysOf({secret});
    const std::string signature = secret.sign(text);
    for (std::size_t bit = 0; bit < signature.size() * 8; ++bit) {
        std::string other = signature;
        other[bit / 8] = static_cast<char>(other[bit / 8] ^ 1 << bit % 8);
        QVERIFY(!keys.verify(text, other));
    }
}

void TestSignature::aSignatureOfAnotherLengthIsNone_data()
{
    QTest::addColumn<int>("length");
    for (const int length : {0, 1, 63, 65, 128})
        QTest::addRow("%d bytes", length) << length;
}

void TestSignature::aSignatureOfAnotherLengthIsNone()
{
    QFETCH(int, length);
    const SecretKey secret = SecretKey::make();
    std::string signature = secret.sign(text) + secret.sign(text);
    signature.resize(static_cast<std::size_t>(length));
    QVERIFY(!keysOf({secret}).verify(text, signature));
}

void TestSignature::anyOfTheKeysWillDoAndIsNamed()
{
    const SecretKey older = SecretKey::make(), newer = SecretKey::make();
    const PublicKeys keys = keysOf({older, newer});
    QCOMPARE(keys.verify(text, older.sign(text))->key(), std::string("key1"));
    QCOMPARE(keys.verify(text, newer.sign(text))->key(), std::string("key2"));
}

void TestSignature::signingTwiceGivesTheSameBytes()
{
    const SecretKey secret = SecretKey::make();
    QCOMPARE(secret.sign(text), secret.sign(text));
    QCOMPARE(secret.sign(text).size(), gate::signatureLength);
    QVERIFY(SecretKey::make().sign(text) != secret.sign(text));
}

void TestSignature::withoutKeysNothingHolds()
{
    QVERIFY(PublicKeys().isEmpty());
    QVERIFY(!PublicKeys().verify(text, SecretKey::make().sign(text)));
    QVERIFY(!keysOf({SecretKey::make()}).isEmpty());
}

void TestSignature::whatIsNoKeyIsTold_data()
{
    QTest::addColumn<QByteArray>("pem");
    QTest::addColumn<QString>("error");
    const QByteArray good = bytesOf(SecretKey::make().publicPem());
    QTest::newRow("nothing") << QByteArray() << "not a public key";
    QTest::newRow("another text") << QByteArray("owner\n") << "not a public key";
    QTest::newRow("a key cut off") << good.left(good.size() / 2) << "not a public key";
    QTest::newRow("a damaged key") << QByteArray(good).replace("MC", "??") << "not a public key";
    QTest::newRow("two keys") << good + bytesOf(SecretKey::make().publicPem()) << "more than one key";
    QTest::newRow("a secret key") << openssl("genpkey -algorithm ed25519")
                                  << "not a public key, but a secret one";
    write("rsa", openssl("genpkey -algorithm rsa -pkeyopt rsa_keygen_bits:1024"));
    QTest::newRow("a key of another kind")
        << openssl("pkey -in rsa -pubout") << "a key of another kind than Ed25519";
    write("x25519", openssl("genpkey -algorithm x25519"));
    QTest::newRow("a key of the same curve that signs nothing")
        << openssl("pkey -in x25519 -pubout") << "a key of another kind than Ed25519";
}

void TestSignature::whatIsNoKeyIsTold()
{
    QFETCH(QByteArray, pem);
    QFETCH(QString, error);
    PublicKeys keys;
    std::string told;
    QVERIFY(!keys.add("key", pem.toStdString(), &told));
    QCOMPARE(QString::fromStdString(told), error);
    QVERIFY(keys.isEmpty());
}

void TestSignature::aBrokenKeyFileIsToldAndTheOthersCount()
{
    const SecretKey secret = SecretKey::make();
    write("a.pem", "no key");
    write("b.pem", bytesOf(secret.publicPem()));
    write("c.pem", QByteArray(65537, 'x'));
    QVERIFY(QDir(folder->path()).mkdir("d.pem"));
    QVERIFY(QFile::link("nowhere", folder->filePath("e\n.pem")));
    std::vector<std::string> complaints;
    const std::string path = folder->path().toStdString();
    const PublicKeys keys = gate::readPublicKeys(path, &complaints);
    QCOMPARE(complaints, (std::vector<std::string>{path + "/a.pem: not a public key",
                                                   path + "/c.pem: longer than 65536 bytes",
                                                   path + "/d.pem: not a regular file",
                                                   path + "/e\\x0a.pem: No such file or directory"}));
    QCOMPARE(keys.verify(text, secret.sign(text))->key(), std::string("b.pem"));
    // They count beside others, too.
    const SecretKey another = SecretKey::make();
    PublicKeys all = keysOf({another});
    all.add(keys);
    QCOMPARE(all.verify(text, secret.sign(text))->key(), std::string("b.pem"));
    QCOMPARE(all.verify(text, another.sign(text))->key(), std::string("key1"));
}

void TestSignature::onlyFilesNamedPemAreKeys()
{
    const SecretKey secret = SecretKey::make();
    for (const char *name : {"key", "key.pem~", "key.pem.dpkg-old", ".pem"})
        write(name, bytesOf(secret.publicPem()));
    std::vector<std::string> complaints;
    QVERIFY(gate::readPublicKeys(folder->path().toStdString(), &complaints).isEmpty());
    QVERIFY(complaints.empty());
}

void TestSignature::aFolderThatIsNotThereHasNoKeys()
{
    std::vector<std::string> complaints;
    QVERIFY(gate::readPublicKeys(folder->filePath("none").toStdString(), &complaints).isEmpty());
    QVERIFY(complaints.empty());
}

void TestSignature::opensslTakesOurSignatures()
{
    const SecretKey secret = SecretKey::make();
    write("public.pem", bytesOf(secret.publicPem()));
    write("MANIFEST", bytesOf(text));
    write("MANIFEST.sig", bytesOf(secret.sign(text)));
    QVERIFY(openssl("pkeyutl -verify -rawin -pubin -inkey public.pem -in MANIFEST -sigfile MANIFEST.sig")
                .contains("Signature Verified Successfully"));
}

void TestSignature::weTakeWhatOpensslHasMadeAndSigned()
{
    openssl("genpkey -algorithm ed25519 -out secret.pem");
    openssl("pkey -in secret.pem -pubout -out public.pem");
    write("MANIFEST", bytesOf(text));
    openssl("pkeyutl -sign -rawin -inkey secret.pem -in MANIFEST -out MANIFEST.sig");
    PublicKeys keys;
    std::string error;
    QVERIFY2(keys.add("public.pem", read("public.pem").toStdString(), &error), error.c_str());
    QVERIFY(keys.verify(text, read("MANIFEST.sig").toStdString()));

    const auto secret = SecretKey::read(read("secret.pem").toStdString(), std::nullopt, &error);
    QVERIFY2(secret, error.c_str());
    QCOMPARE(bytesOf(secret->sign(text)), read("MANIFEST.sig"));
}

void TestSignature::whatIsNoSecretKeyIsTold_data()
{
    QTest::addColumn<QByteArray>("pem");
    QTest::addColumn<QString>("error");
    const QByteArray good = openssl("genpkey -algorithm ed25519");
    QTest::newRow("nothing") << QByteArray() << "not a secret key";
    QTest::newRow("a key cut off") << good.left(good.size() / 2) << "not a secret key";
    QTest::newRow("a public key") << bytesOf(SecretKey::make().publicPem())
                                  << "not a secret key, but a public one";
    for (const char *kind :
         {"x25519", "rsa -pkeyopt rsa_keygen_bits:1024", "ec -pkeyopt ec_paramgen_curve:P-256"})
        QTest::newRow(kind) << openssl(QString("genpkey -algorithm ") + kind)
                            << "a key of another kind than Ed25519";
}

void TestSignature::whatIsNoSecretKeyIsTold()
{
    QFETCH(QByteArray, pem);
    QFETCH(QString, error);
    std::string told;
    QVERIFY(!SecretKey::read(pem.toStdString(), std::nullopt, &told));
    QCOMPARE(QString::fromStdString(told), error);
}

void TestSignature::anEncryptedKeyNeedsItsPassphrase()
{
    const std::string pem = openssl("genpkey -algorithm ed25519 -aes256 -pass pass:correct").toStdString();
    std::string error;
    QVERIFY2(SecretKey::read(pem, std::string("correct"), &error), error.c_str());
    for (const std::string &other : {std::string("wrong"), std::string(), std::string(5000, 'x')}) {
        QVERIFY(!SecretKey::read(pem, other, &error));
        QCOMPARE(error, std::string("its passphrase is another one, or none was given"));
    }
    // One that needs none does not mind.
    QVERIFY2(SecretKey::read(openssl("genpkey -algorithm ed25519").toStdString(), std::string("any"), &error),
             error.c_str());
}

QTEST_GUILESS_MAIN(TestSignature)
#include "tst_signature.moc"
