// The layer's clock, which runs fast here, so that long waits end soon.
// label: threads

#include "platform/base/clock.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>

namespace {

TEST(Clock, waits_take_their_time_divided_by_the_rate) {
    setenv("ROM_WIZARD_CLOCK", "100", 1);
    const int rate = static_cast<int>(platform::ClockRate());
    ASSERT_GT(rate, 1);
    const auto divided = std::chrono::milliseconds(20000 / rate);
    EXPECT_EQ(platform::HostDuration(20000), divided);
    EXPECT_EQ(platform::HostDeadline(INFINITE), platform::HostClock::time_point::max());
    const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const auto start = platform::HostClock::now();
    const DWORD ticks = GetTickCount();
    EXPECT_EQ(WaitForSingleObject(event, 10000), DWORD{WAIT_TIMEOUT});
    Sleep(10000);
    EXPECT_GE(GetTickCount() - ticks, 20000u - 1);
    const auto taken = platform::HostClock::now() - start;
    EXPECT_GE(taken, divided);
    EXPECT_LT(taken, std::chrono::seconds(20)); // the clock is not the host's
    CloseHandle(event);
}

} // namespace
