// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for the touch-screen calibration program: holds the screen for a moment, as an operator touching
// the crosses would, and succeeds.

#include <unistd.h>

int main()
{
    constexpr unsigned int calibrationSeconds = 6;
    sleep(calibrationSeconds);
    return 0;
}
