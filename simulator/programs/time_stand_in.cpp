// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

// Stands in for what the tool asks the kernel: how late it is, and what is on its medium. Loaded before the
// tool's libraries (LD_PRELOAD), so that the tool itself is the one that ships; what the tool starts does not
// get it.
//
// Each byte of the file that $ZUL_TIME names is a switch, to be turned while the tool runs:
//   1  pace of the tool's timers: r real, q four times as quick, h time stands still; f a hundred times as
//      quick up to the countdown's last seconds, in the last of which it stands still by itself
//   2  date: 0 as it is, + a year ahead, - a year back
//   3  reading a file of a medium: 0 as it is, e fails with EIO
//   4  files: 0 as it is, f as many are open as may be
//
// The four seconds that the tool allows a program to say something stay four of this computer's: it waits for
// them with ppoll(2), for its timers with poll(2).

#include <QLabel>
#include <QString>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <vector>

namespace
{

using Nanoseconds = long long;
constexpr Nanoseconds second = 1'000'000'000;
constexpr Nanoseconds look = second / 50; // so often who waits looks whether the pace has changed
constexpr time_t year = 365L * 24 * 60 * 60;

enum Switch { Pace = 0, Date = 1, Reading = 2, Descriptors = 3, SwitchCount = 4 };

/// The function of that name that the tool would have got.
template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/// The switches: those of the file, or, where it is missing, all as it is.
volatile char *switches()
{
    static char none[SwitchCount] = {'r', '0', '0', '0'};
    static char *const mapped = [] {
        const char *path = std::getenv("ZUL_TIME");
        const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
        if (file == -1) {
            return none;
        }
        void *const map = mmap(nullptr, SwitchCount, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        return map != MAP_FAILED ? static_cast<char *>(map) : none;
    }();
    return mapped;
}

Nanoseconds toNanoseconds(const timespec &time)
{
    return time.tv_sec * second + time.tv_nsec;
}

timespec toTimespec(Nanoseconds time)
{
    return {static_cast<time_t>(time / second), static_cast<long>(time % second)};
}

int realClock(clockid_t clock, timespec *time)
{
    static auto *const next = real<int(clockid_t, timespec *)>("clock_gettime");
    return next(clock, time);
}

/// What `time` of the computer's is at this pace.
Nanoseconds paced(char pace, Nanoseconds time)
{
    switch (pace) {
    case 'q':
        return 4 * time;
    case 'f':
        return 100 * time;
    case 'h':
        return 0;
    default:
        return time;
    }
}

/// The tool's own steady clock. Every change of pace begins a new stretch where the last one has ended.
Nanoseconds steadyNow()
{
    static std::mutex mutex;
    static Nanoseconds begunReal = -1;
    static Nanoseconds begun = 0;
    static char pace = 'r';

    const std::lock_guard<std::mutex> lock(mutex);
    timespec time{};
    realClock(CLOCK_MONOTONIC, &time);
    const Nanoseconds now = toNanoseconds(time);
    if (begunReal == -1) {
        begunReal = begun = now;
    }
    const Nanoseconds steady = begun + paced(pace, now - begunReal);
    if (pace != switches()[Pace]) {
        pace = switches()[Pace];
        begunReal = now;
        begun = steady;
    }
    return steady;
}

/// How long to sleep now of `left` that are still to be waited for.
Nanoseconds nextNap(Nanoseconds left)
{
    const Nanoseconds speed = paced(switches()[Pace], 1);
    return speed == 0 ? look : std::min(look, std::max(left / speed, second / 10'000));
}

time_t dateChange()
{
    switch (switches()[Date]) {
    case '+':
        return year;
    case '-':
        return -year;
    default:
        return 0;
    }
}

bool mustFail(int file)
{
    if (switches()[Reading] != 'e') {
        return false;
    }
    char link[64];
    char path[4096] = {};
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const char media[] = "/media/";
    return readlink(link, path, sizeof path - 1) > 0 && std::strncmp(path, media, std::strlen(media)) == 0;
}

/// Opens files up to the limit, and closes them again, as the switch says.
void openOrClose()
{
    static std::vector<int> opened;
    static std::mutex mutex;

    const std::lock_guard<std::mutex> lock(mutex);
    if (switches()[Descriptors] == 'f') {
        for (int file = 0; (file = open("/dev/null", O_RDONLY | O_CLOEXEC)) != -1;) {
            opened.push_back(file);
        }
    } else {
        std::for_each(opened.begin(), opened.end(), close);
        opened.clear();
    }
}

// The tool's children are not its time's.
[[gnu::constructor]] void keepToTheTool()
{
    switches();
    unsetenv("LD_PRELOAD");
    unsetenv("ZUL_TIME");
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    if (clock == CLOCK_MONOTONIC) {
        *time = toTimespec(steadyNow());
        return 0;
    }
    const int result = realClock(clock, time);
    if (result == 0 && clock == CLOCK_REALTIME) {
        time->tv_sec += dateChange();
    }
    return result;
}

int gettimeofday(timeval *time, void *) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

time_t time(time_t *result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

int poll(pollfd *files, nfds_t count, int milliseconds)
{
    static auto *const next = real<int(pollfd *, nfds_t, const timespec *, const sigset_t *)>("ppoll");
    if (milliseconds <= 0) {
        const timespec none{};
        return next(files, count, milliseconds < 0 ? nullptr : &none, nullptr);
    }
    const Nanoseconds end = steadyNow() + milliseconds * (second / 1000);
    for (;;) {
        openOrClose();
        const Nanoseconds left = end - steadyNow();
        const timespec nap = toTimespec(left > 0 ? nextNap(left) : 0);
        const int result = next(files, count, &nap, nullptr);
        if (result != 0 || left <= 0) {
            return result;
        }
    }
}

int clock_nanosleep(clockid_t clock, int flags, const timespec *request, timespec *)
{
    static auto *const next = real<int(clockid_t, int, const timespec *, timespec *)>("clock_nanosleep");
    if (clock != CLOCK_MONOTONIC && clock != CLOCK_REALTIME) {
        return next(clock, flags, request, nullptr);
    }
    timespec now{};
    clock_gettime(clock, &now);
    const Nanoseconds length = toNanoseconds(*request) - (flags == TIMER_ABSTIME ? toNanoseconds(now) : 0);
    const Nanoseconds end = steadyNow() + length;
    for (Nanoseconds left = end - steadyNow(); left > 0; left = end - steadyNow()) {
        const timespec nap = toTimespec(nextNap(left));
        next(CLOCK_MONOTONIC, 0, &nap, nullptr);
    }
    return 0;
}

int nanosleep(const timespec *request, timespec *remaining)
{
    return clock_nanosleep(CLOCK_MONOTONIC, 0, request, remaining);
}

ssize_t read(int file, void *buffer, size_t size)
{
    static auto *const next = real<ssize_t(int, void *, size_t)>("read");
    if (mustFail(file)) {
        errno = EIO;
        return -1;
    }
    return next(file, buffer, size);
}

/// QLabel::setText, by which the countdown's last second is seen. A tick that comes late at the fast pace may
/// have the next one at its heels, so the last four are real: df is looked at between them.
void labelSetText(QLabel *label, const QString &text) __asm__("_ZN6QLabel7setTextERK7QString");
void labelSetText(QLabel *label, const QString &text)
{
    static auto *const next = real<void(QLabel *, const QString &)>("_ZN6QLabel7setTextERK7QString");
    static bool slowed = false;
    next(label, text);
    if (switches()[Pace] == 'f' && text == QLatin1String("00:04")) {
        slowed = true;
        switches()[Pace] = 'r';
        steadyNow();
    } else if (slowed && text == QLatin1String("00:00")) {
        slowed = false;
        switches()[Pace] = 'h';
        steadyNow();
    }
}
}
