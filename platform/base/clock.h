// The layer's clock. ROM_WIZARD_CLOCK, 1 by default, makes every wait and timer that many times
// faster, so that a run whose waits take half a minute can be tested in a second. What the clock
// counts are Windows milliseconds; what the host waits is that divided by the rate.
//
// No sleep gets shorter than a millisecond of the host, since what sleeps for a millisecond polls.
//
// A second number behind a comma, "20,500", is a rate for sleeps of more than a second. Such a
// sleep gives the world outside time to settle, and in a test nothing races with it; limits and
// short pauses do race with other processes, and may not get shorter than a loaded host is slow.
#pragma once

#include <windef.h>

#include <chrono>

namespace platform {

using HostClock = std::chrono::steady_clock;

// The rate, read once: a number above 0. Anything else counts as 1.
double ClockRate();

// When a Sleep of so many Windows milliseconds ends, which is not INFINITE.
HostClock::time_point SleepDeadline(DWORD milliseconds);

// Windows milliseconds as host time. INFINITE is not accepted here.
HostClock::duration HostDuration(DWORD milliseconds);

// The instant that lies so many Windows milliseconds ahead; for INFINITE the end of time.
HostClock::time_point HostDeadline(DWORD milliseconds);

} // namespace platform
