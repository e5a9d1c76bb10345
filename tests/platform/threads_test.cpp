// Threads, events and waits. The layer's clock runs fast here, so that long waits end soon.
// label: threads

#include "testing/comes_true.h"
#include "tests/platform/own_home.h"

#include "platform/base/clock.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <vector>

namespace {

using test_support::ComesTrue;

constexpr DWORD LongEnough = 6000000; // a minute of the host at this rate

const int clockIsSet = setenv("ROM_WIZARD_CLOCK", "100", 1);

HANDLE NewEvent(BOOL manualReset, BOOL set) {
    return CreateEventA(nullptr, manualReset, set, nullptr);
}

HANDLE Start(LPTHREAD_START_ROUTINE routine, void* parameter = nullptr) {
    return CreateThread(nullptr, 0, routine, parameter, 0, nullptr);
}

DWORD EndOf(HANDLE thread) {
    EXPECT_EQ(WaitForSingleObject(thread, LongEnough), WAIT_OBJECT_0);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    CloseHandle(thread);
    return code;
}

TEST(Events, a_manual_one_stays_set_and_one_wait_resets_an_automatic_one) {
    const HANDLE manual = NewEvent(TRUE, TRUE);
    const HANDLE automatic = NewEvent(FALSE, TRUE);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(WaitForSingleObject(manual, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(ResetEvent(manual));
    EXPECT_EQ(WaitForSingleObject(manual, 1), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(automatic, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(SetEvent(automatic));
    EXPECT_TRUE(SetEvent(automatic)); // twice is once
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), DWORD{WAIT_TIMEOUT});
    CloseHandle(manual);
    CloseHandle(automatic);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(Events, a_wait_for_all_resets_none_before_all_are_set) {
    const HANDLE both[] = {NewEvent(FALSE, TRUE), NewEvent(FALSE, FALSE)};
    EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 1), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_OBJECT_0); // it was left
    SetEvent(both[1]);
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_OBJECT_0 + 1);
    SetEvent(both[0]);
    SetEvent(both[1]);
    EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForMultipleObjects(0, both, FALSE, 0), WAIT_FAILED);
    for (const HANDLE event : both)
        CloseHandle(event);
}

// Two threads hand a number to and fro; the events alone keep them apart.
struct PingPong {
    HANDLE ping = NewEvent(FALSE, FALSE);
    HANDLE pong = NewEvent(FALSE, FALSE);
    int number = 0;
};

TEST(Events, what_was_written_before_a_set_is_seen_after_the_wait) {
    PingPong game;
    const HANDLE thread = Start(
        [](void* parameter) -> DWORD {
            auto& shared = *static_cast<PingPong*>(parameter);
            for (int i = 0; i < 500; ++i) {
                WaitForSingleObject(shared.ping, INFINITE);
                ++shared.number;
                SetEvent(shared.pong);
            }
            return 0;
        },
        &game);
    for (int i = 0; i < 500; ++i) {
        ++game.number;
        SetEvent(game.ping);
        ASSERT_EQ(WaitForSingleObject(game.pong, LongEnough), WAIT_OBJECT_0);
    }
    EXPECT_EQ(game.number, 1000);
    EXPECT_EQ(EndOf(thread), 0u);
    CloseHandle(game.ping);
    CloseHandle(game.pong);
}

TEST(Threads, an_exit_code_comes_from_the_return_or_from_the_exit) {
    static std::atomic<bool> unwound;
    unwound = false;
    EXPECT_EQ(EndOf(Start([](void*) -> DWORD { return 5; })), 5u);
    EXPECT_EQ(EndOf(Start([](void*) -> DWORD {
                  struct Guard {
                      ~Guard() { unwound = true; }
                  } const guard;
                  ExitThread(6);
              })),
              6u);
    EXPECT_TRUE(unwound);
}

TEST(Threads, a_thread_knows_the_id_that_its_starter_was_given) {
    DWORD id = 0;
    static std::atomic<DWORD> own;
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            own = GetCurrentThreadId();
            return 0;
        },
        nullptr, 0, &id);
    EndOf(thread);
    EXPECT_EQ(own, id);
    EXPECT_NE(id, GetCurrentThreadId());
}

TEST(Threads, a_handle_may_be_closed_while_the_thread_runs) {
    static HANDLE go, done;
    go = NewEvent(TRUE, FALSE);
    done = NewEvent(TRUE, FALSE);
    const HANDLE thread = Start([](void*) -> DWORD {
        WaitForSingleObject(go, INFINITE);
        SetEvent(done);
        return 0;
    });
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    EXPECT_EQ(WaitForSingleObject(thread, 1), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(CloseHandle(thread));
    SetEvent(go);
    EXPECT_EQ(WaitForSingleObject(done, LongEnough), WAIT_OBJECT_0);
    CloseHandle(go);
    CloseHandle(done);
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
    EXPECT_EQ(EndOf(thread), 9u);
    EXPECT_TRUE(ComesTrue([] { return left.load(); }));
    EXPECT_FALSE(passed);
}

TEST(Threads, a_handle_closed_during_a_wait_does_no_harm) {
    static HANDLE event;
    event = NewEvent(TRUE, FALSE);
    const HANDLE thread = Start([](void*) -> DWORD { return WaitForSingleObject(event, 20000); });
    Sleep(1000); // most often the wait has begun by then; either order must be harmless
    CloseHandle(event);
    const DWORD result = EndOf(thread);
    EXPECT_TRUE(result == WAIT_TIMEOUT || result == WAIT_FAILED) << result;
}

TEST(Clock, waits_take_their_time_divided_by_the_rate) {
    EXPECT_EQ(platform::ClockRate(), 100);
    EXPECT_EQ(platform::HostDuration(20000), std::chrono::milliseconds(200));
    EXPECT_EQ(platform::HostDeadline(INFINITE), platform::HostClock::time_point::max());
    const HANDLE event = NewEvent(TRUE, FALSE);
    const auto start = platform::HostClock::now();
    const DWORD ticks = GetTickCount();
    EXPECT_EQ(WaitForSingleObject(event, 10000), DWORD{WAIT_TIMEOUT});
    Sleep(10000);
    EXPECT_GE(GetTickCount() - ticks, 20000u - 1);
    const auto taken = platform::HostClock::now() - start;
    EXPECT_GE(taken, std::chrono::milliseconds(200));
    EXPECT_LT(taken, std::chrono::seconds(20)); // the clock is not the host's
    CloseHandle(event);
}

TEST(Memory, blocks_are_cleared_where_that_is_asked_for) {
    auto* block = static_cast<BYTE*>(LocalAlloc(LMEM_ZEROINIT, 0x20000));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::vector<BYTE>(block, block + 0x20000), std::vector<BYTE>(0x20000, 0));
    EXPECT_EQ(LocalFree(block), nullptr);
    EXPECT_EQ(LocalAlloc(0x0002, 10), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

} // namespace
