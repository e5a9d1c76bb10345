// Dialogs: their loops and their ends, on their own thread and on others, and what is sent to the
// windows of a thread that serves nothing. Also on Windows.
// label: threads

#include "testing/comes_true.h"
#include "tests/platform/dialog_support.h"

#include <atomic>
#include <future>
#include <thread>

namespace {

using namespace dialog_support;
using test_support::ComesTrue;

class Dialogs : public testing::Test {
    const any_host::NoDisplay display_;
};

} // namespace

TEST_F(Dialogs, a_quit_message_ends_every_modal_loop_and_stays_for_the_outermost) {
    INT_PTR inner = 99;
    const Behaviour quits = Once([](HWND) { PostQuitMessage(5); });
    Show(100, Once([&](HWND) { inner = Show(103, quits); })); // no result of it is promised
    EXPECT_NE(inner, 99);
    MSG message;
    ASSERT_FALSE(GetMessageA(&message, nullptr, 0, 0));
    EXPECT_EQ(message.wParam, 5u);
}

TEST_F(Dialogs, one_holds_its_owner_until_it_is_cancelled) {
    HWND owner = any_host::OpenPlainWindow("OWNER", "owner"), page = nullptr;
    int cancelled = 0;
    const Behaviour close = [&](HWND dialog, UINT message, WPARAM first) -> INT_PTR {
        if (message == WM_APP) {
            page = dialog;
            EXPECT_TRUE(EnableWindow(owner, FALSE)) << "it was disabled";
            SendMessageA(dialog, WM_CLOSE, 0, 0);
            EXPECT_EQ(cancelled, 0) << "the command is posted";
        }
        if (message == WM_COMMAND && ++cancelled)
            EndDialog(dialog, LOWORD(first) + 40);
        return Once([](HWND) {})(dialog, message, first);
    };
    EXPECT_EQ(Show(100, close, owner), IDCANCEL + 40);
    EXPECT_EQ(cancelled, 1);
    EXPECT_FALSE(IsWindow(page));
    EXPECT_FALSE(EnableWindow(owner, TRUE)) << "it is not any more";
    DestroyWindow(owner);
    EXPECT_EQ(Show(100, close, owner), 0) << "an owner that has gone";
}

TEST_F(Dialogs, another_thread_ends_one) {
    std::atomic<HWND> page;
    std::thread worker([&] {
        EXPECT_TRUE(ComesTrue([&] { return page && IsWindowVisible(page); }));
        EXPECT_TRUE(EndDialog(page, 1000));
    });
    EXPECT_EQ(Show(100, Once([&](HWND dialog) { page = dialog; })), 1000);
    worker.join();
    EXPECT_FALSE(IsWindow(page));
    EXPECT_FALSE(EndDialog(page, 1));
}

TEST_F(Dialogs, a_worker_shows_its_page_over_one_it_took_off_the_screen) {
    std::thread worker;
    const Behaviour enter = [](HWND page, UINT message, WPARAM first) -> INT_PTR {
        if (message == WM_INITDIALOG)
            PostMessageA(page, WM_KEYDOWN, VK_RETURN, 0);
        if (message == WM_COMMAND)
            EndDialog(page, LOWORD(first));
        return FALSE;
    };
    EXPECT_EQ(Show(100, Once([&](HWND main) {
                       worker = std::thread([&, main] {
                           EXPECT_TRUE(MoveWindow(main, 0, 0, 0, 0, FALSE));
                           EXPECT_EQ(Show(103, enter), IDOK) << "Enter with no default button";
                           EndDialog(main, 2);
                       });
                   })),
              2);
    worker.join();
}

TEST_F(Dialogs, one_that_ends_or_goes_before_it_is_shown_never_comes_on_screen) {
    bool wasVisible = false;
    const auto show = [&](const std::function<void(HWND)>& begin, int id = 100) {
        return Show(id, [&](HWND dialog, UINT message, WPARAM) -> INT_PTR {
            if (message == WM_INITDIALOG)
                begin(dialog);
            wasVisible |= IsWindowVisible(dialog) != FALSE;
            return FALSE;
        });
    };
    EXPECT_EQ(show([](HWND dialog) { EndDialog(dialog, 3); }), 3);
    show([](HWND dialog) { DestroyWindow(dialog); }); // no result of it is promised
    EXPECT_EQ(show([](HWND) {}, 102), -1) << "a control of an unknown class";
    EXPECT_EQ(show([](HWND) {}, 104), -1);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_NAME_NOT_FOUND});
    EXPECT_FALSE(wasVisible);
}

LRESULT CALLBACK QuitAtEnd(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcA(window, message, first, second);
}

// On the way to a thread that serves nothing, until it goes on with `next` and the sender is done.
void SendToBusyThread(const std::function<LRESULT(HWND)>& send, LRESULT answer,
                      const std::function<void(HWND)>& next) {
    std::promise<HWND> opened;
    std::atomic<bool> returned = false;
    std::thread owner([&] {
        HWND window = any_host::OpenPlainWindow("BUSY", "busy", nullptr, QuitAtEnd);
        opened.set_value(window);
        EXPECT_TRUE(ComesTrue([&] { return returned || any_host::HasSent(window); }));
        EXPECT_FALSE(returned);
        EXPECT_FALSE(IsWindowVisible(window));
        next(window);
    });
    HWND window = opened.get_future().get();
    std::thread sender([&] {
        EXPECT_EQ(send(window), answer);
        returned = true;
        PostMessageA(window, WM_CLOSE, 0, 0);
    });
    sender.join();
    owner.join();
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(send(window), 0);
    EXPECT_FALSE(PostMessageA(window, WM_NULL, 0, 0));
}

TEST_F(Dialogs, what_is_sent_waits_for_the_windows_thread_or_its_end_or_that_of_the_window) {
    const struct {
        const char* name;
        std::function<LRESULT(HWND)> send;
        LRESULT answer;
    } calls[] = {
        {"a message", [](HWND window) { return SendMessageA(window, WM_SETTEXT, 0, 0); }, TRUE},
        {"ShowWindow", [](HWND window) { return ShowWindow(window, SW_SHOW); }, FALSE},
        {"MoveWindow", [](HWND window) { return MoveWindow(window, 1, 1, 9, 9, FALSE); }, TRUE},
        {"EnableWindow", [](HWND window) { return EnableWindow(window, FALSE); }, FALSE},
    };
    for (const auto& [name, send, answer] : calls) {
        SCOPED_TRACE(name);
        SendToBusyThread(send, answer, [](HWND) {
            for (MSG message; GetMessageA(&message, nullptr, 0, 0) > 0;)
                DispatchMessageA(&message);
        });
        SendToBusyThread(send, 0, [](HWND) {});
        SendToBusyThread(send, 0, [](HWND window) { DestroyWindow(window); });
    }
}
