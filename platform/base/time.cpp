// The date and the time of day, which are the host's at any rate of the layer's clock.

#include <winbase.h>

#include <ctime>

void WINAPI GetSystemTime(LPSYSTEMTIME utc) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm time{};
    gmtime_r(&now.tv_sec, &time);
    *utc = {static_cast<WORD>(time.tm_year + 1900), static_cast<WORD>(time.tm_mon + 1),
            static_cast<WORD>(time.tm_wday),        static_cast<WORD>(time.tm_mday),
            static_cast<WORD>(time.tm_hour),        static_cast<WORD>(time.tm_min),
            static_cast<WORD>(time.tm_sec),         static_cast<WORD>(now.tv_nsec / 1000000)};
}
