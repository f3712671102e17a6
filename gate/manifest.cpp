// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/manifest.h"

#include "gate/settings.h"
#include "gate/signature.h"
#include "gate/text.h"

#include <algorithm>
#include <iomanip>
#include <set>
#include <sstream>

namespace gate
{

namespace
{

constexpr std::string_view header = "#zul-manifest 1";
constexpr std::size_t longestName = 255;
constexpr std::size_t digestLength = 64;
constexpr std::string_view separator = "  ";

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool isBelow(std::string_view path, std::string_view folder)
{
    return startsWith(path, folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

/// What is wrong with one name of a path; nothing when it is right.
const char *wrongName(std::string_view name)
{
    if (name.empty())
        return "has an empty part";
    if (name == "." || name == "..")
        return "has a part that is no name";
    return name.size() > longestName ? "has a name that is too long" : nullptr;
}

const char *wrongPath(std::string_view path)
{
    if (path.empty())
        return "is empty";
    if (path.front() == '/')
        return "is not from the medium's root";
    if (path.size() > longestPath)
        return "is too long";
    if (!isPlainText(path))
        return "is not plain UTF-8";
    // sha256sum writes it twice, and FAT has none.
    if (path.find('\\') != std::string_view::npos)
        return "has a backslash";
    if (path == "-")
        return "is the standard input to sha256sum";
    if (path == manifestPath || path == signaturePath)
        return "cannot list itself";
    if (isBelow(path, resultsFolder))
        return "is left to what commands write";
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (const char *wrong = wrongName(path.substr(start, end - start)))
            return wrong;
        start = end + 1;
    }
    return nullptr;
}

/// Whether a line is as sha256sum writes one, whatever its path.
bool isSumLine(std::string_view line)
{
    return line.size() >= digestLength + separator.size()
           && line.substr(0, digestLength).find_first_not_of("0123456789abcdef") == std::string_view::npos
           && line.substr(digestLength, separator.size()) == separator;
}

std::optional<unsigned int> readMode(std::string_view text)
{
    if (text.size() != 3 || text.find_first_not_of("01234567") != std::string_view::npos)
        return std::nullopt;
    unsigned int mode = 0;
    for (const char digit : text)
        mode = mode * 8 + static_cast<unsigned int>(digit - '0');
    return mode;
}

/// Every folder on the way to `path`, from the root on.
std::vector<std::string> foldersOf(const std::string &path)
{
    std::vector<std::string> folders;
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1))
        folders.push_back(path.substr(0, slash));
    return folders;
}

/// Takes the lines of a manifest one after the other. Each function returns what is wrong, nothing when all
/// is right.
class Reader
{
public:
    explicit Reader(std::string_view text)
        : rest(text)
    {
    }

    std::string read(Manifest *manifest)
    {
        if (rest.size() > largestManifest)
            return "longer than " + std::to_string(largestManifest) + " bytes";
        std::string wrong = readHead(manifest);
        while (wrong.empty() && (!rest.empty() || manifest->files.empty()))
            wrong = readFile(manifest);
        return wrong.empty() ? wrong : "line " + std::to_string(number) + ": " + wrong;
    }

private:
    /// Takes a line with its end off the rest, without it.
    bool takeLine(std::string_view *line)
    {
        ++number;
        const std::size_t end = rest.find('\n');
        if (end == std::string_view::npos)
            return false;
        *line = rest.substr(0, end);
        rest.remove_prefix(end + 1);
        return true;
    }

    /// Takes a line that may be left out. Its value is empty where it is, or where it has none.
    bool takeOptional(std::string_view start, std::string_view *value)
    {
        if (!startsWith(rest, start) || !takeLine(value))
            return false;
        value->remove_prefix(start.size());
        return true;
    }

    std::string readHead(Manifest *manifest);
    std::string readFile(Manifest *manifest);
    std::string enter(const ListedFile &file, Manifest *manifest);

