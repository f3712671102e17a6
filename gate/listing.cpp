// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/listing.h"

#include "gate/content.h"
#include "gate/copy.h"
#include "gate/settings.h"
#include "gate/text.h"

#include <algorithm>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace gate
{

namespace
{

/// By systems that the medium was plugged into, not by its author.
const char *const systemsFolders[] = {"lost+found", "System Volume Information"};

bool isLeftOut(const std::string &path)
{
    return path == manifestPath || path == signaturePath || path == resultsFolder
           || std::find(std::begin(systemsFolders), std::end(systemsFolders), path)
                  != std::end(systemsFolders);
}

bool isProgram(std::string_view start)
{
    constexpr std::string_view script = "#!", program = "\x7f"
                                                        "ELF";
    return start.substr(0, script.size()) == script || start.substr(0, program.size()) == program;
}

bool describe(const Descriptor &medium, const std::string &path, ListedFile *file, std::string *error)
{
    Failure failure;
    const Descriptor source = openBelow(medium, path, &failure);
    struct stat status = {};
    if (!source.isOpen() || fstat(source.number(), &status) != 0) {
        *error = path + ": " + failure.why;
        return false;
    }
    bool isRun = (status.st_mode & S_IXUSR) != 0, isStart = true;
    Content content;
    const TakeBytes look = [&](const char *bytes, std::size_t size, std::string *) {
        isRun = isRun || (isStart && isProgram({bytes, size}));
        isStart = false;
        return true;
    };
    if (!readContent(source, largestSize, look, &content, error)) {
        *error = path + ": " + *error;
        return false;
    }
    *file = {content.size, isRun ? 0755U : 0644U, content.sha256, path};
    return true;
}

/// The names in a folder, and whether it could be read.
bool namesIn(const Descriptor &medium, const std::string &folder, std::vector<std::string> *names)
{
    const int number = openat(medium.number(), folder.empty() ? "." : folder.c_str(),
                              O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(number < 0 ? nullptr : fdopendir(number), closedir);
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        std::string path = folder.empty() ? folder : folder + '/';
        path += entry->d_name;
        if (entry->d_name != std::string_view(".") && entry->d_name != std::string_view(".."))
            names->push_back(std::move(path));
    }
    return listing != nullptr;
}

} // namespace

bool listFiles(const Descriptor &medium, std::vector<ListedFile> *files, std::string *error)
{
    files->clear();
    std::vector<std::string> paths = {""};
    while (!paths.empty()) {
        const std::string path = paths.back();
        paths.pop_back();
        struct stat status = {};
        if (isLeftOut(path))
            continue;
        if (path.empty()
            || (fstatat(medium.number(), path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
                && S_ISDIR(status.st_mode))) {
            if (namesIn(medium, path, &paths))
                continue;
            *error = path + ": " + systemError();
            return false;
        }
        ListedFile file;
        if (!describe(medium, path, &file, error))
            return false;
        files->push_back(std::move(file));
    }
    std::sort(files->begin(), files->end(),
              [](const ListedFile &left, const ListedFile &right) { return left.path < right.path; });
    return true;
}

} // namespace gate
