// Dialogs: their loops, their ends, their controls.
// label: threads

#include "platform/windows/drawing.h"
#include "platform/windows/pages.h"
#include "tests/platform/window_support.h"

#include <commctrl.h>

#include <thread>

using namespace window_support;

namespace {

constexpr char Script[] = R"(#include <windows.h>
100 DIALOGEX 0, 0, 200, 100
STYLE WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME
FONT 8, "Arial"
BEGIN
  LTEXT "text", 1001, 10, 10, 100, 8
  AUTORADIOBUTTON "USB", 1150, 10, 20, 60, 10, WS_TABSTOP | WS_GROUP
  AUTORADIOBUTTON "Serial", 1151, 10, 30, 60, 10
  AUTOCHECKBOX "", 1134, 10, 40, 10, 10, WS_TABSTOP | WS_GROUP
  CONTROL "", 1020, "msctls_progress32", 0, 10, 50, 100, 10
  DEFPUSHBUTTON "Next", 7, 10, 80, 50, 14
  PUSHBUTTON "Cancel", 2, 70, 80, 50, 14
END
101 DIALOGEX 0, 0, 200, 35
STYLE WS_POPUP | WS_VISIBLE | DS_MODALFRAME
FONT 8, "Arial"
BEGIN
  LTEXT "wait", 1072, 10, 10, 100, 8
END
102 DIALOG 0, 0, 200, 35
STYLE WS_POPUP
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
std::function<INT_PTR(HWND, UINT, WPARAM, LPARAM)> behaviour;
std::vector<int> commands;

INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_COMMAND)
        commands.push_back(LOWORD(first));
    return behaviour ? behaviour(dialog, message, first, second) : FALSE;
}

INT_PTR Show(int id, DLGPROC procedure = Procedure, HWND owner = nullptr) {
    return DialogBoxParamA(nullptr, MAKEINTRESOURCEA(id), owner, procedure, 0);
}

class Dialogs : public testing::Test {
protected:
    Dialogs() : bytes_(CompileScript(home_.Path(), Script)) {
        UseBytes(bytes_);
        behaviour = nullptr;
        commands.clear();
    }
    ~Dialogs() override { EXPECT_EQ(platform::DrawingObjectCount(), 0); }

    TemporaryHome home_;
    std::vector<char> bytes_;
    RecordingDisplay display_;
};

using Events = std::vector<std::string>;

} // namespace

TEST_F(Dialogs, a_quit_message_ends_every_modal_loop_and_stays_for_the_outermost) {
    INT_PTR inner = 99;
    behaviour = [&](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
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
    ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, UINT{WM_QUIT});
    EXPECT_EQ(message.wParam, 5u);
    EXPECT_EQ(display_.Pages(), (Events{"show 100", "show 103", "end 103", "end 100"}));
}

TEST_F(Dialogs, another_thread_ends_a_dialog_also_one_with_a_loop_inside) {
    std::atomic<HWND> page;
    behaviour = [&](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
        if (message == WM_INITDIALOG)
            page = dialog;
        return FALSE;
    };
    std::thread worker([&] {
        display_.Await("show 100");
        EXPECT_TRUE(EndDialog(page, 1000));
        EndDialog(page, 2000); // where the page is still there: the first result counts
    });
    EXPECT_EQ(Show(100), 1000);
    worker.join();
    EXPECT_FALSE(IsWindow(page));
    EXPECT_FALSE(EndDialog(page, 1));
}

TEST_F(Dialogs, a_worker_shows_its_page_over_one_it_took_off_the_screen) {
    std::atomic<HWND> main;
    std::thread worker;
    behaviour = [&](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
        if (message == WM_INITDIALOG) {
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
        }
        return FALSE;
    };
    EXPECT_EQ(Show(100), 2);
    worker.join();
    EXPECT_EQ(display_.Pages(), (Events{"show 100", "hide 100", "show 103", "end 103", "end 100"}));
}

TEST_F(Dialogs, closing_the_threads_main_window_ends_the_page_that_is_up) {
    std::atomic<HWND> main =
        OpenPlainWindow("MAIN", "MAIN", nullptr, [](HWND window, UINT message, WPARAM a, LPARAM b) {
            if (message == WM_DESTROY)
                PostQuitMessage(0);
            return DefWindowProcA(window, message, a, b);
        });
    std::thread worker([&] {
        display_.Await("show 100");
        SendMessageA(main, WM_CLOSE, 0, 0);
    });
    EXPECT_EQ(Show(100), 0);
    worker.join();
    EXPECT_FALSE(IsWindow(main));
    MSG message;
    EXPECT_EQ(GetMessageA(&message, nullptr, 0, 0), FALSE);
}

TEST_F(Dialogs, a_dialog_that_ends_or_goes_before_it_is_shown_never_comes_on_screen) {
    behaviour = [](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
        return message == WM_INITDIALOG ? EndDialog(dialog, 3) : FALSE;
    };
    EXPECT_EQ(Show(100), 3);
    behaviour = [](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
        return message == WM_INITDIALOG ? DestroyWindow(dialog) : FALSE;
    };
    EXPECT_EQ(Show(100), 0);
    EXPECT_EQ(Show(102), -1) << "a control of an unknown class";
    EXPECT_EQ(Show(104), -1) << "no such template";
    EXPECT_EQ(display_.Pages(), Events{});
}

