// The layer's clock: host time for what callers give in Windows milliseconds.
//
// Times are rounded up, so that no wait ends before its time, and very long ones stop at the end of
// the host's time instead of wrapping round into the past.

#include "platform/clock.h"

#include <winbase.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace platform {
namespace {

constexpr double NanosecondsPerMillisecond = 1e6;

double ReadClockRate() {
    const char* setting = std::getenv("ROM_WIZARD_CLOCK");
    const std::string_view text = setting ? setting : "";
    double rate = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(rate) && rate > 0 ? rate : 1;
}

} // namespace

double ClockRate() {
    static const double rate = ReadClockRate();
    return rate;
}

HostClock::duration HostDuration(DWORD milliseconds) {
    const double count = std::ceil(milliseconds * NanosecondsPerMillisecond / ClockRate());
    constexpr auto longest = std::chrono::nanoseconds::max();
    if (count >= static_cast<double>(longest.count()))
        return longest;
    return std::chrono::nanoseconds(static_cast<std::chrono::nanoseconds::rep>(count));
}

HostClock::time_point HostDeadline(DWORD milliseconds) {
    if (milliseconds == INFINITE)
        return HostClock::time_point::max();
    const auto now = HostClock::now();
    const auto duration = HostDuration(milliseconds);
    if (duration > HostClock::time_point::max() - now)
        return HostClock::time_point::max();
    return now + duration;
}

} // namespace platform

DWORD WINAPI GetTickCount() {
    const std::chrono::duration<double, std::milli> running =
        platform::HostClock::now().time_since_epoch();
    const double ticks = std::fmod(running.count() * platform::ClockRate(), 4294967296.0);
    return static_cast<DWORD>(ticks);
}
