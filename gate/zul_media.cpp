// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/files.h"
#include "gate/filesystem.h"
#include "gate/media.h"
#include "gate/mounts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string_view>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace
{

const char usage[] = R"(Usage: zul_media mount DEVICE
       zul_media unmount DEVICE
       zul_media settings

mount     mounts what is plugged in, such as sda1, as the settings say
unmount   unmounts it, in use or not
settings  says what they are, and what is wrong with them or the keys

Exit codes: 0 done, 1 refused, 2 left alone, 64 wrong usage, 70 failed.
Settings: /etc/zul/media.conf, man 5 zul_media.conf. Manual: man 8 zul_media
)";

int fail(const std::string &what, int exitCode)
{
    std::fprintf(stderr, "%s\n", what.c_str());
    return exitCode;
}

/// A device of the kernel's.
class BlockDevice : public gate::Medium
{
public:
    BlockDevice(const std::string &name, const char *itsFileSystem)
        : itsName(name)
        , fileSystem(itsFileSystem)
    {
    }

    const std::string &name() const override
    {
        return itsName;
    }

    bool mountAt(const std::string &directory, unsigned long flags, const std::string &source,
                 std::string *error) const override
    {
        const std::string device = "/dev/" + itsName;
        if ((source == device || symlink(device.c_str(), source.c_str()) == 0 || errno == EEXIST)
            && (isMounted(source, directory, flags)
                || ((errno == EACCES || errno == EROFS) && isMounted(source, directory, flags | MS_RDONLY))))
            return true;
        *error = gate::systemError();
        return false;
    }

private:
    bool isMounted(const std::string &source, const std::string &directory, unsigned long flags) const
    {
        const char *options = gate::mountOptionsOf(fileSystem, (flags & MS_RDONLY) != 0);
        return mount(source.c_str(), directory.c_str(), fileSystem, flags, options) == 0;
    }

    const std::string itsName;
    const char *const fileSystem;
};

/// Whether it is a part of a disk that the system runs from.
bool isTheSystems(const std::string &device, const gate::Places &places)
{
    std::string swaps, error;
    const gate::Descriptor list(open("/proc/swaps", O_RDONLY | O_CLOEXEC));
    if (list.isOpen())
        gate::readAll(list, 65536, &swaps, &error);
    const auto used = gate::disksInUse(gate::currentMounts(), swaps, places.media, "/sys");
    const auto its = gate::disksOf(device, "/sys");
    return std::any_of(its.begin(), its.end(), [&](const std::string &disk) {
        return std::find(used.begin(), used.end(), disk) != used.end();
    });
}

int mountDevice(const std::string &name, const gate::Places &places)
{
    const gate::Descriptor device(open(("/dev/" + name).c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!device.isOpen() || fstat(device.number(), &status) != 0)
        return fail(name + ": " + gate::systemError(), gate::ExitFailed);
    if (!S_ISBLK(status.st_mode))
        return fail(name + ": not a disk", gate::ExitLeftAlone);
    const std::string numbers =
        std::to_string(major(status.st_rdev)) + ':' + std::to_string(minor(status.st_rdev));
    if (isTheSystems(numbers, places))
        return fail(name + ": left alone: the system runs from this disk", gate::ExitLeftAlone);
    if (gate::hasPartitions(numbers, "/sys"))
        return fail(name + ": left alone: it has partitions", gate::ExitLeftAlone);
    std::string start(gate::fileSystemStart, '\0');
    const char *fileSystem = nullptr;
    if (gate::readSome(device, start.data(), start.size()) == static_cast<long>(start.size()))
        fileSystem = gate::fileSystemOf(start);
    if (!fileSystem)
        return fail(name + ": left alone: not FAT, exFAT or ext4", gate::ExitLeftAlone);
    return gate::mountMedium(BlockDevice(name, fileSystem), places);
}

int run(const std::string &command, std::string device)
{
    const gate::Places places;
    if (command == "settings" && device.empty())
        return gate::printSettings(places);
    constexpr std::string_view prefix = "/dev/";
    if (device.compare(0, prefix.size(), prefix) == 0)
        device.erase(0, prefix.size());
    if (!gate::isMediumsName(device) || (command != "mount" && command != "unmount"))
        return fail(usage, gate::ExitUsage);
    return command == "mount" ? mountDevice(device, places) : gate::unmountMedium(device, places);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc == 2 && (argv[1] == std::string_view("-h") || argv[1] == std::string_view("--help")))
        return std::fputs(usage, stdout) < 0;
    umask(S_IWGRP | S_IWOTH); // what is on FAT is root's to write
    try {
        return argc == 2 || argc == 3 ? run(argv[1], argc == 3 ? argv[2] : "") : fail(usage, gate::ExitUsage);
    } catch (const std::exception &failure) {
        return fail(failure.what(), gate::ExitFailed);
    }
}
