// Threads' message queues and timers. Also on Windows.
// label: threads

#include "tests/platform/any_host.h"

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace {

constexpr UINT WhichThread = WM_APP + 1;
constexpr UINT AskBack = WM_APP + 2; // first: the window to ask for its thread

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WhichThread:
        return static_cast<LRESULT>(GetCurrentThreadId());
    case AskBack:
        return SendMessageA(reinterpret_cast<HWND>(first), WhichThread, 0, 0);
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcA(window, message, first, second);
    }
}

HWND Open() { return any_host::OpenPlainWindow("TESTED", "tested", nullptr, Procedure); }

int RunLoop() {
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0)
        DispatchMessageA(&message);
    return static_cast<int>(message.wParam);
}

// A thread with a window and a message loop.
struct WindowThread {
    std::promise<HWND> opened;
    DWORD id = 0;
    std::thread thread{[this] {
        id = GetCurrentThreadId();
        opened.set_value(Open());
        RunLoop();
    }};
    HWND window = opened.get_future().get();
    ~WindowThread() {
        SendMessageA(window, WM_CLOSE, 0, 0);
        thread.join();
    }
};

class Messages : public testing::Test {
protected:
    ~Messages() override {
        MSG left;
        while (PeekMessageA(&left, nullptr, 0, 0, PM_REMOVE)) {
        }
    }

private:
    const any_host::NoDisplay display_;
};

} // namespace

TEST_F(Messages, a_sent_message_is_served_on_the_thread_that_opened_the_window) {
    WindowThread other;
    EXPECT_EQ(SendMessageA(other.window, WhichThread, 0, 0), static_cast<LRESULT>(other.id));
    EXPECT_NE(other.id, GetCurrentThreadId());
    HWND mine = Open();
    EXPECT_EQ(SendMessageA(mine, WhichThread, 0, 0), static_cast<LRESULT>(GetCurrentThreadId()));
    EXPECT_EQ(SendMessageA(other.window, AskBack, reinterpret_cast<WPARAM>(mine), 0),
              static_cast<LRESULT>(GetCurrentThreadId()))
        << "the caller serves what is sent to it while it waits";
    SetWindowTextA(other.window, "changed from here");
    char text[8];
    EXPECT_EQ(GetWindowTextA(other.window, text, sizeof(text)), 7);
    EXPECT_STREQ(text, "changed");
    EXPECT_FALSE(DestroyWindow(other.window));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    DestroyWindow(mine);
}

TEST_F(Messages, posted_messages_come_in_order_and_the_quit_message_after_them) {
    HWND window = Open();
    PostQuitMessage(7);
    for (UINT i = 0; i < 3; ++i)
        PostMessageA(window, WM_APP + 10 + i, i, 0);
    MSG message;
    for (UINT i = 0; i < 3; ++i) {
        ASSERT_EQ(GetMessageA(&message, nullptr, 0, 0), TRUE);
        EXPECT_EQ(message.message, WM_APP + 10 + i);
    }
    EXPECT_EQ(GetMessageA(&message, nullptr, 0, 0), FALSE);
    EXPECT_EQ(message.wParam, 7u);
    EXPECT_FALSE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) << "quit comes once";
    PostMessageA(window, WM_NULL, 0, 0);
    any_host::ExpectDocumented("a message filtered by its window",
                               GetMessageA(&message, window, 0, 0) == TRUE);
    DestroyWindow(window);
}

// Timers come in the order of their instants, however long a pause of the host makes all of them
// due at once.
TEST_F(Messages, a_restarted_timer_starts_anew_and_a_killed_one_never_comes) {
    HWND window = Open();
    constexpr UINT_PTR Restarted = 1, Killed = 2, Other = 3;
    constexpr UINT Period = 20;
    SetTimer(window, Restarted, Period, nullptr);
    SetTimer(window, Killed, 10, nullptr);
    SetTimer(window, Other, Period, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(15)); // the one to be killed is due
    EXPECT_TRUE(KillTimer(window, Killed));
    EXPECT_FALSE(KillTimer(window, Killed));
    SetTimer(window, Restarted, Period, nullptr);
    std::vector<UINT_PTR> came;
    for (MSG message; came.size() < 4;) {
        ASSERT_EQ(GetMessageA(&message, nullptr, 0, 0), TRUE);
        if (message.message == WM_TIMER)
            came.push_back(message.wParam);
    }
    EXPECT_EQ(came, (std::vector<UINT_PTR>{Other, Restarted, Other, Restarted}));
    DestroyWindow(window);
}
