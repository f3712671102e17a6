// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "signing/signing.h"

#include "common/failure.h"

#include "gate/listing.h"
#include "gate/text.h"
#include "gate/verdict.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

#include <fcntl.h>
#include <unistd.h>

namespace
{

bool fail(Failure *failure, int exitCode, const QString &message)
{
    *failure = {exitCode, message};
    return false;
}

bool readKey(const QString &path, std::string *pem, Failure *failure)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(failure, ExitNoInput, QString("%1: cannot be read: %2").arg(path, file.errorString()));
    *pem = file.read(gate::largestKeyFile).toStdString();
    return true;
}

bool readSerial(const QString &text, std::optional<std::uint64_t> *serial, Failure *failure)
{
    if (text.isEmpty())
        return true;
    *serial = gate::readNumber(text.toStdString(), gate::largestSerial);
    return *serial || fail(failure, ExitUsage, "--serial takes a number of up to 18 digits, not " + text);
}

gate::Descriptor openFolder(const QString &folder, int flags = O_PATH)
{
    return gate::Descriptor(open(QFile::encodeName(folder).constData(), flags | O_DIRECTORY | O_CLOEXEC));
}

/// A file that takes the place of another one, whole or not at all.
class Replacement
{
public:
    explicit Replacement(const QString &path)
        : file(path)
    {
    }

    /// Has all of it on the disk, and replaces nothing yet.
    bool prepare(const std::string &bytes, Failure *failure)
    {
        // Else the file that a link leads to would be replaced; the gate follows none.
        if (QFileInfo(file.fileName()).isSymLink())
            QFile::remove(file.fileName());
        const auto size = static_cast<qint64>(bytes.size());
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes.data(), size) != size || !file.flush())
            return failed(file.errorString(), failure);
        return fsync(file.handle()) == 0 || failed(QString::fromStdString(gate::systemError()), failure);
    }

    bool commit(Failure *failure)
    {
        return file.commit() || failed(file.errorString(), failure);
    }

private:
    bool failed(const QString &why, Failure *failure) const
    {
        return fail(failure, ExitNoOutput, QString("%1: cannot be written: %2").arg(file.fileName(), why));
    }

    QSaveFile file;
};

/// Has the names of the files beside it on the disk, as a card is pulled soon afterwards. True, as they are
/// written whatever comes of it.
bool saveNames(const QString &path)
{
    fsync(openFolder(QFileInfo(path).path(), O_RDONLY).number());
    return true;
}

/// Without the end of its line.
bool readPassphrase(const QString &path, std::optional<std::string> *passphrase, Failure *failure)
{
    QFile file(path);
    if (path.isEmpty())
        return true;
    if (!file.open(QIODevice::ReadOnly))
        return fail(failure, ExitNoInput, QString("%1: cannot be read: %2").arg(path, file.errorString()));
    const std::string line = file.readLine(gate::largestKeyFile).toStdString();
    *passphrase = line.substr(0, line.find_first_of("\r\n"));
    return true;
}

/// Whoever holds the medium would have the key.
bool isBelow(const QString &folder, const QString &path)
{
    return QFileInfo(path).canonicalFilePath().startsWith(QFileInfo(folder).canonicalFilePath() + '/');
}

std::optional<gate::SecretKey> secretKey(const QString &folder, const Signing &signing, Failure *failure)
{
    const QString path = signing.keys.first();
    std::optional<std::string> passphrase;
    std::string pem, error;
    if (isBelow(folder, path)) {
        fail(failure, ExitData, path + ": the secret key is on the medium, and would go out with it");
        return std::nullopt;
    }
    if (!readKey(path, &pem, failure) || !readPassphrase(signing.passphraseFile, &passphrase, failure))
        return std::nullopt;
    std::optional<gate::SecretKey> key = gate::SecretKey::read(pem, passphrase, &error);
    if (!key)
        fail(failure, ExitData, path + ": " + QString::fromStdString(error));
    return key;
}

/// As a controller has them of its folder, or each by itself.
bool readKeys(const QStringList &paths, gate::PublicKeys *keys, QStringList *complaints, Failure *failure)
{
    std::string pem, error;
    for (const QString &path : paths) {
        if (QFileInfo(path).isDir()) {
            std::vector<std::string> told;
            keys->add(gate::readPublicKeys(QFile::encodeName(path).toStdString(), &told));
            for (const std::string &complaint : told)
                complaints->append(QString::fromStdString(complaint) + ": left out");
        } else if (!readKey(path, &pem, failure)) {
            return false;
        } else if (!keys->add(path.toStdString(), pem, &error)) {
            return fail(failure, ExitData, path + ": " + QString::fromStdString(error));
        }
    }
    return true;
}

