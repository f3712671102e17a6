// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// The gate's settings, beside a description of each line in regular expressions: both take the same files.
// Above all a signature is not required only where a whole line says so.
//
// libfuzzer: -max_len=1024 -len_control=20

#include "gate/settings.h"
#include "common/target.h"
#include "gate/text.h"

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <algorithm>

namespace
{

/// What may stand on the right of each name.
const char *valueOf(const QString &name)
{
    static const struct {
        const char *name, *value;
    } kinds[] = {
        {"Signature", "off|required"},
        {"Results", "yes|no"},
        {"RememberSerial", "yes|no"},
        {"MinimumSerial", "0|[1-9][0-9]{0,17}"},
        {"MaximumSize", "(0|[1-9][0-9]*)[KMG]?"},
        {"FreeMemory", "(0|[1-9][0-9]*)[KMG]?"},
        {"Compatible", "[A-Za-z0-9._,+-]{0,64}"},
        {"OnRefused", "(/.*)?"},
    };
    for (const auto &kind : kinds) {
        if (name == kind.name)
            return kind.value;
    }
    return nullptr;
}

/// Up to 1024 GiB; by fractions, as the number may have any length.
bool isBounded(const QString &size)
{
    QString digits = size;
    double unit = 1;
    for (const QChar letter : QString("KMG")) {
        unit *= 1024;
        if (digits.endsWith(letter)) {
            digits.chop(1);
            return digits.toDouble() * unit <= 1099511627776.0;
        }
    }
    return digits.toDouble() <= 1099511627776.0;
}

bool isPlain(const QByteArray &line)
{
    const QByteArray marked = "x" + line;
    const QString text = QString::fromUtf8(marked);
    return text.toUtf8() == marked && std::none_of(text.begin(), text.end(), [](QChar character) {
               return character.category() == QChar::Other_Control;
           });
}

QByteArray trimmed(QByteArray line)
{
    while (line.startsWith(' ') || line.startsWith('\t'))
        line.remove(0, 1);
    while (line.endsWith(' ') || line.endsWith('\t'))
        line.chop(1);
    return line;
}

/// One line that is neither empty nor a comment.
bool isSetting(const QByteArray &line, QSet<QString> *seen)
{
    // Byte by byte: a mark of the byte order is not to be left out.
    const QString text = QString::fromLatin1(line.constData(), line.size()), name = text.section('=', 0, 0),
                  value = text.section('=', 1);
    if (!isPlain(line) || !text.contains('=') || !valueOf(name) || seen->contains(name))
        return false;
    seen->insert(name);
    const QRegularExpression form("\\A(?:" + QString(valueOf(name)) + ")\\z");
    const bool isSize = name == "MaximumSize" || name == "FreeMemory";
    return form.match(value).hasMatch() && (!isSize || isBounded(value));
}

bool areSettings(const QByteArray &bytes, bool *isOff)
{
    QSet<QString> seen;
    *isOff = false;
    for (const QByteArray &whole : bytes.split('\n')) {
        const QByteArray line = trimmed(whole);
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (!isSetting(line, &seen))
            return false;
        *isOff = *isOff || line == "Signature=off";
    }
    return true;
}

} // namespace

void fuzz(const QByteArray &input)
{
    bool isOff = false;
    std::vector<std::string> errors;
    const auto settings = gate::readSettings({input.constData(), static_cast<size_t>(input.size())}, &errors);
    const bool areGood = areSettings(input, &isOff);
    MUST(settings.has_value() == areGood,
         areGood ? "good settings are refused" : "damaged settings are taken");
    MUST(errors.empty() == settings.has_value(), "refused without a reason, or taken with one");
    for (const std::string &error : errors)
        MUST(gate::isPlainText(error) && error.size() < 2048, "a reason is not one plain line");
    if (settings)
        MUST((settings->signature == gate::Settings::Signature::Off) == isOff,
             "whether it is off is not what it says");
}
