// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for those application programs of the controller that have no picture. Runs until it is killed.

#include <unistd.h>

int main()
{
    for (;;)
        pause();
}
