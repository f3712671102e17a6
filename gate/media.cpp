// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "gate/media.h"

#include "gate/files.h"
#include "gate/mounts.h"
#include "gate/signedmount.h"
#include "gate/text.h"
#include "gate/verdict.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef MS_NOSYMFOLLOW
#define MS_NOSYMFOLLOW 256 // known to Linux 5.10; an older one passes over it
#endif

namespace gate
{

namespace
{

void say(const std::string &name, const std::string &text)
{
    std::fprintf(stderr, "%s: %s\n", name.c_str(), text.c_str());
}

/// One at a time: waits until nobody else has it, and gives it back with the descriptor.
Descriptor lock(const std::string &path)
{
    Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    while (file.isOpen() && flock(file.number(), LOCK_EX) != 0 && errno == EINTR) {
    }
    return file;
}

bool makeDirectory(const std::string &path, mode_t mode)
{
    return mkdir(path.c_str(), mode) == 0 || errno == EEXIST;
}

std::optional<std::string> contentOf(const std::string &path, std::size_t largest, std::string *error)
{
    std::string text;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (isRegular(file, error) && readAll(file, largest, &text, error))
        return text;
    return std::nullopt;
}

// --- What the owner has decided ---------------------------------------------------------------------------

/// The settings; none when they cannot be trusted, with a line for each reason.
std::optional<Settings> settingsOf(const Places &places)
{
    std::string error;
    const auto text = contentOf(places.settings, largestSettings, &error);
    if (!text) {
        say(places.settings, error);
        return std::nullopt;
    }
    std::vector<std::string> errors;
    std::optional<Settings> settings = readSettings(*text, &errors);
    for (const std::string &wrong : errors)
        say(places.settings, wrong);
    return settings;
}

PublicKeys keysOf(const Places &places)
{
    std::vector<std::string> complaints;
    PublicKeys keys = readPublicKeys(places.keys, &complaints);
    for (const std::string &complaint : complaints)
        say(complaint, "left out");
    return keys;
}

/// The highest serial that was accepted: 0 when there was none yet, nothing when that cannot be known.
std::optional<std::uint64_t> rememberedSerial(const Places &places, std::string *error)
{
    if (access(places.serial.c_str(), F_OK) != 0 && errno == ENOENT)
        return 0;
    const auto text = contentOf(places.serial, 32, error);
    if (!text)
        return std::nullopt;
    const std::vector<std::string_view> lines = linesOf(*text);
    *error = "not a serial: " + printable(*text);
    return lines.size() == 1 ? readNumber(lines.front(), largestSerial) : std::nullopt;
}

/// Has the names in a folder survive a power cut from now on.
bool isOnDisk(const std::string &folder)
{
    const Descriptor names(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return names.isOpen() && fsync(names.number()) == 0;
}

/// Whatever happens meanwhile, the old one or the new one is there; the new one when this is done.
bool rememberSerial(const Places &places, std::uint64_t serial)
{
    const std::string folder = places.serial.substr(0, places.serial.rfind('/'));
    makeDirectory(folder, 0700); // unless the service has
    const std::string next = places.serial + ".new", text = std::to_string(serial) + '\n';
    const Descriptor file(open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.isOpen()
           && write(file.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size())
           && fsync(file.number()) == 0 && rename(next.c_str(), places.serial.c_str()) == 0
           && isOnDisk(folder);
}

/// Bytes that can be had without anything being swapped out.
std::uint64_t availableMemory()
{
    std::string error;
    Descriptor file(open("/proc/meminfo", O_RDONLY | O_CLOEXEC));
    std::string text;
    readAll(file, 65536, &text, &error);
    for (std::string_view line : linesOf(text)) {
        constexpr std::string_view start = "MemAvailable:", end = " kB";
        if (line.substr(0, start.size()) != start || line.size() < start.size() + end.size())
            continue;
        line = line.substr(0, line.size() - end.size());
        line.remove_prefix(std::min(line.find_first_not_of(' ', start.size()), line.size()));
        return readNumber(line, std::numeric_limits<std::uint64_t>::max() / 1024).value_or(0) * 1024;
    }
    return 0;
}

/// Starts the owner's program, does not wait for it, and returns its process, if it has become one.
pid_t tellOwner(const std::string &program, const char *what, const std::string &name,
                const std::string &line)
{
    const pid_t process = program.empty() ? -1 : fork();
    if (process != 0)
        return process;
    execl(program.c_str(), program.c_str(), what, name.c_str(), line.c_str(), nullptr);
    say(name, program + ": " + systemError());
    _exit(ExitFailed);
}

// --- Mounting ---------------------------------------------------------------------------------------------

std::string refusalMark(const std::string &name, const Places &places)
{
    return places.run + '/' + name + ".refused";
}

bool isMounted(const std::string &directory)
{
    const std::vector<Mount> mounts = currentMounts();
    return std::any_of(mounts.begin(), mounts.end(),
                       [&](const Mount &mount) { return mount.directory == directory; });
}

/// Leaves a mark, so that its removal is noticed, too.
int refuse(const Medium &medium, const Places &places, const std::string &program, const std::string &why)
{
    say(medium.name(), "refused: " + why);
    const Descriptor mark(
        open(refusalMark(medium.name(), places).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    tellOwner(program, "refused", medium.name(), why);
    return ExitRefused;
}

int mountAsItIs(const Medium &medium, const std::string &directory)
{
    std::string error;
    constexpr unsigned long flags = MS_NOSUID | MS_NODEV | MS_NOSYMFOLLOW | MS_NOATIME;
    if (!medium.mountAt(directory, flags, "/dev/" + medium.name(), &error)) {
        say(medium.name(), "cannot be mounted: " + error);
        return ExitFailed;
    }
    const Mount mounted = mountOf(directory);
    say(medium.name(), "mounted" + std::string(isReadOnly(mounted) ? ", read-only: it is locked" : "")
                           + (followsLinks(mounted) ? "; this kernel follows the links on it" : ""));
    return ExitDone;
}

int mountWhatIsSigned(const Medium &medium, const Places &places, const Settings &settings,
                      const std::string &directory)
{
    // Two at once would both count on the same memory.
    const Descriptor turn = lock(places.run + "/lock");
    const std::string stage = places.run + "/stage";
    std::string error;
    Policy policy{settings, keysOf(places), 0, availableMemory()};
    const std::optional<std::uint64_t> remembered =
        settings.rememberSerial ? rememberedSerial(places, &error) : std::optional<std::uint64_t>(0);
    if (!remembered)
        return refuse(medium, places, settings.onRefused, places.serial + ": " + error);
    policy.rememberedSerial = *remembered;
    if (!turn.isOpen() || !makeDirectory(stage, 0700))
        return refuse(medium, places, settings.onRefused, stage + ": " + systemError());
    if (!share(places.media, &error))
        return refuse(medium, places, settings.onRefused, error);
    const Outcome outcome = mountSigned(medium, policy, directory, stage);
    if (!outcome.isMounted)
        return refuse(medium, places, settings.onRefused, outcome.line);
    say(medium.name(), "accepted: " + outcome.line
                           + (outcome.serial ? ", serial " + std::to_string(*outcome.serial) : "")
                           + (outcome.note.empty() ? "" : "; " + outcome.note));
    if (settings.rememberSerial && outcome.serial.value_or(0) > *remembered
        && !rememberSerial(places, *outcome.serial))
        say(places.serial, "cannot be written: " + systemError());
    return ExitDone;
}

} // namespace

bool isMediumsName(const std::string &name)
{
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    return !name.empty() && name.size() <= 32 && name.find_first_not_of(letters) == std::string::npos;
}

int mountMedium(const Medium &medium, const Places &places)
{
    makeDirectory(places.run, 0755);
    const Descriptor own = lock(places.run + '/' + medium.name() + ".lock");
    const std::string directory = places.media + '/' + medium.name();
    const std::optional<Settings> settings = settingsOf(places);
    const bool takesAny = settings && settings->signature == Settings::Signature::Off;
    if (isMounted(directory)) {
        // A copy is in memory. Anything else is there by another's doing, such as a rule of the owner's.
        if (!takesAny && mountOf(directory).type != "tmpfs")
            return refuse(medium, places, settings ? settings->onRefused : std::string(),
                          "mounted already by something else, and not verified");
        say(medium.name(), "mounted already");
        return ExitDone;
    }
    if (!settings)
        return refuse(medium, places, std::string(), "the settings have to be put right first");
    if (!own.isOpen() || !makeDirectory(places.media, 0755) || !makeDirectory(directory, 0755))
        return refuse(medium, places, settings->onRefused, directory + ": " + systemError());
    return takesAny ? mountAsItIs(medium, directory)
                    : mountWhatIsSigned(medium, places, *settings, directory);
}

int unmountMedium(const std::string &name, const Places &places)
{
    Descriptor own = lock(places.run + '/' + name + ".lock");
    const std::string directory = places.media + '/' + name;
    bool isUnmounted = false;
    // With whatever is mounted in it, and what it covers.
    while (isMounted(directory) && umount2(directory.c_str(), MNT_DETACH | UMOUNT_NOFOLLOW) == 0)
        isUnmounted = true;
    if (isUnmounted)
        say(name, "unmounted");
    if (unlink(refusalMark(name, places).c_str()) == 0) {
        say(name, "removed");
        const std::optional<Settings> settings = settingsOf(places);
        own = Descriptor();
        // A service takes whatever it has started with it when it has stopped.
        const pid_t process =
            tellOwner(settings ? settings->onRefused : std::string(), "removed", name, std::string());
        if (process > 0)
            waitpid(process, nullptr, 0);
    }
    if (!isMounted(directory))
        return ExitDone;
    say(name, "cannot be unmounted: " + systemError());
    return ExitFailed;
}

int printSettings(const Places &places)
{
    const std::optional<Settings> settings = settingsOf(places);
    if (!settings) {
        std::printf("Nothing is mounted before the settings are put right.\n");
        return ExitRefused;
    }
    if (settings->signature == Settings::Signature::Off) {
        std::printf("Every medium is mounted, whoever made it.\n");
        return ExitDone;
    }
    const bool hasKeys = !keysOf(places).isEmpty();
    std::printf(hasKeys ? "Only what is signed is mounted.\n"
                        : "Nothing is mounted: there is no key to be signed with.\n");
    return hasKeys ? ExitDone : ExitRefused;
}

} // namespace gate
