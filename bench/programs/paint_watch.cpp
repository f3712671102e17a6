// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Says when something was painted, by looking at a part of the X screen every fraction of a millisecond.
//
// Usage: paint_watch LEFT TOP WIDTH HEIGHT settle SECONDS
//        paint_watch LEFT TOP WIDTH HEIGHT tap X Y
//
//   settle   prints "watching" once it has seen that part as it was, waits until it has changed and then has
//            stayed as it is for SECONDS, and prints when it changed last, in microseconds since 1970
//   tap      lets that part come to rest, presses and releases the first button at X, Y, and prints the
//            milliseconds from the press to the first change
//
// Ends with 1 when nothing has changed for 20 s.

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::system_clock;
using Pixels = std::vector<uint8_t>;

constexpr auto lookInterval = std::chrono::microseconds(200);
constexpr auto patience = std::chrono::seconds(20);
constexpr auto restTime = std::chrono::milliseconds(400); // longer than any blinking or fading here

[[noreturn]] void fail(const char *reason)
{
    std::fprintf(stderr, "paint_watch: %s\n", reason);
    std::exit(1);
}

class Screen
{
public:
    Screen(int16_t leftEdge, int16_t topEdge, uint16_t pixelsWide, uint16_t pixelsHigh)
        : left(leftEdge)
        , top(topEdge)
        , width(pixelsWide)
        , height(pixelsHigh)
        , connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(connection))
            fail("no X server");
        root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    }

    Pixels look() const
    {
        const auto cookie =
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, left, top, width, height, ~0U);
        xcb_get_image_reply_t *reply = xcb_get_image_reply(connection, cookie, nullptr);
        if (!reply)
            fail("the X server shows nothing");
        const uint8_t *data = xcb_get_image_data(reply);
        Pixels pixels(data, data + xcb_get_image_data_length(reply));
        std::free(reply);
        return pixels;
    }

    void movePointer(int16_t x, int16_t y) const
    {
        fake(XCB_MOTION_NOTIFY, 0, x, y);
    }

    void click() const
    {
        fake(XCB_BUTTON_PRESS, 1, 0, 0);
        fake(XCB_BUTTON_RELEASE, 1, 0, 0);
    }

private:
    void fake(uint8_t type, uint8_t detail, int16_t x, int16_t y) const
    {
        xcb_test_fake_input(connection, type, detail, XCB_CURRENT_TIME, root, x, y, 0);
        xcb_flush(connection);
    }

    int16_t left, top;
    uint16_t width, height;
    xcb_connection_t *connection;
    xcb_window_t root;
};

/// Waits for a look that differs from `before`, which it becomes; fails when there is none until `end`.
bool changed(const Screen &screen, Pixels &before, Clock::time_point end)
{
    while (Clock::now() < end) {
        Pixels now = screen.look();
        if (now != before) {
            before.swap(now);
            return true;
        }
        std::this_thread::sleep_for(lookInterval);
    }
    return false;
}

void settle(const Screen &screen, std::chrono::duration<double> quiet)
{
    Pixels pixels = screen.look();
    std::puts("watching");
    std::fflush(stdout);
    if (!changed(screen, pixels, Clock::now() + patience))
        fail("nothing was painted");
    Clock::time_point last;
    do
        last = Clock::now();
    while (changed(screen, pixels, last + std::chrono::duration_cast<Clock::duration>(quiet)));
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(last.time_since_epoch());
    std::printf("%lld\n", static_cast<long long>(since.count()));
}

void tap(const Screen &screen, int16_t x, int16_t y)
{
    screen.movePointer(x, y);
    Pixels pixels = screen.look();
    while (changed(screen, pixels, Clock::now() + restTime)) {
    }
    const Clock::time_point pressed = Clock::now();
    screen.click();
    if (!changed(screen, pixels, pressed + patience))
        fail("the tap changed nothing");
    const std::chrono::duration<double, std::milli> taken = Clock::now() - pressed;
    std::printf("%.3f\n", taken.count());
}

} // namespace

int main(int argc, char *argv[])
{
    const auto number = [&](int index) { return static_cast<int16_t>(std::atoi(argv[index])); };
    if (argc < 7)
        return 64;
    const Screen screen(number(1), number(2), static_cast<uint16_t>(number(3)),
                        static_cast<uint16_t>(number(4)));
    if (std::strcmp(argv[5], "settle") == 0)
        settle(screen, std::chrono::duration<double>(std::atof(argv[6])));
    else if (argc == 8)
        tap(screen, number(6), number(7));
    else
        return 64;
    return 0;
}
