// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT
//
// A device that does as it likes, in the place of the folder that zul_media_of_folders has for one. What
// reaches it are the judge's calls on the medium: to look at a name, to open it, to read it. From 0 on:
//   ZUL_DEVICE_GOES_AT=N     it is pulled at call N: that one and all that follow fail with EIO
//   ZUL_DEVICE_STOPS_AT=N    it does not answer call N, ever; the judge stands still, as for SIGSTOP
//   ZUL_DEVICE_LIES_AT=N     of a place in a file that is read for the Nth time, and from then on ...
//   ZUL_DEVICE_LIES=FROM=TO  ... the bytes FROM are TO, which is as long

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

bool isJudge = false; // from when on it is shut in
long calls = 0;

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

long numberIn(const char *name)
{
    const char *text = std::getenv(name);
    return text ? std::atol(text) : -1;
}

/// Whether the device still answers.
bool answers()
{
    static const long goes = numberIn("ZUL_DEVICE_GOES_AT"), stops = numberIn("ZUL_DEVICE_STOPS_AT");
    const long call = calls++;
    while (call == stops)
        raise(SIGSTOP);
    if (goes < 0 || call < goes)
        return true;
    errno = EIO;
    return false;
}

/// What the device says of these bytes, which are a place in a file.
void lie(int descriptor, off_t place, char *bytes, ssize_t count)
{
    static const long from = numberIn("ZUL_DEVICE_LIES_AT");
    static std::map<std::pair<ino_t, off_t>, long> times;
    struct stat status = {};
    fstat(descriptor, &status);
    if (from < 0 || times[{status.st_ino, place}]++ < from)
        return;
    const std::string words = std::getenv("ZUL_DEVICE_LIES");
    const std::string good = words.substr(0, words.find('=')), evil = words.substr(words.find('=') + 1);
    for (char *found = bytes;
         (found = std::search(found, bytes + count, good.begin(), good.end())) != bytes + count;)
        std::copy(evil.begin(), evil.end(), found);
}

bool isFile(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

extern "C" int chroot(const char *path) noexcept
{
    isJudge = true;
    return real<int(const char *)>("chroot")(path);
}

extern "C" ssize_t read(int descriptor, void *buffer, size_t size)
{
    static const auto realRead = real<ssize_t(int, void *, size_t)>("read");
    if (!isJudge || !isFile(descriptor))
        return realRead(descriptor, buffer, size);
    if (!answers())
        return -1;
    const off_t place = lseek(descriptor, 0, SEEK_CUR);
    const ssize_t count = realRead(descriptor, buffer, size);
    if (count > 0)
        lie(descriptor, place, static_cast<char *>(buffer), count);
    return count;
}

// With files of any size these two are called openat64 and fstatat64 in the C library.

extern "C" int openat(int folder, const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    const bool isCopy = (flags & O_CREAT) != 0;
    if (isJudge && !isCopy && !answers())
        return -1;
    return real<int(int, const char *, int, mode_t)>("openat64")(folder, path, flags, mode);
}

extern "C" int fstatat(int folder, const char *path, struct stat *status, int flags) noexcept
{
    if (isJudge && !answers())
        return -1;
    return real<int(int, const char *, struct stat *, int)>("fstatat64")(folder, path, status, flags);
}
