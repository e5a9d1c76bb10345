// Threads, events and waits. The layer's clock runs fast here, so that long waits end soon.
// label: threads

#include "testing/comes_true.h"

#include "platform/base/clock.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

namespace {

using test_support::ComesTrue;

constexpr DWORD LongEnough = 6000000; // a minute of the host at this rate

const int clockIsSet = setenv("ROM_WIZARD_CLOCK", "100", 1);

HANDLE NewEvent() { return CreateEventA(nullptr, TRUE, FALSE, nullptr); }

HANDLE Start(LPTHREAD_START_ROUTINE routine) {
    return CreateThread(nullptr, 0, routine, nullptr, 0, nullptr);
}

void AwaitEnd(HANDLE thread) {
    EXPECT_EQ(WaitForSingleObject(thread, LongEnough), WAIT_OBJECT_0);
    CloseHandle(thread);
}

TEST(Events, a_closed_one_cannot_be_waited_for_and_none_resets_itself) {
    const HANDLE event = NewEvent();
    CloseHandle(event);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(CreateEventA(nullptr, FALSE, FALSE, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CALL_NOT_IMPLEMENTED});
}

TEST(Threads, a_terminated_thread_is_signalled_at_once_and_leaves_its_wait) {
    static std::atomic<bool> started, left, passed;
    started = left = passed = false;
    const HANDLE thread = Start([](void*) -> DWORD {
        struct Guard {
            ~Guard() { left = true; }
        } const guard;
        started = true;
        Sleep(INFINITE);
        passed = true;
        return 1;
    });
    ASSERT_TRUE(ComesTrue([] { return started.load(); }));
    EXPECT_TRUE(TerminateThread(thread, 9));
    AwaitEnd(thread);
    EXPECT_TRUE(ComesTrue([] { return left.load(); }));
    EXPECT_FALSE(passed);
}

TEST(Clock, waits_take_their_time_divided_by_the_rate) {
    const int rate = static_cast<int>(platform::ClockRate());
    ASSERT_GT(rate, 1);
    const auto divided = std::chrono::milliseconds(20000 / rate);
    EXPECT_EQ(platform::HostDuration(20000), divided);
    EXPECT_EQ(platform::HostDeadline(INFINITE), platform::HostClock::time_point::max());
    const HANDLE event = NewEvent();
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
