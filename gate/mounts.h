// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_MOUNTS_H
#define GATE_MOUNTS_H

#include <string>
#include <string_view>
#include <vector>

namespace gate
{

/// A line of /proc/self/mountinfo.
struct Mount {
    int id = 0;
    std::string device; ///< "8:1"
    std::string directory;
    std::string options;   ///< of this mount, not of the file system: "rw,nosuid"
    bool isShared = false; ///< what is mounted below it appears in other namespaces, too
    std::string type;
    std::string source;
};

/// Every mount of a text as /proc/self/mountinfo has it, in its order; lines that are none are left out.
std::vector<Mount> readMounts(std::string_view text);

/// Those of this process.
std::vector<Mount> currentMounts();

/// Whether `path` is `directory` or below it.
bool isAtOrBelow(std::string_view path, std::string_view directory);

/// The mount that `path` is on. An id of 0 when that cannot be found out.
Mount mountOf(const std::string &path);

/// Whether a link on this mount would be followed. FAT has none; elsewhere the kernel has to keep from it,
/// which one before 5.10 does not, whatever it is asked to.
bool followsLinks(const Mount &mount);

bool isReadOnly(const Mount &mount);

/// The disks that these mounts and the swap are on, as paths below `sys`/devices, which is /sys on a
/// controller. What is mounted at or below `except` does not count.
std::vector<std::string> disksInUse(const std::vector<Mount> &mounts, std::string_view swaps,
                                    const std::string &except, const std::string &sys);

/// Whether a device is a disk that has partitions, which are media, where it is not one itself.
bool hasPartitions(const std::string &device, const std::string &sys);

/// The disks behind a device such as "8:1": that which it is a part of, or those that it is made of.
std::vector<std::string> disksOf(const std::string &device, const std::string &sys);

} // namespace gate

#endif
