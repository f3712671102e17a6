// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// A signed manifest through the gate's reader, beside a description of its form in regular expressions: both
// take the same ones. What is taken leads to no file outside the medium, and is written again as it was; what
// is refused is told in one plain line.
//
// libfuzzer: -max_len=2048 -len_control=20

#include "gate/manifest.h"
#include "common/target.h"
#include "gate/copy.h"
#include "gate/signature.h"
#include "gate/text.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace
{

constexpr qulonglong largestSize = 1099511627776ULL;

/// As from the author: signed with a key that is made for all inputs.
gate::VerifiedText signedText(const QByteArray &bytes)
{
    static const gate::SecretKey secret = gate::SecretKey::make();
    static const gate::PublicKeys keys = [] {
        gate::PublicKeys made;
        std::string error;
        MUST(made.add("author", secret.publicPem(), &error), QString::fromStdString(error));
        return made;
    }();
    const std::string text = bytes.toStdString();
    const auto verified = keys.verify(text, secret.sign(text));
    MUST(verified, "what was just signed does not verify");
    return *verified;
}

bool matches(const char *pattern, const QByteArray &line)
{
    // Byte by byte, whatever they mean.
    return QRegularExpression("\\A(?:" + QString(pattern) + ")\\z",
                              QRegularExpression::DotMatchesEverythingOption)
        .match(QString::fromLatin1(line.constData(), line.size()))
        .hasMatch();
}

bool isGoodPath(const QByteArray &path)
{
    // A mark of the byte order is left out at the beginning of a text only.
    const QByteArray marked = "x" + path;
    if (QString::fromUtf8(marked).toUtf8() != marked || path.size() > 1024)
        return false;
    for (const QByteArray &name : path.split('/')) {
        if (name.isEmpty() || name == "." || name == ".." || name.size() > 255)
            return false;
    }
    for (const QChar character : QString::fromUtf8(marked)) {
        if (character.category() == QChar::Other_Control || character == '\\')
            return false;
    }
    return path != "-" && path != "zul_install/MANIFEST" && path != "zul_install/MANIFEST.sig"
           && path.split('/').first() != "zul_results";
}

/// Adds the path, unless another is in its place or on its way.
bool enter(const QByteArray &path, QSet<QByteArray> *files)
{
    for (const QByteArray &other : qAsConst(*files)) {
        if (other == path || other.startsWith(path + '/') || path.startsWith(other + '/'))
            return false;
    }
    files->insert(path);
    return true;
}

/// The form as it is written down.
bool isManifest(const QByteArray &bytes)
{
    QList<QByteArray> lines = bytes.split('\n');
    if (lines.takeLast() != "" || lines.isEmpty() || lines.takeFirst() != "#zul-manifest 1")
        return false;
    if (!lines.isEmpty() && matches("#compatible [A-Za-z0-9._,+-]{1,64}", lines.first()))
        lines.removeFirst();
    if (!lines.isEmpty() && matches("#serial (0|[1-9][0-9]{0,17})", lines.first()))
        lines.removeFirst();
    QSet<QByteArray> files;
    for (; lines.size() >= 2; lines.erase(lines.begin(), lines.begin() + 2)) {
        if (!matches("#file (0|[1-9][0-9]{0,12}) [0-7]{3}", lines.at(0))
            || lines.at(0).split(' ').at(1).toULongLong() > largestSize
            || !matches("[0-9a-f]{64}  .*", lines.at(1)) || !isGoodPath(lines.at(1).mid(66))
            || !enter(lines.at(1).mid(66), &files))
            return false;
    }
    return lines.isEmpty() && !files.isEmpty();
}

void writeAgain(const gate::Manifest &manifest, const QByteArray &bytes)
{
    std::string error;
    const auto written = gate::writeManifest(manifest, &error);
    MUST(written, "what was read cannot be written: " + QString::fromStdString(error));
    const auto byPath = [](const gate::ListedFile &one, const gate::ListedFile &other) {
        return one.path < other.path;
    };
    const QByteArray again = QByteArray::fromStdString(*written);
    if (std::is_sorted(manifest.files.begin(), manifest.files.end(), byPath))
        MUST(again == bytes, "what was read is written in another way");
    MUST(again.size() == bytes.size(), "what was read is written with another length");
}

} // namespace

void fuzz(const QByteArray &input)
{
    std::string error;
    const auto manifest = gate::readManifest(signedText(input), &error);
    MUST(manifest.has_value() == isManifest(input),
         manifest ? QString("what is no manifest is read")
                  : "a manifest is refused: " + QString::fromStdString(error));
    MUST(error.empty() == manifest.has_value(), "refused without a reason, or read with one");
    MUST(gate::isPlainText(error) && error.size() < 2048, "the reason is not one plain line");
    if (!manifest)
        return;
    writeAgain(*manifest, input);
    MUST(gate::needsOf(*manifest).bytes >= manifest->size(), "the copy would need less than the files have");
}
