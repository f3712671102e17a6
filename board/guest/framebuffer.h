// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef BOARD_FRAMEBUFFER_H
#define BOARD_FRAMEBUFFER_H

#include <cstddef>
#include <cstdint>

/// The controller's screen, 32 bits a pixel, written directly as the controller's own programs do.
class FrameBuffer
{
public:
    /// Opens and maps /dev/fb0. isOpen() tells whether that worked; drawing does nothing otherwise.
    FrameBuffer();
    ~FrameBuffer();
    FrameBuffer(const FrameBuffer &) = delete;
    FrameBuffer &operator=(const FrameBuffer &) = delete;

    bool isOpen() const
    {
        return pixels != nullptr;
    }

    /// Fills a rectangle, in pixels, cut off at the screen's edges, with a colour 0xRRGGBB.
    void fill(int x, int y, int width, int height, uint32_t colour);

private:
    int file = -1;
    unsigned char *pixels = nullptr;
    size_t size = 0;
    size_t lineLength = 0; ///< bytes
    int screenWidth = 0;
    int screenHeight = 0;
};

#endif
