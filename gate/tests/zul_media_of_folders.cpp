// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT
//
// zul_media_of_folders ROOT mount|unmount NAME, ROOT settings: zul_media with everything below ROOT, and the
// folder ROOT/devices/NAME in the place of a device, mounted as an overlay, which takes any name for its
// source as a device's mount has it. What is written to it appears in the folder, after a remount at the
// latest. With ZUL_OLD_KERNEL set, the kernel is one that passes over "nosymfollow"; with ZUL_LOCKED the
// medium is one that cannot be written to.

#include "gate/files.h"
#include "gate/media.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" int mount(const char *source, const char *target, const char *type, unsigned long flags,
                     const void *data) noexcept
{
    constexpr unsigned long nosymfollow = 256;
    if (std::getenv("ZUL_OLD_KERNEL"))
        flags &= ~nosymfollow;
    return static_cast<int>(syscall(SYS_mount, source, target, type, flags, data));
}

#ifdef ZUL_COVERAGE

// A process writes its counts when it ends as a program does, and where the judge is shut in there is no
// folder for them. So here it only goes there. These calls are the judge's.
extern "C" int chroot(const char *path) noexcept
{
    return static_cast<int>(syscall(SYS_chdir, path));
}

extern "C" int chdir(const char *) noexcept
{
    return 0;
}

extern "C" void _exit(int code)
{
    std::exit(code);
}
#endif

namespace
{

class Folder : public gate::Medium
{
public:
    Folder(const std::string &itsRoot, const std::string &name)
        : root(itsRoot)
        , itsName(name)
    {
    }

    const std::string &name() const override
    {
        return itsName;
    }

    bool mountAt(const std::string &directory, unsigned long flags, const std::string &source,
                 std::string *error) const override
    {
        if (std::getenv("ZUL_LOCKED"))
            flags |= MS_RDONLY;
        const std::string work = root + "/work-of-" + itsName, none = root + "/none";
        mkdir(work.c_str(), 0755);
        mkdir(none.c_str(), 0755);
        const std::string options =
            "lowerdir=" + none + ",upperdir=" + root + "/devices/" + itsName + ",workdir=" + work;
        if (mount(source.c_str(), directory.c_str(), "overlay", flags, options.c_str()) == 0)
            return true;
        *error = gate::systemError();
        return false;
    }

private:
    const std::string root, itsName;
};

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 3)
        return gate::ExitUsage;
    const std::string root = argv[1], command = argv[2], name = argc > 3 ? argv[3] : "";
    const gate::Places places{root + "/media", root + "/run/zul_media", root + "/media.conf",
                              root + "/keys.d", root + "/state/serial"};
    if (command == "settings")
        return gate::printSettings(places);
    if (!gate::isMediumsName(name))
        return gate::ExitUsage;
    return command == "mount" ? gate::mountMedium(Folder(root, name), places)
                              : gate::unmountMedium(name, places);
}
