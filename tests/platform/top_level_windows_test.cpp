// Top-level windows of all processes: found, walked through, and gone with their process.

#include "testing/child_process.h"
#include "tests/platform/any_host.h"

#include <csignal>
#include <cstdio>

#include <unistd.h>

using any_host::OpenPlainWindow;
using test_support::ChildProcess;
using test_support::HomeOfTests;

namespace {

// A body of a second process: makes its windows, prints a line and waits to be killed.
int Serve(const std::function<void()>& openWindows) {
    openWindows();
    std::puts("open");
    std::fflush(stdout);
    for (;;)
        pause();
}

std::filesystem::path Folder() { return HomeOfTests().Home() / "windows"; }

std::size_t RecordCount() {
    std::size_t count = 0;
    for (auto& entry : std::filesystem::directory_iterator(Folder()))
        count += entry.path().filename() != ".last";
    return count;
}

HWND Find(const char* title) { return FindWindowA(nullptr, title); }

class TopLevelWindows : public testing::Test {
    void SetUp() override { HomeOfTests(); }
};

} // namespace

TEST_F(TopLevelWindows, are_walked_from_the_newest_to_the_oldest_through_all_processes) {
    ChildProcess other([] {
        return Serve([] {
            HWND owner = OpenPlainWindow("CONNECTION", "DccMan");
            OpenPlainWindow("CONNECTION", "popup", owner, DefWindowProcA, WS_POPUP);
            OpenPlainWindow("CONNECTION", "overlapped", owner);
        });
    });
    other.ExpectLine("open");
    HWND mine = OpenPlainWindow("SETUP", "SETUP");
    ChildProcess newer([] { return Serve([] { OpenPlainWindow("CONNECTION", "newer"); }); });
    newer.ExpectLine("open");

    HWND overlapped = GetWindow(mine, GW_HWNDNEXT), popup = GetWindow(overlapped, GW_HWNDNEXT);
    HWND owner = GetWindow(popup, GW_HWNDNEXT);
    EXPECT_EQ(overlapped, Find("overlapped"));
    EXPECT_EQ(popup, Find("popup"));
    EXPECT_EQ(owner, Find("dccman")) << "in any case";
    EXPECT_EQ(GetWindow(owner, GW_HWNDNEXT), nullptr);
    EXPECT_EQ(GetParent(popup), owner);
    EXPECT_EQ(GetParent(overlapped), nullptr) << "only a popup has its owner for a parent";
    DWORD process = 0;
    EXPECT_NE(GetWindowThreadProcessId(owner, &process), 0u);
    EXPECT_EQ(process, static_cast<DWORD>(other.Id()));
    char title[4];
    EXPECT_EQ(GetWindowTextA(owner, title, sizeof(title)), 3);
    EXPECT_STREQ(title, "Dcc");
    EXPECT_EQ(FindWindowA("connection", nullptr), Find("newer")) << "newest first";
    EXPECT_EQ(FindWindowA("SETUP", "DccMan"), nullptr);
    EXPECT_EQ(SendMessageA(owner, WM_CLOSE, 0, 0), 0) << "messages do not reach other processes";
    EXPECT_TRUE(IsWindow(owner));
    SetWindowTextA(mine, "\xC9t\xE9");
    EXPECT_EQ(Find("\xC9t\xE9"), mine);
    DestroyWindow(mine);
}

TEST_F(TopLevelWindows, of_a_process_that_was_killed_are_windows_no_more) {
    ChildProcess other([] { return Serve([] { OpenPlainWindow("CONNECTION", "DccMan"); }); });
    other.ExpectLine("open");
    HWND window = Find("DccMan");
    ASSERT_NE(window, nullptr);
    other.Signal(SIGKILL);
    other.Wait();
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(Find("DccMan"), nullptr);
    EXPECT_EQ(RecordCount(), 0u) << "the record left behind is removed";
    HWND mine = OpenPlainWindow("SETUP", "SETUP");
    EXPECT_NE(mine, window) << "the number is not used again at once";
    DestroyWindow(mine);
    EXPECT_EQ(RecordCount(), 0u);
}