bool manifestOf(const QString &folder, const Signing &signing, std::string *text, Failure *failure)
{
    gate::Manifest manifest;
    std::string error;
    if (!readSerial(signing.serial, &manifest.serial, failure))
        return false;
    if (!signing.compatible.isEmpty())
        manifest.compatible = signing.compatible.toStdString();
    if (manifest.compatible && !gate::isControllersName(*manifest.compatible))
        return fail(failure, ExitUsage,
                    "--compatible takes letters, digits and . _ - , + and not " + signing.compatible);
    if (!gate::listFiles(openFolder(folder), &manifest.files, &error))
        return fail(failure, ExitData, folder + '/' + QString::fromStdString(error));
    const std::optional<std::string> written = gate::writeManifest(std::move(manifest), &error);
    if (!written) {
        // It is about a line of what is not written.
        const QString reason = QString::fromStdString(error).remove(QRegularExpression("^line \\d+: "));
        return fail(failure, ExitData, folder + ": cannot be signed: " + reason);
    }
    *text = *written;
    return true;
}

/// For another program to sign. A signature of what was there before would only be refused.
bool writeManifest(const QString &path, const QString &signature, const std::string &text, QStringList *files,
                   Failure *failure)
{
    QFile before(path);
    const bool isSame = before.open(QIODevice::ReadOnly) && before.readAll().toStdString() == text;
    Replacement file(path);
    *files = QStringList{path};
    if (!file.prepare(text, failure) || !file.commit(failure) || !saveNames(path))
        return false;
    return isSame || !QFileInfo::exists(signature) || QFile::remove(signature)
           || fail(failure, ExitNoOutput, signature + ": of another manifest, and cannot be removed");
}

/// "signed by owner.pem, for zul-800, serial 7: 12 files, 34567 bytes"
QString described(const gate::Verdict &verdict)
{
    QString line = "signed by " + QString::fromStdString(verdict.key);
    if (verdict.manifest.compatible)
        line += ", for " + QString::fromStdString(*verdict.manifest.compatible);
    if (verdict.manifest.serial)
        line += ", serial " + QString::number(*verdict.manifest.serial);
    return line
           + QString(": %1 files, %2 bytes")
                 .arg(QString::number(verdict.manifest.files.size()),
                      QString::number(verdict.manifest.size()));
}

} // namespace

bool signMedium(const QString &folder, const Signing &signing, QStringList *files, Failure *failure)
{
    const QString manifest = folder + '/' + gate::manifestPath,
                  signature = folder + '/' + gate::signaturePath;
    std::string text;
    if (signing.keys.isEmpty())
        return manifestOf(folder, signing, &text, failure)
               && writeManifest(manifest, signature, text, files, failure);
    const std::optional<gate::SecretKey> key = secretKey(folder, signing, failure);
    if (!key || !manifestOf(folder, signing, &text, failure))
        return false;
    *files = QStringList{manifest, signature};
    Replacement one(manifest), other(signature);
    return one.prepare(text, failure) && other.prepare(key->sign(text), failure) && one.commit(failure)
           && other.commit(failure) && saveNames(manifest);
}

bool verifyMedium(const QString &folder, const Signing &signing, Answer *answer, Failure *failure)
{
    std::optional<std::uint64_t> lowest;
    gate::Policy policy;
    if (!readSerial(signing.serial, &lowest, failure)
        || !readKeys(signing.keys, &policy.keys, &answer->complaints, failure))
        return false;
    const gate::Descriptor medium = openFolder(folder);
    if (!medium.isOpen())
        return fail(failure, ExitNoInput, folder + ": " + QString::fromStdString(gate::systemError()));
    // What a controller has is not known here: its own limit decides.
    policy.settings.maximumSize = std::numeric_limits<std::uint64_t>::max();
    policy.settings.minimumSerial = lowest.value_or(0);
    policy.settings.compatible = signing.compatible.toStdString();
    gate::Verdict verdict = gate::judge(medium, policy);
    if (!verdict.isAccepted && signing.compatible.isNull() && verdict.manifest.compatible) {
        policy.settings.compatible = *verdict.manifest.compatible;
        verdict = gate::judge(medium, policy);
    }
    answer->isAccepted = verdict.isAccepted;
    answer->line = verdict.isAccepted ? "accepted: " + described(verdict)
                                      : "refused: " + QString::fromStdString(verdict.refusal);
    return true;
}
