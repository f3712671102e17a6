// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for every program of the generated commands: it notes how it was called, in the file that RECORD
// names, and says so on its standard output. It does nothing else.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? std::string(" ") + name + "=" + value : "";
}

/// What comes through a pipe or from a file.
std::string input()
{
    struct stat status {
    };
    if (fstat(STDIN_FILENO, &status) != 0 || (!S_ISFIFO(status.st_mode) && !S_ISREG(status.st_mode)))
        return "";
    std::string text = "<";
    char buffer[4096];
    for (ssize_t size = 0; (size = read(STDIN_FILENO, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<size_t>(size));
    return text + ">";
}

} // namespace

int main(int argc, char *argv[])
{
    std::string name = argv[0];
    name = name.substr(name.rfind('/') + 1);
    std::string line;
    for (int i = 1; i < argc; ++i)
        line += (i > 1 ? " " : "") + std::string(name == "echo" ? "" : "[") + argv[i]
                + (name == "echo" ? "" : "]");
    if (name == "echo") { // as a shell does it itself, without a note
        std::puts(line.c_str());
        return 0;
    }
    line = name + " " + line + input();
    char *folder = getcwd(nullptr, 0);
    std::string note = line + " in " + std::string(folder).substr(std::string(folder).rfind('/') + 1)
                       + variable("A") + variable("LANG") + variable("X") + "\n";
    std::free(folder);
    const char *path = std::getenv("RECORD");
    const int record = path ? open(path, O_WRONLY | O_APPEND | O_CLOEXEC) : -1;
    if (record < 0 || write(record, note.data(), note.size()) != static_cast<ssize_t>(note.size()))
        return 99;
    std::puts(line.c_str());
    return name == "fail" ? 1 : 0;
}
