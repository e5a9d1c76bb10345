// The layer's clock: host time for what callers give in Windows milliseconds.
//
// Times are rounded up, so that no wait ends before its time, and very long ones stop at the end of
// the host's time instead of wrapping round into the past.

#include "platform/base/clock.h"

#include <winbase.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace platform {
namespace {

constexpr double NanosecondsPerMillisecond = 1e6;
constexpr DWORD MaxShortSleep = 1000;
constexpr auto MinSleep = std::chrono::milliseconds(1);

struct Rates {
    double waits = 1;
    double longSleeps = 1;
};

// Nothing where the text is no number above 0.
std::optional<double> ParseRate(std::string_view text) {
    double rate = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(rate) && rate > 0 ? std::optional(rate) : std::nullopt;
}

Rates ReadRates() {
    const char* setting = std::getenv("ROM_WIZARD_CLOCK");
    const std::string_view text = setting ? setting : "";
    const std::size_t comma = text.find(',');
    const auto waits = ParseRate(text.substr(0, comma));
    if (comma == text.npos)
        return {waits.value_or(1), waits.value_or(1)};
    const auto longSleeps = ParseRate(text.substr(comma + 1));
    return waits && longSleeps ? Rates{*waits, *longSleeps} : Rates{};
}

const Rates& ConfiguredRates() {
    static const Rates rates = ReadRates();
    return rates;
}

HostClock::duration AtRate(DWORD milliseconds, double rate) {
    const double count = std::ceil(milliseconds * NanosecondsPerMillisecond / rate);
    constexpr auto max = std::chrono::nanoseconds::max();
    if (count >= static_cast<double>(max.count()))
        return max;
    return std::chrono::nanoseconds(static_cast<std::chrono::nanoseconds::rep>(count));
}

HostClock::time_point FromNow(HostClock::duration duration) {
    const auto now = HostClock::now();
    if (duration > HostClock::time_point::max() - now)
        return HostClock::time_point::max();
    return now + duration;
}

} // namespace

double ClockRate() { return ConfiguredRates().waits; }

HostClock::duration HostDuration(DWORD milliseconds) { return AtRate(milliseconds, ClockRate()); }

HostClock::time_point HostDeadline(DWORD milliseconds) {
    return milliseconds == INFINITE ? HostClock::time_point::max()
                                    : FromNow(HostDuration(milliseconds));
}

HostClock::time_point SleepDeadline(DWORD milliseconds) {
    const bool isLong = milliseconds > MaxShortSleep;
    const auto sleep = AtRate(milliseconds, isLong ? ConfiguredRates().longSleeps : ClockRate());
    return FromNow(std::max<HostClock::duration>(sleep, MinSleep));
}

} // namespace platform

DWORD WINAPI GetTickCount() {
    const std::chrono::duration<double, std::milli> running =
        platform::HostClock::now().time_since_epoch();
    const double ticks = std::fmod(running.count() * platform::ClockRate(), 4294967296.0);
    return static_cast<DWORD>(ticks);
}
