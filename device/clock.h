// The handheld's clock, set from the PC's at the end of an upgrade.
#pragma once

#include <windows.h>

#include <cstddef>

// What the handheld's clock library takes: two published structures, the time in UTC.
struct ClockRecord {
    TIME_ZONE_INFORMATION zone;
    SYSTEMTIME time;
};
static_assert(sizeof(ClockRecord) == 188 && offsetof(ClockRecord, time) == 172);

// Copies the clock library of the image's language to the handheld and calls it, over a connection
// of its own. Best effort: nothing that happens here reaches the user, and without a handheld
// nothing happens. Main thread, which waits.
void SetDeviceClock();

// True when the whole file is on the device; an older one is replaced.
bool CopyClockLibrary(const char* pcPath, const char* devicePath);