    std::string_view rest;
    std::size_t number = 0; ///< of the line that was taken last
    std::set<std::string> files, folders;
};

std::string Reader::readHead(Manifest *manifest)
{
    std::string_view line;
    if (!takeLine(&line) || line != header)
        return "not \"" + std::string(header) + '"';
    if (takeOptional("#compatible ", &line)) {
        if (!isControllersName(line))
            return "not the name of a controller: " + printable(line);
        manifest->compatible = line;
    }
    if (takeOptional("#serial ", &line)) {
        manifest->serial = readNumber(line, largestSerial);
        if (!manifest->serial)
            return "not a serial: " + printable(line);
    }
    return std::string();
}

std::string Reader::readFile(Manifest *manifest)
{
    ListedFile file;
    std::string_view line;
    if (!takeLine(&line) || !startsWith(line, "#file "))
        return "not \"#file SIZE MODE\"";
    line.remove_prefix(6);
    const std::size_t blank = std::min(line.find(' '), line.size());
    const auto size = readNumber(line.substr(0, blank), largestSize);
    const auto mode = readMode(line.substr(std::min(blank + 1, line.size())));
    if (!size || !mode)
        return "not \"#file SIZE MODE\"";
    if (!takeLine(&line) || !isSumLine(line))
        return "not \"SHA256  PATH\"";
    file.size = *size;
    file.mode = *mode;
    file.sha256 = line.substr(0, digestLength);
    file.path = line.substr(digestLength + separator.size());
    return enter(file, manifest);
}

/// Adds a file that does not stand where another is, or a folder.
std::string Reader::enter(const ListedFile &file, Manifest *manifest)
{
    if (const char *wrong = wrongPath(file.path))
        return "the path " + printable(file.path) + ' ' + wrong;
    if (manifest->files.size() == mostFiles)
        return "more than " + std::to_string(mostFiles) + " files";
    if (!files.insert(file.path).second)
        return "the path " + printable(file.path) + " is there twice";
    if (folders.count(file.path) > 0)
        return "the path " + printable(file.path) + " is a folder, too";
    for (const std::string &folder : foldersOf(file.path)) {
        if (files.count(folder) > 0)
            return "the path " + printable(file.path) + " is below a file";
        folders.insert(folder);
        if (folders.size() > mostFolders)
            return "more than " + std::to_string(mostFolders) + " folders";
    }
    manifest->files.push_back(file);
    return std::string();
}

std::string textOf(const Manifest &manifest)
{
    std::ostringstream text;
    text << header << '\n';
    if (manifest.compatible)
        text << "#compatible " << *manifest.compatible << '\n';
    if (manifest.serial)
        text << "#serial " << *manifest.serial << '\n';
    for (const ListedFile &file : manifest.files) {
        text << "#file " << file.size << ' ' << std::oct << std::setw(3) << std::setfill('0') << file.mode
             << std::dec << '\n';
        text << file.sha256 << separator << file.path << '\n';
    }
    return text.str();
}

} // namespace

std::uint64_t Manifest::size() const
{
    std::uint64_t sum = 0;
    for (const ListedFile &file : files)
        sum += file.size;
    return sum;
}

std::vector<std::string> Manifest::folders() const
{
    std::set<std::string> all;
    for (const ListedFile &file : files) {
        for (std::string &folder : foldersOf(file.path))
            all.insert(std::move(folder));
    }
    return {all.begin(), all.end()};
}

std::optional<Manifest> readManifest(const VerifiedText &verified, std::string *error)
{
    Manifest manifest;
    *error = Reader(verified.text()).read(&manifest);
    return error->empty() ? std::optional<Manifest>(std::move(manifest)) : std::nullopt;
}

std::optional<std::string> writeManifest(Manifest manifest, std::string *error)
{
    std::sort(manifest.files.begin(), manifest.files.end(),
              [](const ListedFile &left, const ListedFile &right) { return left.path < right.path; });
    std::string text = textOf(manifest);
    Manifest read;
    *error = Reader(text).read(&read);
    return error->empty() ? std::optional<std::string>(std::move(text)) : std::nullopt;
}

} // namespace gate
