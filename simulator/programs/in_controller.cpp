// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Runs a command of a catalogue for a rehearsal: in the root of a controller, with what it prints going to a
// pipe. The tool starts it in the command's place; see note_outcome.cpp.
//
// Usage: in_controller ROOT PRINTED REFUSED [PROGRAM [ARGUMENT...]]
//        in_controller --where ROOT PATH...
//
// ROOT is "/" where the tool's own root is the controller's. PRINTED and REFUSED are the numbers of two
// pipes: what the program prints goes to the first, and when it cannot be started that is said on the second.
// It is looked for as QProcess looks for it. With --where it prints, of each PATH that is there, what it
// leads to inside ROOT, whatever links are on its way. Needs the right to change the root, which the program
// is not given.

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <linux/capability.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{

constexpr int cannotEnter = 70;
constexpr int cannotStart = 127;

/// Makes it the root, and keeps the working directory where that is there as well.
bool enter(const char *root)
{
    if (std::strcmp(root, "/") == 0) {
        return true;
    }
    std::array<char, PATH_MAX> here{};
    const bool known = getcwd(here.data(), here.size()) != nullptr;
    if (chroot(root) != 0 || chdir("/") != 0) {
        return false;
    }
    if (known && chdir(here.data()) != 0) {
        return chdir("/") == 0;
    }
    return true;
}

int tellWhere(char **paths)
{
    for (; *paths != nullptr; ++paths) {
        std::array<char, PATH_MAX> real{};
        if (realpath(*paths, real.data()) != nullptr) {
            std::puts(real.data());
        }
    }
    return 0;
}

/// The program's file: itself when it has a slash, else the first of PATH that can be executed.
std::string fileOf(const std::string &program)
{
    const char *path = std::getenv("PATH");
    if (program.find('/') != std::string::npos || path == nullptr) {
        return program;
    }
    const std::string places = std::string(path) + ":";
    for (size_t start = 0; start < places.size();) {
        const size_t end = places.find(':', start);
        std::string file = places.substr(start, end - start) + "/" + program;
        if (end > start && access(file.c_str(), X_OK) == 0) {
            return file;
        }
        start = end + 1;
    }
    return program;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc >= 3 && std::strcmp(argv[1], "--where") == 0) {
        return enter(argv[2]) ? tellWhere(argv + 3) : cannotEnter;
    }
    if (argc < 4) {
        return cannotEnter;
    }
    const int printed = std::atoi(argv[2]);
    const int refused = std::atoi(argv[3]);
    fcntl(refused, F_SETFD, FD_CLOEXEC);
    if (!enter(argv[1])) {
        std::perror("in_controller");
        return cannotEnter;
    }
    prctl(PR_CAPBSET_DROP, CAP_SYS_CHROOT);
    dup2(printed, STDOUT_FILENO);
    dup2(printed, STDERR_FILENO);
    close(printed);
    if (argc > 4) {
        std::string file = fileOf(argv[4]);
        argv[4] = file.data(); // as QProcess calls it
        execv(argv[4], argv + 4);
    }
    const int reason = argc > 4 ? errno : ENOENT;
    return write(refused, &reason, sizeof(reason)) > 0 ? cannotStart : cannotEnter;
}