TEST_F(Dialogs, a_modeless_dialog_leaves_the_screen_when_ended_and_goes_with_its_owner) {
    HWND owner = OpenPlainWindow("OWNER", "owner");
    HWND page = CreateDialogParamA(nullptr, MAKEINTRESOURCEA(101), owner, Procedure, 0);
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(IsWindowVisible(page));
    EXPECT_TRUE(EndDialog(page, 2));
    EXPECT_TRUE(IsWindow(page));
    EXPECT_FALSE(IsWindowVisible(page));
    DestroyWindow(owner);
    EXPECT_FALSE(IsWindow(page));
    EXPECT_EQ(display_.Pages(), (Events{"show 101", "end 101"}));
}

TEST_F(Dialogs, keys_and_clicks_become_commands_and_disabled_buttons_give_none) {
    behaviour = [](HWND dialog, UINT message, WPARAM first, LPARAM) -> INT_PTR {
        if (message == WM_INITDIALOG) {
            PostMessageA(dialog, WM_KEYDOWN, VK_RETURN, 0);
            PostMessageA(dialog, WM_KEYDOWN, VK_ESCAPE, 0);
            PostMessageA(dialog, WM_CLOSE, 0, 0);
            PostMessageA(GetDlgItem(dialog, 7), BM_CLICK, 0, 0);
            PostMessageA(dialog, WM_APP, 0, 0);
        }
        if (message == WM_APP && first == 0) {
            EnableWindow(GetDlgItem(dialog, 7), FALSE);
            EnableWindow(GetDlgItem(dialog, 2), FALSE);
            PostMessageA(GetDlgItem(dialog, 7), BM_CLICK, 0, 0);
            PostMessageA(dialog, WM_KEYDOWN, VK_RETURN, 0);
            PostMessageA(dialog, WM_KEYDOWN, VK_ESCAPE, 0);
            PostMessageA(dialog, WM_CLOSE, 0, 0);
            PostMessageA(dialog, WM_APP, 1, 0);
        }
        if (message == WM_APP && first == 1)
            EndDialog(dialog, 1);
        return FALSE;
    };
    EXPECT_EQ(Show(100), 1);
    EXPECT_EQ(commands, (std::vector<int>{7, IDCANCEL, 7, IDCANCEL}));
}

TEST_F(Dialogs, buttons_change_their_own_state_when_they_are_clicked) {
    behaviour = [](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
        if (message != WM_INITDIALOG)
            return FALSE;
        auto click = [&](int id) { SendDlgItemMessageA(dialog, id, BM_CLICK, 0, 0); };
        click(1150);
        EXPECT_EQ(IsDlgButtonChecked(dialog, 1150), UINT{BST_CHECKED});
        click(1134);
        click(1151);
        EXPECT_EQ(IsDlgButtonChecked(dialog, 1150), UINT{BST_UNCHECKED});
        EXPECT_EQ(IsDlgButtonChecked(dialog, 1151), UINT{BST_CHECKED});
        EXPECT_EQ(IsDlgButtonChecked(dialog, 1134), UINT{BST_CHECKED}) << "of another group";
        click(1134);
        EXPECT_EQ(IsDlgButtonChecked(dialog, 1134), UINT{BST_UNCHECKED});
        CheckDlgButton(dialog, 1134, BST_CHECKED);
        EXPECT_EQ(IsDlgButtonChecked(dialog, 1134), UINT{BST_CHECKED});
        return EndDialog(dialog, 1);
    };
    EXPECT_EQ(Show(100), 1);
    EXPECT_EQ(commands, (std::vector<int>{1150, 1134, 1151, 1134}));
}

TEST_F(Dialogs, a_progress_bar_keeps_its_position_within_32_bits) {
    behaviour = [](HWND dialog, UINT message, WPARAM, LPARAM) -> INT_PTR {
        if (message != WM_INITDIALOG)
            return FALSE;
        auto bar = [&](UINT what, WPARAM first, LPARAM second) {
            return SendDlgItemMessageA(dialog, 1020, what, first, second);
        };
        bar(PBM_SETRANGE32, 0, 0x2000000);
        EXPECT_EQ(bar(PBM_SETPOS, 0x1F40000, 0), 0);
        EXPECT_EQ(bar(PBM_SETPOS, 0x7F000000, 0), 0x1F40000);
        EXPECT_EQ(bar(PBM_GETPOS, 0, 0), 0x2000000) << "not above the range";
        SetDlgItemInt(dialog, 1001, 4000000000u, FALSE);
        char text[20];
        EXPECT_EQ(GetDlgItemTextA(dialog, 1001, text, sizeof(text)), 10u);
        EXPECT_STREQ(text, "4000000000");
        return EndDialog(dialog, 1);
    };
    EXPECT_EQ(Show(100), 1);
}
