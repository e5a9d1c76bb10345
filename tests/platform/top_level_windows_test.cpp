// Top-level windows of all processes: found, walked through, and gone with their process.

#include "tests/platform/page_program.h"
#include "tests/platform/window_support.h"

#include "platform/windows/window_records.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

using namespace window_support;

namespace {

std::vector<std::string> TitlesBelow(HWND window) {
    std::vector<std::string> titles;
    for (HWND next = GetWindow(window, GW_HWNDNEXT); next; next = GetWindow(next, GW_HWNDNEXT)) {
        char title[100] = {};
        GetWindowTextA(next, title, sizeof(title));
        titles.push_back(title);
    }
    return titles;
}

std::size_t RecordCount() {
    std::size_t count = 0;
    for (auto& entry : std::filesystem::directory_iterator(ownHome.Home() / "windows"))
        count += entry.path().filename() != ".last";
    return count;
}

// Another program, with the windows that it opens, until it is killed.
struct OtherProcess : PageProgram {
    explicit OtherProcess(void (*open)())
        : PageProgram([open]() -> int {
              open();
              std::puts("open");
              std::fflush(stdout);
              for (;;)
                  pause();
          }) {
        Until("open\n");
    }
};

using Titles = std::vector<std::string>;

} // namespace

TEST(TopLevelWindows, are_walked_from_the_newest_to_the_oldest_through_all_processes) {
    OtherProcess other([] {
        HWND owner = OpenPlainWindow("CONNECTION", "DccMan");
        OpenPlainWindow("CONNECTION", "WCES Manager Thunk Window", owner, DefWindowProcA, WS_POPUP);
        OpenPlainWindow("CONNECTION", "overlapped", owner);
    });
    HWND mine = OpenPlainWindow("SETUP", "SETUP");
    OtherProcess newer([] { OpenPlainWindow("CONNECTION", "newer"); });

    EXPECT_EQ(TitlesBelow(mine), (Titles{"overlapped", "WCES Manager Thunk Window", "DccMan"}));
    HWND overlapped = GetWindow(mine, GW_HWNDNEXT), popup = GetWindow(overlapped, GW_HWNDNEXT);
    HWND owner = GetWindow(popup, GW_HWNDNEXT);
    EXPECT_EQ(GetParent(popup), owner);
    EXPECT_EQ(GetParent(overlapped), nullptr);
    EXPECT_EQ(GetParent(owner), nullptr);
    DWORD process = 0;
    EXPECT_NE(GetWindowThreadProcessId(owner, &process), 0u);
    EXPECT_EQ(process, static_cast<DWORD>(other.Id()));
    EXPECT_EQ(GetWindow(owner, GW_HWNDNEXT), nullptr);
    char title[4];
    EXPECT_EQ(GetWindowTextA(owner, title, sizeof(title)), 3);
    EXPECT_STREQ(title, "Dcc");

    EXPECT_EQ(FindWindowA("connection", nullptr), FindWindowA(nullptr, "newer")) << "newest first";
    EXPECT_EQ(FindWindowA(nullptr, "dccman"), owner);
    EXPECT_EQ(FindWindowA("SETUP", "DccMan"), nullptr);
    EXPECT_EQ(SendMessageA(owner, WM_CLOSE, 0, 0), 0) << "messages do not reach other processes";
    EXPECT_TRUE(IsWindow(owner));
    SetWindowTextA(mine, "\xC9t\xE9");
    EXPECT_EQ(FindWindowA(nullptr, "\xC9t\xE9"), mine);
    DestroyWindow(mine);
}

TEST(TopLevelWindows, of_a_process_that_was_killed_are_windows_no_more) {
    OtherProcess other([] { OpenPlainWindow("CONNECTION", "DccMan"); });
    HWND window = FindWindowA(nullptr, "DccMan");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(RecordCount(), 1u);
    other.Kill();
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(FindWindowA(nullptr, "DccMan"), nullptr);
    EXPECT_EQ(RecordCount(), 0u) << "the record left behind is removed";
    HWND mine = OpenPlainWindow("SETUP", "SETUP");
    EXPECT_NE(mine, window) << "the number is not used again at once";
    EXPECT_EQ(RecordCount(), 1u);
    DestroyWindow(mine);
    EXPECT_EQ(RecordCount(), 0u);
}

TEST(TopLevelWindows, go_on_where_somebody_removes_the_folder_or_keeps_its_lock) {
    auto folder = ownHome.Home() / "windows";
    HWND first = OpenPlainWindow("SETUP", "first");
    std::filesystem::remove_all(folder);
    HWND second = OpenPlainWindow("SETUP", "second");
    EXPECT_GT(second, first) << "the number is in use in this process";
    auto strange = folder / std::to_string(platform::NumberOfWindow(first));
    std::ofstream(strange) << "of another program";
    DestroyWindow(first);
    EXPECT_TRUE(std::filesystem::exists(strange));
    ASSERT_EQ(mkfifo((folder / "90000").c_str(), 0600), 0);
    EXPECT_EQ(FindWindowA(nullptr, "second"), second);

    platform::Descriptor lock(open((folder / ".last").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(flock(lock.Number(), LOCK_EX), 0);
    HWND third = OpenPlainWindow("SETUP", "third"); // after ten seconds
    EXPECT_EQ(FindWindowA(nullptr, "second"), nullptr);
    EXPECT_TRUE(SetWindowTextA(second, "renamed"));
    EXPECT_TRUE(IsWindow(second) && IsWindow(third));
    lock = {};
    EXPECT_EQ(FindWindowA("SETUP", "second"), second);
    EXPECT_TRUE(DestroyWindow(second) && DestroyWindow(third));
    EXPECT_EQ(RecordCount(), 0u);
}
