// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// GCC and clang warn, and warnings are errors.
int planted()
{
    int unused;
    return 0;
}
