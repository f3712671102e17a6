// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/settings.h"

#include "gate/text.h"

#include <set>

namespace gate
{

namespace
{

template <typename Value>
bool take(std::optional<Value> value, Value *setting)
{
    if (value)
        *setting = *value;
    return value.has_value();
}

bool readSignature(std::string_view text, Settings *settings)
{
    settings->signature = text == "off" ? Settings::Signature::Off : Settings::Signature::Required;
    return text == "off" || text == "required";
}

std::optional<bool> yesOrNo(std::string_view text)
{
    return text == "yes" || text == "no" ? std::optional<bool>(text == "yes") : std::nullopt;
}

/// A number of bytes, or of 1024, 1024² or 1024³ of them with K, M or G behind.
std::optional<std::uint64_t> size(std::string_view text)
{
    const std::size_t unit =
        text.empty() ? std::string_view::npos : std::string_view("KMG").find(text.back());
    const std::size_t shift = unit == std::string_view::npos ? 0 : (unit + 1) * 10;
    if (shift != 0)
        text.remove_suffix(1);
    const std::optional<std::uint64_t> number = readNumber(text, largestSize >> shift);
    return number ? std::optional<std::uint64_t>(*number << shift) : std::nullopt;
}

bool readCompatible(std::string_view text, Settings *settings)
{
    settings->compatible = text;
    return text.empty() || isControllersName(text);
}

bool readOnRefused(std::string_view text, Settings *settings)
{
    settings->onRefused = text;
    return text.empty() || text.front() == '/';
}

struct Kind {
    std::string_view name;
    bool (*read)(std::string_view text, Settings *settings);
    const char *expected;
};

const Kind kinds[] = {
    {"Signature", readSignature, "off or required"},
    {"Results", [](std::string_view text, Settings *s) { return take(yesOrNo(text), &s->results); },
     "yes or no"},
    {"MaximumSize", [](std::string_view text, Settings *s) { return take(size(text), &s->maximumSize); },
     "a size, such as 256M, up to 1024G"},
    {"FreeMemory", [](std::string_view text, Settings *s) { return take(size(text), &s->freeMemory); },
     "a size, such as 32M, up to 1024G"},
    {"MinimumSerial",
     [](std::string_view text, Settings *s) {
         return take(readNumber(text, largestSerial), &s->minimumSerial);
     },
     "a number of up to 18 digits"},
    {"RememberSerial",
     [](std::string_view text, Settings *s) { return take(yesOrNo(text), &s->rememberSerial); }, "yes or no"},
    {"Compatible", readCompatible, "a name of letters, digits and . _ - , +"},
    {"OnRefused", readOnRefused, "the path of a program from / on"},
};

std::string_view trimmed(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return std::string_view();
    return line.substr(first, line.find_last_not_of(" \t") - first + 1);
}

/// Reads one line that is neither empty nor a comment; says what is wrong with it, nothing when it is right.
std::string readLine(std::string_view line, Settings *settings, std::set<std::string_view> *seen)
{
    const std::size_t equals = line.find('=');
    if (!isPlainText(line) || equals == std::string_view::npos)
        return "not NAME=value: " + printable(line);
    const std::string_view name = line.substr(0, equals);
    for (const Kind &kind : kinds) {
        if (kind.name != name)
            continue;
        if (!seen->insert(kind.name).second)
            return std::string(name) + " is there twice";
        if (!kind.read(line.substr(equals + 1), settings))
            return std::string(name) + " is " + kind.expected + ", not \""
                   + printable(line.substr(equals + 1)) + '"';
        return std::string();
    }
    return "no setting is called " + printable(name);
}

} // namespace

std::optional<Settings> readSettings(std::string_view text, std::vector<std::string> *errors)
{
    errors->clear();
    Settings settings;
    std::set<std::string_view> seen;
    std::size_t number = 0;
    for (const std::string_view whole : linesOf(text.substr(0, largestSettings))) {
        ++number;
        const std::string_view line = trimmed(whole);
        if (line.empty() || line.front() == '#')
            continue;
        const std::string wrong = readLine(line, &settings, &seen);
        if (!wrong.empty())
            errors->push_back("line " + std::to_string(number) + ": " + wrong);
    }
    if (text.size() > largestSettings)
        errors->push_back("longer than " + std::to_string(largestSettings) + " bytes");
    return errors->empty() ? std::optional<Settings>(settings) : std::nullopt;
}

} // namespace gate
