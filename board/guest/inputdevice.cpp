// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "inputdevice.h"

#include <linux/input.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>

int openInputDevice(const std::string &name)
{
    constexpr int mostDevices = 32;
    for (int number = 0; number < mostDevices; ++number) {
        const std::string path = "/dev/input/event" + std::to_string(number);
        const int device = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (device == -1)
            continue;
        std::array<char, 256> deviceName{};
        if (ioctl(device, EVIOCGNAME(deviceName.size() - 1), deviceName.data()) >= 0
            && name == deviceName.data())
            return device;
        close(device);
    }
    return -1;
}
