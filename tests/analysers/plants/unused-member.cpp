// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Only clang warns.
class Planted
{
    int unused = 0;
};
