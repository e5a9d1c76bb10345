// Threads, events and waits. Also on Windows.
// label: threads

#include "testing/comes_true.h"
#include "tests/platform/any_host.h"

#include <atomic>

namespace {

using test_support::ComesTrue;

constexpr DWORD LongEnough = 60000;

HANDLE NewEvent() { return CreateEventA(nullptr, TRUE, FALSE, nullptr); }

// No lambda has Windows' way of calling in 32 bits.
DWORD WINAPI Run(LPVOID body) { return reinterpret_cast<DWORD (*)()>(body)(); }

HANDLE Start(DWORD (*body)()) {
    return CreateThread(nullptr, 0, Run, reinterpret_cast<void*>(body), 0, nullptr);
}

void AwaitEnd(HANDLE thread) {
    EXPECT_EQ(WaitForSingleObject(thread, LongEnough), WAIT_OBJECT_0);
    CloseHandle(thread);
}

TEST(Events, a_closed_one_cannot_be_waited_for) {
    const HANDLE event = NewEvent();
    CloseHandle(event);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    const HANDLE itself = CreateEventA(nullptr, FALSE, TRUE, nullptr);
    any_host::ExpectDocumented("an event that resets itself",
                               WaitForSingleObject(itself, 0) == WAIT_OBJECT_0 &&
                                   WaitForSingleObject(itself, 0) == WAIT_TIMEOUT);
    CloseHandle(itself);
}

TEST(Events, one_lets_every_waiter_pass_until_it_is_reset) {
    static HANDLE event;
    event = NewEvent();
    EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(event, 1), DWORD{WAIT_TIMEOUT});
    const auto wait = []() -> DWORD { return WaitForSingleObject(event, INFINITE); };
    const HANDLE one = Start(wait), other = Start(wait);
    EXPECT_EQ(WaitForSingleObject(one, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(SetEvent(event));
    AwaitEnd(one);
    AwaitEnd(other);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0) << "it stays signalled";
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    CloseHandle(event);
    EXPECT_FALSE(SetEvent(event));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST(Threads, a_terminated_thread_is_signalled_and_never_leaves_its_wait) {
    static std::atomic<bool> started, left, passed;
    started = left = passed = false;
    const HANDLE thread = Start([]() -> DWORD {
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
    // The layer's thread leaves its wait a little later.
    if (any_host::ThisSystem() == any_host::System::Layer) {
        EXPECT_TRUE(ComesTrue([] { return left.load(); }));
    }
    any_host::ExpectDocumented("a terminated thread leaves nothing behind it", !left);
    EXPECT_FALSE(passed);
}

} // namespace
