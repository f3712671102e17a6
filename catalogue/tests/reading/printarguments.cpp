// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Prints its arguments, each ended by a zero byte, as it got them.

#include <cstdio>
#include <cstring>

int main(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i)
        std::fwrite(argv[i], 1, std::strlen(argv[i]) + 1, stdout);
    return 0;
}
