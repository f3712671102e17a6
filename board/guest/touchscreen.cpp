// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Makes the touch screen of the virtual board. The machine offers a tablet, which the system takes for a
// mouse; this takes the tablet for itself and gives its presses to the system as a touch screen with one
// finger, so that the tool meets what a real panel's driver offers: BTN_TOUCH, multi-touch slots and a direct
// device. Ends when the tablet does.

#include "inputdevice.h"

#include <linux/input.h>
#include <linux/uinput.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace
{

constexpr int tabletMaximum = 0x7fff;
constexpr int screenWidth = 800;
constexpr int screenHeight = 480;

bool addAxis(int device, int code, int maximum)
{
    uinput_abs_setup axis{};
    axis.code = static_cast<__u16>(code);
    axis.absinfo.maximum = maximum;
    return ioctl(device, UI_ABS_SETUP, &axis) == 0;
}

/// The new device's descriptor, or -1.
int createTouchScreen()
{
    const int device = open("/dev/uinput", O_WRONLY | O_CLOEXEC);
    if (device == -1)
        return -1;
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::strcpy(setup.name, "Board touch screen");
    const bool made =
        ioctl(device, UI_SET_EVBIT, EV_KEY) == 0 && ioctl(device, UI_SET_KEYBIT, BTN_TOUCH) == 0
        && ioctl(device, UI_SET_EVBIT, EV_ABS) == 0 && ioctl(device, UI_SET_PROPBIT, INPUT_PROP_DIRECT) == 0
        && addAxis(device, ABS_X, screenWidth - 1) && addAxis(device, ABS_Y, screenHeight - 1)
        && addAxis(device, ABS_MT_SLOT, 1) && addAxis(device, ABS_MT_POSITION_X, screenWidth - 1)
        && addAxis(device, ABS_MT_POSITION_Y, screenHeight - 1) && addAxis(device, ABS_MT_TRACKING_ID, 65535)
        && ioctl(device, UI_DEV_SETUP, &setup) == 0 && ioctl(device, UI_DEV_CREATE) == 0;
    return made ? device : -1;
}

/// One finger on the screen, reported at the end of every tablet event.
class Finger
{
public:
    explicit Finger(int touchScreen)
        : device(touchScreen)
    {
    }

    void take(const input_event &event)
    {
        if (event.type == EV_ABS && event.code == ABS_X)
            x = event.value * (screenWidth - 1) / tabletMaximum;
        else if (event.type == EV_ABS && event.code == ABS_Y)
            y = event.value * (screenHeight - 1) / tabletMaximum;
        else if (event.type == EV_KEY && event.code == BTN_LEFT)
            pressed = event.value != 0;
        else if (event.type == EV_SYN && event.code == SYN_REPORT)
            report();
    }

private:
    void report()
    {
        if (!pressed && !down)
            return; // a pointer that hovers is no touch
        if (pressed != down) {
            emitEvent(EV_ABS, ABS_MT_TRACKING_ID, pressed ? nextContact++ : -1);
            emitEvent(EV_KEY, BTN_TOUCH, pressed ? 1 : 0);
            down = pressed;
        }
        if (pressed) {
            emitEvent(EV_ABS, ABS_MT_POSITION_X, x);
            emitEvent(EV_ABS, ABS_MT_POSITION_Y, y);
            emitEvent(EV_ABS, ABS_X, x);
            emitEvent(EV_ABS, ABS_Y, y);
        }
        emitEvent(EV_SYN, SYN_REPORT, 0);
    }

    void emitEvent(int type, int code, int value)
    {
        input_event event{};
        event.type = static_cast<__u16>(type);
        event.code = static_cast<__u16>(code);
        event.value = value;
        if (write(device, &event, sizeof event) != static_cast<ssize_t>(sizeof event))
            std::perror("touch screen");
    }

    int device;
    int x = 0;
    int y = 0;
    int nextContact = 1;
    bool pressed = false;
    bool down = false;
};

} // namespace

int main()
{
    const int tablet = openInputDevice("QEMU Virtio Tablet");
    if (tablet == -1 || ioctl(tablet, EVIOCGRAB, 1) == -1) {
        std::perror("no tablet");
        return 1;
    }
    const int device = createTouchScreen();
    if (device == -1) {
        std::perror("no touch screen");
        return 1;
    }
    Finger finger(device);
    input_event event{};
    while (read(tablet, &event, sizeof event) == static_cast<ssize_t>(sizeof event))
        finger.take(event);
    return 1;
}
