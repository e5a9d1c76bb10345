// What the frame does for all pages: ends them with the run, centres them on the screen, opens
// pages that do not block, moves the progress bar.
// label: threads

#include "frame/run_end.h"

#include "frame/error_pages.h"
#include "frame/progress_bar.h"
#include "frame/waiting_pages.h"
#include "testing/page_test.h"

#include <atomic>

namespace {

using namespace page_test;

class Frame : public PageTest {};

TEST_F(Frame, no_page_comes_up_once_the_run_has_ended) {
    State.Run.RunEnded = true;
    EXPECT_EQ(PageNotShown, ShowPage(PortErrorPage));
    EXPECT_EQ(nullptr, OpenWaitingPage(BusyPage, nullptr));
    EXPECT_TRUE(user_.events.empty());
}

TEST_F(Frame, the_end_of_the_run_ends_a_page_that_is_up_without_a_result) {
    OpenMainWindow();
    user_.steps.push_back({143, "1140", [](const PageView&) { return false; }});
    struct Closer {
        static DWORD WINAPI Run(LPVOID) {
            CloseMainWindow();
            return 0;
        }
    };
    const HANDLE thread = CreateThread(nullptr, 0, Closer::Run, nullptr, 0, nullptr);
    EXPECT_EQ(PageNotShown, ShowPage(PortErrorPage));
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    user_.steps.clear();
    CloseMainWindow(); // a second end, after another failure, does nothing
}

TEST_F(Frame, nothing_but_the_wizard_itself_ends_a_run_while_a_transfer_runs) {
    OpenMainWindow();
    const HWND window = State.Windows.MainWindow;
    EXPECT_TRUE(SendMessageA(window, WM_QUERYENDSESSION, 0, 0));
    for (std::atomic<HWND>* page : {&State.Windows.ProgressPage, &State.Windows.BackupPage}) {
        *page = window;
        SendMessageA(window, WM_CLOSE, 0, 0);
        EXPECT_TRUE(IsWindow(window));
        EXPECT_FALSE(SendMessageA(window, WM_QUERYENDSESSION, 0, 0));
        *page = nullptr;
    }
    State.Windows.ProgressPage = window; // its worker has met a failure
    CloseMainWindow();
    EXPECT_FALSE(IsWindow(window));
    State.Windows.ProgressPage = nullptr;
}

TEST_F(Frame, a_run_shows_its_banner_and_leaves_nothing_of_it_behind) {
    const int objects = platform::DrawingObjectCount();
    user_.steps.push_back({165, "1175"});
    RegisterMainClass(State.Windows.AppInstance);
    EXPECT_TRUE(CreateMainWindow(State.Windows.AppInstance, SW_SHOW));
    EXPECT_EQ(1u, Last(165).pictures.size());
    EXPECT_FALSE(IsWindow(State.Windows.MainWindow));
    EXPECT_EQ(objects, platform::DrawingObjectCount());
}

TEST_F(Frame, a_page_opens_in_the_middle_of_the_screen_at_its_own_size) {
    user_.steps.push_back({143, "2"});
    EXPECT_EQ(1, ShowPage(PortErrorPage));
    const RECT rect = First(143).rect;
    const LONG width = rect.right - rect.left, height = rect.bottom - rect.top;
    EXPECT_EQ((GetSystemMetrics(SM_CXSCREEN) - width) / 2, rect.left);
    EXPECT_EQ((GetSystemMetrics(SM_CYSCREEN) - height) / 2, rect.top);
    EXPECT_EQ(426 * 6 / 4, First(143).clientSize.cx);
}

TEST_F(Frame, a_waiting_page_shows_its_text_until_its_opener_ends_it) {
    OpenMainWindow();
    HWND busy = OpenWaitingPage(BusyPage, State.Windows.MainWindow);
    ASSERT_TRUE(busy);
    EXPECT_EQ(Utf8(CatalogText(11057)), TextOf(First(122), 1072));
    EXPECT_EQ("", First(122).title);
    EXPECT_EQ(std::vector<std::string>{"show 122"}, user_.events);
    const HWND gone = busy;
    EndWaitingPage(busy);
    EXPECT_FALSE(IsWindow(gone));
    HWND prepare = OpenWaitingPage(PreparePage, State.Windows.MainWindow);
    EXPECT_EQ(Utf8(CatalogText(11106)), TextOf(First(153), 1127));
    CollapsePage(prepare, true);
    EndDialog(prepare, 2); // by a port that does not open; its opener is not done
    EXPECT_TRUE(IsWindow(prepare));
    CollapsePage(nullptr, true);
    EXPECT_EQ((std::vector<std::string>{"show 122", "end 122", "show 153", "hide 153", "end 153"}),
              user_.events);
    CloseMainWindow();
    EXPECT_FALSE(IsWindow(prepare)) << "the page goes with its owner";
    EndWaitingPage(prepare);
    EXPECT_EQ(nullptr, prepare);
}

// Of a bar on the template of the two transfer pages.
std::string PercentageAfter(DWORD range, DWORD piece, int pieces) {
    static constexpr Page BarPage = {
        .dialog = IDD_PROGRESS, .texts = {}, .results = {}, .hasTitle = false};
    HWND page = OpenWaitingPage(BarPage, nullptr);
    State.Windows.ProgressPage = page;
    State.Windows.ProgressBar = GetDlgItem(page, IDC_PROGRESS);
    ResetProgress(range);
    while (pieces-- > 0)
        AdvanceProgress(piece, range);
    char text[20];
    GetDlgItemTextA(page, IDC_PERCENT, text, sizeof(text));
    State.Windows.ProgressPage = State.Windows.ProgressBar = nullptr;
    EndWaitingPage(page);
    return text;
}

TEST_F(Frame, percentages_are_rounded_down_and_never_pass_the_range_of_the_bar) {
    EXPECT_EQ("0", PercentageAfter(0xF80000, 0x20000, 0));
    EXPECT_EQ("0", PercentageAfter(0xF80000, 0x20000, 1));
    EXPECT_EQ("98", PercentageAfter(0xF80000, 0x20000, 122)); // the smallest backup, before 100
    EXPECT_EQ("100", PercentageAfter(0x40000, 0x20000, 5));
    EXPECT_EQ("98", PercentageAfter(0xF800000, 0x200000, 122)); // beyond 32 bits times 100
    EXPECT_EQ("0", PercentageAfter(0, 0x20000, 2));             // no image in the folder
}

TEST_F(Frame, a_bar_whose_page_has_gone_is_moved_without_harm) {
    ResetProgress(0x40000);
    AdvanceProgress(0x20000, 0x40000);
    ShowPercentage(100);
}

} // namespace
