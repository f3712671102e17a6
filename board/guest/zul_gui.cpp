// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for the controller's front end: fills the screen with a picture that is easy to recognise from
// outside, and draws it anew twice a second, as a program with a clock on it does. Runs until it is killed.

#include "framebuffer.h"

#include <chrono>
#include <thread>

int main()
{
    constexpr uint32_t background = 0x006050;
    constexpr uint32_t frame = 0xf0c020;
    constexpr auto period = std::chrono::milliseconds(500);

    FrameBuffer screen;
    if (!screen.isOpen())
        return 1;
    for (;;) {
        screen.fill(0, 0, 800, 480, background);
        for (int column = 0; column < 4; ++column)
            screen.fill(40 + column * 190, 160, 150, 160, frame);
        std::this_thread::sleep_for(period);
    }
}
