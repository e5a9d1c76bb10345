// Dialogs: their loops and their ends, on their own thread and on others, and what is sent to the
// windows of a thread that serves nothing.
// label: threads

#include "platform/windows/drawing.h"
#include "platform/windows/window_model.h"
#include "tests/platform/window_support.h"

#include <atomic>
#include <functional>
#include <future>
#include <thread>

using namespace window_support;

namespace {

constexpr char Script[] = R"(#include <windows.h>
100 DIALOGEX 0, 0, 200, 100
STYLE WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME
FONT 8, "Arial"
BEGIN
  LTEXT "text", 1001, 10, 10, 100, 8
END
102 DIALOGEX 0, 0, 200, 35
STYLE WS_POPUP
FONT 8, "Arial"
BEGIN
  CONTROL "", 1, "no such class", 0, 0, 0, 10, 10
END
103 DIALOGEX 0, 0, 200, 35
STYLE WS_POPUP
FONT 8, "Arial"
BEGIN
  LTEXT "bare", 1001, 10, 10, 100, 8
END
)";

// What the dialog does, by message; the rest is left to the system.
std::function<INT_PTR(HWND, UINT)> behaviour;

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM, LPARAM) {
    return behaviour ? behaviour(dialog, message) : FALSE;
}

INT_PTR Show(int id, DLGPROC procedure = Procedure) {
    return DialogBoxParamA(nullptr, MAKEINTRESOURCEA(id), nullptr, procedure, 0);
}

class Dialogs : public testing::Test {
protected:
    Dialogs() : bytes_(CompileScript(Script)) {
        UseBytes(bytes_);
        behaviour = nullptr;
    }
    ~Dialogs() override { EXPECT_EQ(platform::DrawingObjectCount(), 0); }

    std::string bytes_;
    RecordingDisplay display_;
};

using Events = std::vector<std::string>;

} // namespace

TEST_F(Dialogs, a_quit_message_ends_every_modal_loop_and_stays_for_the_outermost) {
    INT_PTR inner = 99;
    behaviour = [&](HWND dialog, UINT message) -> INT_PTR {
        if (message == WM_INITDIALOG)
            PostMessageA(dialog, WM_APP, 0, 0);
        if (message == WM_APP)
            inner = Show(103, [](HWND page, UINT inside, WPARAM, LPARAM) -> INT_PTR {
                if (inside == WM_INITDIALOG)
                    PostMessageA(page, WM_APP, 0, 0);
                if (inside == WM_APP)
                    PostQuitMessage(5);
                return FALSE;
            });
        return FALSE;
    };
    EXPECT_EQ(Show(100), 0);
    EXPECT_EQ(inner, 0);
    MSG message;
    ASSERT_FALSE(GetMessageA(&message, nullptr, 0, 0));
    EXPECT_EQ(message.wParam, 5u);
    EXPECT_EQ(display_.Events(), (Events{"show 100", "show 103", "end 103", "end 100"}));
}

TEST_F(Dialogs, another_thread_ends_a_dialog_and_the_first_result_counts) {
    std::atomic<HWND> page;
    behaviour = [&](HWND dialog, UINT message) -> INT_PTR {
        if (message == WM_INITDIALOG)
            page = dialog;
        return FALSE;
    };
    std::thread worker([&] {
        display_.Await("show 100");
        EXPECT_TRUE(EndDialog(page, 1000));
        EndDialog(page, 2000); // too late, whether or not its window is still there
    });
    EXPECT_EQ(Show(100), 1000);
    worker.join();
    EXPECT_FALSE(IsWindow(page));
    EXPECT_FALSE(EndDialog(page, 1));
}

TEST_F(Dialogs, a_worker_shows_its_page_over_one_it_took_off_the_screen) {
    std::atomic<HWND> main;
    std::thread worker;
    behaviour = [&](HWND dialog, UINT message) -> INT_PTR {
        if (message != WM_INITDIALOG)
            return FALSE;
        main = dialog;
        worker = std::thread([&] {
            display_.Await("show 100");
            MoveWindow(main, 0, 0, 0, 0, FALSE);
            EXPECT_EQ(Show(103,
                           [](HWND page, UINT inside, WPARAM first, LPARAM) -> INT_PTR {
                               if (inside == WM_INITDIALOG)
                                   PostMessageA(page, WM_KEYDOWN, VK_RETURN, 0);
                               if (inside == WM_COMMAND)
                                   EndDialog(page, LOWORD(first));
                               return FALSE;
                           }),
                      IDOK)
                << "Enter with no default button";
            EndDialog(main, 2);
        });
        return FALSE;
    };
    EXPECT_EQ(Show(100), 2);
    worker.join();
    EXPECT_EQ(display_.Events(),
              (Events{"show 100", "hide 100", "show 103", "end 103", "end 100"}));
}

TEST_F(Dialogs, one_that_ends_or_goes_before_it_is_shown_never_comes_on_screen) {
    behaviour = [](HWND dialog, UINT message) -> INT_PTR {
        return message == WM_INITDIALOG ? EndDialog(dialog, 3) : FALSE;
    };
    EXPECT_EQ(Show(100), 3);
    behaviour = [](HWND dialog, UINT message) -> INT_PTR {
        return message == WM_INITDIALOG ? DestroyWindow(dialog) : FALSE;
    };
    EXPECT_EQ(Show(100), 0);
    EXPECT_EQ(Show(102), -1) << "a control of an unknown class";
    EXPECT_EQ(Show(104), -1) << "no such template";
    EXPECT_EQ(display_.Events(), Events{});
}

LRESULT CALLBACK QuitAtEnd(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_DESTROY)
        PostQuitMessage(0);
    return DefWindowProcA(window, message, first, second);
}

// Whether something is sent to the window's thread that it has not served.
bool IsSentTo(HWND window) {
    auto lock = platform::LockWindows();
    return !platform::FindWindowByHandle(window)->queue->sent.empty();
}

// On the way to a thread that serves nothing, until it goes on with `next` and the sender is done.
void SendToBusyThread(const std::function<LRESULT(HWND)>& send, LRESULT answer,
                      const std::function<void(HWND)>& next) {
    std::promise<HWND> opened;
    std::promise<void> go;
    std::atomic<bool> returned = false;
    std::thread owner([&] {
        HWND window = OpenPlainWindow("TESTED", "tested", nullptr, QuitAtEnd);
        opened.set_value(window);
        go.get_future().wait();
        next(window);
    });
    HWND window = opened.get_future().get();
    std::thread sender([&] {
        EXPECT_EQ(send(window), answer);
        returned = true;
        PostMessageA(window, WM_CLOSE, 0, 0);
    });
    EXPECT_TRUE(ComesTrue([&] { return returned || IsSentTo(window); }));
    EXPECT_FALSE(returned);
    EXPECT_FALSE(IsWindowVisible(window));
    go.set_value();
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
        {"EndDialog", [](HWND window) { return EndDialog(window, 1); }, FALSE}, // it is none
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
