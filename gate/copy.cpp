// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/copy.h"

#include "gate/content.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gate
{

namespace
{

bool fail(std::string *error, const std::string &why)
{
    *error = why;
    return false;
}

const char *nameOfKind(mode_t mode)
{
    if (S_ISLNK(mode))
        return "a link";
    if (S_ISDIR(mode))
        return "a folder";
    return S_ISREG(mode) ? "a file" : "a device or the like";
}

bool isOnSameFileSystem(const Descriptor &root, const Descriptor &folder)
{
    struct stat one = {}, other = {};
    return fstat(root.number(), &one) == 0 && fstat(folder.number(), &other) == 0
           && one.st_dev == other.st_dev;
}

/// One part of the way, of the kind that it has to be. Looked at before it is opened, as opening a device
/// may do something; that it is still the same afterwards is for those to check who open it.
Descriptor openPart(const Descriptor &folder, const std::string &name, mode_t kind, int flags,
                    Failure *failure)
{
    struct stat status = {};
    if (fstatat(folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        *failure = {errno == ENOENT, systemError()};
        return Descriptor();
    }
    if ((status.st_mode & S_IFMT) != kind) {
        *failure = {false, std::string("is ") + nameOfKind(status.st_mode)};
        return Descriptor();
    }
    Descriptor part(openat(folder.number(), name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
    if (!part.isOpen())
        *failure = {false, systemError()};
    return part;
}

/// A folder on the way.
Descriptor openFolder(const Descriptor &root, const Descriptor &folder, const std::string &name,
                      Failure *failure)
{
    Descriptor part = openPart(folder, name, S_IFDIR, O_PATH | O_DIRECTORY, failure);
    if (!part.isOpen()) {
        failure->why = "the folder " + name + ": " + failure->why;
    } else if (!isOnSameFileSystem(root, part)) {
        failure->why = "the folder " + name + ": is of another file system";
        return Descriptor();
    }
    return part;
}

/// Reads no more than one byte beyond the size that the file has to have.
bool readThrough(const Descriptor &source, const ListedFile &file, const TakeBytes &take, std::string *error)
{
    Content content;
    return readContent(source, file.size, take, &content, error)
           && ((content.size == file.size && content.sha256 == file.sha256)
               || fail(error, "is not what was signed"));
}

bool writeAll(const Descriptor &target, const char *bytes, std::size_t size, std::string *error)
{
    while (size > 0) {
        const ssize_t count = write(target.number(), bytes, size);
        if (count < 0 && errno != EINTR)
            return fail(error, "cannot be copied: " + systemError());
        const std::size_t written = count < 0 ? 0 : static_cast<std::size_t>(count);
        bytes += written;
        size -= written;
    }
    return true;
}

/// The file of the medium, when it can be the listed one by what is known of it before its bytes are read.
Descriptor openListed(const Descriptor &medium, const ListedFile &file, std::string *error)
{
    Failure failure;
    Descriptor source = openBelow(medium, file.path, &failure);
    struct stat status = {};
    if (!source.isOpen()) {
        *error = failure.why;
    } else if (fstat(source.number(), &status) != 0
               || static_cast<std::uint64_t>(status.st_size) != file.size) {
        *error = "is not what was signed: it has " + std::to_string(status.st_size) + " bytes, not "
                 + std::to_string(file.size);
        return Descriptor();
    }
    return source;
}

bool copyInto(const Descriptor &medium, const ListedFile &file, const Descriptor &target, std::string *error)
{
    const Descriptor source = openListed(medium, file, error);
    if (!source.isOpen())
        return false;
    const Descriptor copy(openat(target.number(), file.path.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!copy.isOpen())
        return fail(error, "cannot be copied: " + systemError());
    const TakeBytes write = [&copy](const char *bytes, std::size_t size, std::string *why) {
        return writeAll(copy, bytes, size, why);
    };
    return readThrough(source, file, write, error)
           && (fchmod(copy.number(), file.mode) == 0 || fail(error, "cannot be copied: " + systemError()));
}

bool check(const Descriptor &medium, const ListedFile &file, std::string *error)
{
    const TakeBytes nowhere = [](const char *, std::size_t, std::string *) { return true; };
    const Descriptor source = openListed(medium, file, error);
    return source.isOpen() && readThrough(source, file, nowhere, error);
}

/// Puts the path in front of what is wrong.
bool named(const ListedFile &file, bool done, std::string *error)
{
    if (!done)
        *error = file.path + ": " + *error;
    return done;
}

} // namespace

Descriptor openBelow(const Descriptor &root, const std::string &path, Failure *failure)
{
    Descriptor folder(fcntl(root.number(), F_DUPFD_CLOEXEC, 0));
    *failure = {false, folder.isOpen() ? std::string() : systemError()};
    std::size_t start = 0;
    for (std::size_t slash = path.find('/'); slash != std::string::npos && folder.isOpen();
         slash = path.find('/', start)) {
        folder = openFolder(root, folder, path.substr(start, slash - start), failure);
        start = slash + 1;
    }
    if (!folder.isOpen())
        return Descriptor();
    Descriptor file =
        openPart(folder, path.substr(start), S_IFREG, O_RDONLY | O_NONBLOCK | O_NOCTTY, failure);
    return file.isOpen() && isRegular(file, &failure->why) ? std::move(file) : Descriptor();
}

bool checkFile(const Descriptor &medium, const ListedFile &file, std::string *error)
{
    return named(file, check(medium, file, error), error);
}

bool copyFile(const Descriptor &medium, const ListedFile &file, const Descriptor &target, std::string *error)
{
    return named(file, copyInto(medium, file, target, error), error);
}

bool makeFolders(const Manifest &manifest, const Descriptor &target, std::string *error)
{
    constexpr mode_t mode = 0755;
    for (const std::string &folder : manifest.folders()) {
        // The mask of the process does not count.
        if (mkdirat(target.number(), folder.c_str(), mode) != 0
            || fchmodat(target.number(), folder.c_str(), mode, 0) != 0)
            return fail(error, folder + ": cannot be copied: " + systemError());
    }
    return true;
}

Needs needsOf(const Manifest &manifest)
{
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const auto entries = static_cast<std::uint64_t>(manifest.files.size() + manifest.folders().size());
    Needs needs{0, entries};
    for (const ListedFile &file : manifest.files)
        needs.bytes += (file.size + page - 1) / page * page;
    return needs;
}

} // namespace gate
