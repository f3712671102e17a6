// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "framebuffer.h"

#include <linux/fb.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

FrameBuffer::FrameBuffer()
    : file(open("/dev/fb0", O_RDWR | O_CLOEXEC))
{
    fb_fix_screeninfo fixed{};
    fb_var_screeninfo variable{};
    if (file == -1 || ioctl(file, FBIOGET_FSCREENINFO, &fixed) == -1
        || ioctl(file, FBIOGET_VSCREENINFO, &variable) == -1 || variable.bits_per_pixel != 32)
        return;
    screenWidth = static_cast<int>(variable.xres);
    screenHeight = static_cast<int>(variable.yres);
    lineLength = fixed.line_length;
    size = lineLength * variable.yres;
    void *mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapping != MAP_FAILED)
        pixels = static_cast<unsigned char *>(mapping);
}

FrameBuffer::~FrameBuffer()
{
    if (pixels)
        munmap(pixels, size);
    if (file != -1)
        close(file);
}

void FrameBuffer::fill(int x, int y, int width, int height, uint32_t colour)
{
    if (!pixels)
        return;
    const int left = std::clamp(x, 0, screenWidth);
    const int right = std::clamp(x + width, left, screenWidth);
    for (int line = std::max(y, 0); line < std::min(y + height, screenHeight); ++line) {
        auto *start = reinterpret_cast<uint32_t *>(pixels + static_cast<size_t>(line) * lineLength);
        std::fill(start + left, start + right, colour);
    }
}
