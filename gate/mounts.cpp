// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/mounts.h"

#include "gate/files.h"
#include "gate/text.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace gate
{

namespace
{

std::vector<std::string_view> fieldsOf(std::string_view line)
{
    std::vector<std::string_view> fields;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find(' '), line.size());
        fields.push_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return fields;
}

/// Blanks and the like are written as \040.
std::string unescaped(std::string_view field)
{
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const std::string_view digits = field.substr(std::min(i + 1, field.size()), 3);
        if (field[i] == '\\' && digits.size() == 3
            && digits.find_first_not_of("01234567") == std::string_view::npos) {
            text += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'));
            i += 3;
        } else {
            text += field[i];
        }
    }
    return text;
}

bool hasOption(const Mount &mount, const char *option)
{
    return (',' + mount.options + ',').find(std::string(",") + option + ',') != std::string::npos;
}

/// A file of the kernel's.
std::string contentOf(const char *path)
{
    std::string text, error;
    const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
    if (file.isOpen())
        readAll(file, std::size_t(16) << 20, &text, &error);
    return text;
}

/// Where a path leads, through all links; empty when it leads nowhere.
std::string resolved(const std::string &path)
{
    char buffer[PATH_MAX];
    return realpath(path.c_str(), buffer) ? buffer : std::string();
}

/// "8:1" of the block device at `path`; empty when there is none.
std::string deviceAt(const std::string &path)
{
    struct stat status = {};
    if (path.empty() || path.front() != '/' || stat(path.c_str(), &status) != 0 || !S_ISBLK(status.st_mode))
        return std::string();
    return std::to_string(major(status.st_rdev)) + ':' + std::to_string(minor(status.st_rdev));
}

/// What is in a folder, as paths.
std::vector<std::string> entriesOf(const std::string &folder)
{
    std::vector<std::string> entries;
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(opendir(folder.c_str()), closedir);
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        if (entry->d_name[0] != '.')
            entries.push_back(folder + '/' + entry->d_name);
    }
    return entries;
}

/// What a disk is made of, such as an encrypted one; nothing where it is one itself.
std::vector<std::string> partsOf(const std::string &node)
{
    std::vector<std::string> parts = entriesOf(node + "/slaves");
    std::transform(parts.begin(), parts.end(), parts.begin(), resolved);
    return parts;
}

bool isPartition(const std::string &node)
{
    return access((node + "/partition").c_str(), F_OK) == 0;
}

} // namespace

std::vector<Mount> readMounts(std::string_view text)
{
    std::vector<Mount> mounts;
    for (const std::string_view line : linesOf(text)) {
        const std::vector<std::string_view> fields = fieldsOf(line);
        const auto dash = std::find(fields.begin(), fields.end(), "-");
        const auto id =
            fields.empty() ? std::nullopt : readNumber(fields[0], std::numeric_limits<int>::max());
        if (!id || dash - fields.begin() < 6 || fields.end() - dash < 3)
            continue;
        Mount mount;
        mount.id = static_cast<int>(*id);
        mount.device = fields[2];
        mount.directory = unescaped(fields[4]);
        mount.options = fields[5];
        mount.isShared = std::any_of(fields.begin() + 6, dash,
                                     [](std::string_view field) { return field.substr(0, 7) == "shared:"; });
        mount.type = dash[1];
        mount.source = unescaped(dash[2]);
        mounts.push_back(std::move(mount));
    }
    return mounts;
}

std::vector<Mount> currentMounts()
{
    return readMounts(contentOf("/proc/self/mountinfo"));
}

bool isAtOrBelow(std::string_view path, std::string_view directory)
{
    return path.substr(0, directory.size()) == directory
           && (path.size() == directory.size() || path[directory.size()] == '/' || directory == "/");
}

Mount mountOf(const std::string &path)
{
    const Descriptor directory(open(path.c_str(), O_PATH | O_CLOEXEC));
    const std::string about = contentOf(("/proc/self/fdinfo/" + std::to_string(directory.number())).c_str());
    for (const std::string_view line : linesOf(about)) {
        if (line.substr(0, 8) != "mnt_id:\t")
            continue;
        const auto id = readNumber(line.substr(8), std::numeric_limits<int>::max());
        for (const Mount &mount : currentMounts()) {
            if (id && mount.id == static_cast<int>(*id))
                return mount;
        }
    }
    return Mount();
}

bool followsLinks(const Mount &mount)
{
    return mount.type != "vfat" && mount.type != "exfat" && !hasOption(mount, "nosymfollow");
}

bool isReadOnly(const Mount &mount)
{
    return hasOption(mount, "ro");
}

bool hasPartitions(const std::string &device, const std::string &sys)
{
    const std::vector<std::string> entries = entriesOf(sys + "/dev/block/" + device);
    return std::any_of(entries.begin(), entries.end(), isPartition);
}

std::vector<std::string> disksOf(const std::string &device, const std::string &sys)
{
    std::vector<std::string> disks, nodes;
    if (!device.empty())
        nodes.push_back(resolved(sys + "/dev/block/" + device));
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const std::string node = nodes[i];
        const std::vector<std::string> parts = partsOf(node);
        std::copy_if(parts.begin(), parts.end(), std::back_inserter(nodes), [&](const std::string &part) {
            return std::find(nodes.begin(), nodes.end(), part) == nodes.end();
        });
        if (node.empty() || !parts.empty())
            continue;
        disks.push_back(isPartition(node) ? node.substr(0, node.rfind('/')) : node);
    }
    return disks;
}

std::vector<std::string> disksInUse(const std::vector<Mount> &mounts, std::string_view swaps,
                                    const std::string &except, const std::string &sys)
{
    std::vector<std::string> devices;
    for (const Mount &mount : mounts) {
        if (isAtOrBelow(mount.directory, except))
            continue;
        // A file system on several devices has a number of its own.
        devices.push_back(mount.device);
        devices.push_back(deviceAt(mount.source));
    }
    for (const std::string_view line : linesOf(swaps))
        devices.push_back(deviceAt(unescaped(line.substr(0, line.find(' ')))));
    std::vector<std::string> disks;
    for (const std::string &device : devices) {
        const std::vector<std::string> some = disksOf(device, sys);
        disks.insert(disks.end(), some.begin(), some.end());
    }
    return disks;
}

} // namespace gate
