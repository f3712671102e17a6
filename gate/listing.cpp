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
#include <sys/vfs.h>

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

bool describe(const Descriptor &medium, const std::string &path, ListedFile *file, std::string *error)
{
    Failure failure;
    const Descriptor source = openBelow(medium, path, &failure);
    if (!source.isOpen()) {
        *error = path + ": " + failure.why;
        return false;
    }
    bool isRun = false, isStart = true;
    Content content;
    const TakeBytes look = [&](const char *bytes, std::size_t size, std::string *) {
        isRun = isStart ? isToBeRun(source, {bytes, size}) : isRun;
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

bool listPaths(const Descriptor &medium, std::vector<std::string> *paths, std::string *error)
{
    paths->clear();
    std::vector<std::string> rest = {""};
    while (!rest.empty()) {
        const std::string path = rest.back();
        rest.pop_back();
        struct stat status = {};
        if (isLeftOut(path))
            continue;
        if (!path.empty()
            && (fstatat(medium.number(), path.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0
                || !S_ISDIR(status.st_mode))) {
            paths->push_back(path);
        } else if (!namesIn(medium, path, &rest)) {
            *error = path + ": " + systemError();
            return false;
        }
    }
    std::sort(paths->begin(), paths->end());
    return true;
}

bool keepsRights(const Descriptor &file)
{
    // As <linux/magic.h> has them, which does not know all of them everywhere; the last is any of a driver
    // outside the kernel, of which those for exFAT and NTFS are met on media.
    constexpr unsigned long fat = 0x4d44, exfat = 0x2011bab0, ntfs = 0x7366746e, outside = 0x65735546;
    struct statfs status = {};
    if (fstatfs(file.number(), &status) != 0)
        return true;
    const auto kind = static_cast<unsigned long>(status.f_type) & 0xffffffffUL;
    return kind != fat && kind != exfat && kind != ntfs && kind != outside;
}

bool isToBeRun(const Descriptor &file, std::string_view start)
{
    constexpr std::string_view script = "#!", program = "\x7f"
                                                        "ELF";
    struct stat status = {};
    return start.substr(0, script.size()) == script || start.substr(0, program.size()) == program
           || (fstat(file.number(), &status) == 0 && (status.st_mode & S_IXUSR) != 0 && keepsRights(file));
}

bool listFiles(const Descriptor &medium, std::vector<ListedFile> *files, std::string *error)
{
    files->clear();
    std::vector<std::string> paths;
    if (!listPaths(medium, &paths, error))
        return false;
    for (const std::string &path : paths) {
        ListedFile file;
        if (!describe(medium, path, &file, error))
            return false;
        files->push_back(std::move(file));
    }
    return true;
}

} // namespace gate
