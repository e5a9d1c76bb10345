// The date and the time of day, which are the host's at any rate of the layer's clock.

#include <winbase.h>

#include <ctime>

namespace {

SYSTEMTIME SystemTimeFrom(const tm& time, long nanoseconds) {
    return {static_cast<WORD>(time.tm_year + 1900), static_cast<WORD>(time.tm_mon + 1),
            static_cast<WORD>(time.tm_wday),        static_cast<WORD>(time.tm_mday),
            static_cast<WORD>(time.tm_hour),        static_cast<WORD>(time.tm_min),
            static_cast<WORD>(time.tm_sec),         static_cast<WORD>(nanoseconds / 1000000)};
}

timespec Now() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

} // namespace

void WINAPI GetSystemTime(LPSYSTEMTIME utc) {
    const timespec now = Now();
    tm broken{};
    gmtime_r(&now.tv_sec, &broken);
    *utc = SystemTimeFrom(broken, now.tv_nsec);
}

void WINAPI GetLocalTime(LPSYSTEMTIME local) {
    const timespec now = Now();
    tm broken{};
    tzset();
    localtime_r(&now.tv_sec, &broken);
    *local = SystemTimeFrom(broken, now.tv_nsec);
}
