// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "signing/signing.h"

#include "common/failure.h"

#include "gate/listing.h"
#include "gate/text.h"
#include "gate/verdict.h"

#include <QFile>
#include <QSaveFile>

#include <fcntl.h>

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

gate::Descriptor openFolder(const QString &folder)
{
    return gate::Descriptor(open(QFile::encodeName(folder).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

/// Whole or not at all.
bool write(const QString &path, const std::string &bytes, Failure *failure)
{
    QSaveFile file(path);
    const auto size = static_cast<qint64>(bytes.size());
    return (file.open(QIODevice::WriteOnly) && file.write(bytes.data(), size) == size && file.commit())
           || fail(failure, ExitNoOutput, QString("%1: cannot be written: %2").arg(path, file.errorString()));
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
    if (!written)
        return fail(failure, ExitData, "cannot be signed: " + QString::fromStdString(error));
    *text = *written;
    return true;
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
    std::string pem, text, error;
    if (!readKey(signing.key, &pem, failure))
        return false;
    const std::optional<gate::SecretKey> key = gate::SecretKey::read(pem, &error);
    if (!key)
        return fail(failure, ExitData, signing.key + ": " + QString::fromStdString(error));
    if (!manifestOf(folder, signing, &text, failure))
        return false;
    const QString manifest = folder + '/' + gate::manifestPath,
                  signature = folder + '/' + gate::signaturePath;
    *files = QStringList{manifest, signature};
    return write(manifest, text, failure) && write(signature, key->sign(text), failure);
}

bool verifyMedium(const QString &folder, const Signing &signing, bool *isAccepted, QString *line,
                  Failure *failure)
{
    std::string pem, error;
    std::optional<std::uint64_t> lowest;
    gate::Policy policy;
    if (!readKey(signing.key, &pem, failure) || !readSerial(signing.serial, &lowest, failure))
        return false;
    if (!policy.keys.add(signing.key.toStdString(), pem, &error))
        return fail(failure, ExitData, signing.key + ": " + QString::fromStdString(error));
    // What a controller has is not known here: its own limit decides.
    policy.settings.maximumSize = std::numeric_limits<std::uint64_t>::max();
    policy.settings.minimumSerial = lowest.value_or(0);
    policy.settings.compatible = signing.compatible.toStdString();
    gate::Verdict verdict = gate::judge(openFolder(folder), policy);
    if (!verdict.isAccepted && signing.compatible.isEmpty() && verdict.manifest.compatible) {
        policy.settings.compatible = *verdict.manifest.compatible;
        verdict = gate::judge(openFolder(folder), policy);
    }
    *isAccepted = verdict.isAccepted;
    *line = verdict.isAccepted ? "accepted: " + described(verdict)
                               : "refused: " + QString::fromStdString(verdict.refusal);
    return true;
}
