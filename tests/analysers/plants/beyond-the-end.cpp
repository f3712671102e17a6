// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// cppcheck finds it.
int planted();

int planted()
{
    int numbers[2] = {0, 0};
    for (int i = 0; i <= 2; ++i)
        numbers[i] = i;
    return numbers[0];
}
