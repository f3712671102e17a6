// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for the touch-screen calibration: draws a cross on the frame buffer and waits for a touch, twice,
// then succeeds. Reads the touch device itself.

#include "framebuffer.h"
#include "inputdevice.h"

#include <linux/input.h>

#include <unistd.h>

namespace
{

void drawCross(FrameBuffer &screen, int x, int y)
{
    screen.fill(0, 0, 800, 480, 0x101030);
    screen.fill(x - 30, y - 2, 60, 4, 0xffffff);
    screen.fill(x - 2, y - 30, 4, 60, 0xffffff);
}

/// Waits for a finger to be lifted. False when the device is gone.
bool waitForTouch(int device)
{
    input_event event{};
    while (read(device, &event, sizeof event) == static_cast<ssize_t>(sizeof event)) {
        if (event.type == EV_KEY && event.code == BTN_TOUCH && event.value == 0)
            return true;
    }
    return false;
}

} // namespace

int main()
{
    FrameBuffer screen;
    const int device = openInputDevice("Board touch screen");
    if (!screen.isOpen() || device == -1)
        return 1;
    drawCross(screen, 100, 100);
    if (!waitForTouch(device))
        return 1;
    drawCross(screen, 700, 380);
    return waitForTouch(device) ? 0 : 1;
}
