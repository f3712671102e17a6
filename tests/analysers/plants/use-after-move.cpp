// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// clang-tidy finds it.
#include <string>
#include <utility>

std::string planted(std::string text);

std::string planted(std::string text)
{
    std::string taken = std::move(text);
    return taken + text;
}
