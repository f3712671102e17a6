// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Findings on what of the medium is signed. Without a manifest and a signature there are none: not every
// owner asks for one.

#include "reading/shell.h"
#include "rules/rules.h"

#include "gate/manifest.h"
#include "gate/settings.h"

namespace
{

const char refused[] = "a controller that takes signed media only refuses the medium";

QString onMedium(const Subject &subject, const QString &path)
{
    return subject.medium.root + '/' + path;
}

/// For whom and with which number it was signed before.
QString signAgain(const Subject &subject)
{
    const SignedFiles &files = subject.signedFiles;
    QString command = "zul_catalogue sign " + shellWord(subject.medium.root) + " --key YOUR-KEY";
    if (!files.compatible.isEmpty())
        command += " --compatible " + files.compatible;
    if (!files.serial.isEmpty())
        command += " --serial " + files.serial;
    return command;
}

void noManifest(const Subject &subject, Collector &findings)
{
    const SignedFiles &files = subject.signedFiles;
    if (files.isMeant && !files.noManifest.isEmpty())
        findings.addOther(onMedium(subject, gate::manifestPath),
                          QString("A signature without a manifest (%1 %2): %3")
                              .arg(gate::manifestPath, files.noManifest, refused),
                          signAgain(subject));
}

void noSignature(const Subject &subject, Collector &findings)
{
    const SignedFiles &files = subject.signedFiles;
    if (files.isMeant && files.noManifest.isEmpty() && !files.noSignature.isEmpty())
        findings.addOther(onMedium(subject, gate::signaturePath),
                          QString("A manifest without a signature (%1 %2): %3")
                              .arg(gate::signaturePath, files.noSignature, refused),
                          signAgain(subject));
}

void manifestMalformed(const Subject &subject, Collector &findings)
{
    const QString &wrong = subject.signedFiles.malformed;
    if (!wrong.isEmpty())
        findings.addOther(onMedium(subject, gate::manifestPath),
                          QString("Not a manifest (%1): %2, whoever signs it").arg(wrong, refused),
                          signAgain(subject));
}

void manifestOutdated(const Subject &subject, Collector &findings)
{
    for (const SignedFiles::Remark &remark : subject.signedFiles.outdated)
        findings.addOther(onMedium(subject, remark.path),
                          QString("The manifest is out of date, this file is not as it lists it (%1): %2")
                              .arg(remark.what, refused),
                          signAgain(subject));
}

void manifestLacksFile(const Subject &subject, Collector &findings)
{
    const QString message =
        "The manifest lacks this: on a controller that takes signed media only it is not there";
    for (const SignedFiles::Remark &remark : subject.signedFiles.unlisted) {
        const QString path = onMedium(subject, remark.path);
        if (remark.what.isEmpty())
            findings.addOther(path, message, signAgain(subject));
        else
            findings.addOther(path, message + ", and it cannot be signed (" + remark.what + ')',
                              "rm " + shellWord(path));
    }
}

void manifestMode(const Subject &subject, Collector &findings)
{
    for (const SignedFiles::Remark &remark : subject.signedFiles.withoutRun)
        findings.addOther(
            onMedium(subject, remark.path),
            "The manifest gives this no right to execute, which the file has: on a controller that "
            "takes signed media only it has none",
            signAgain(subject));
}

void mediumTooBig(const Subject &subject, Collector &findings)
{
    constexpr quint64 megabyte = quint64(1) << 20;
    const SignedFiles &files = subject.signedFiles;
    if (files.isTooBig)
        findings.addOther(
            onMedium(subject, gate::manifestPath),
            QString(
                "It lists %1 bytes, and a controller refuses more than %2 unless its settings say otherwise; "
                "only sizes were compared here, contents by \"zul_catalogue verify\"")
                .arg(files.size)
                .arg(gate::usualMaximumSize),
            QString("MaximumSize=%1M").arg((files.size + megabyte - 1) / megabyte));
}

} // namespace

QVector<Rule> signingRules()
{
    return {
        {"no-manifest", Severity::Error, noManifest, AsksAuthor, "which key signs it"},
        {"no-signature", Severity::Error, noSignature, AsksAuthor, "which key signs it"},
        {"manifest-malformed", Severity::Error, manifestMalformed, AsksAuthor, "which key signs it"},
        {"manifest-outdated", Severity::Error, manifestOutdated, AsksAuthor, "which key signs it"},
        {"manifest-lacks-file", Severity::Warning, manifestLacksFile, AsksAuthor, "which key signs it"},
        {"manifest-mode", Severity::Warning, manifestMode, AsksAuthor, "which key signs it"},
        {"medium-too-big", Severity::Note, mediumTooBig, AsksAuthor, "what the controller takes"},
    };
}
