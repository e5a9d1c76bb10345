// Every page as Windows shows it: words, fonts and colours, nothing cut, nothing over anything
// else, pictures at their pixels, and every way to its results by mouse and by keyboard. With a
// folder in PAGE_PICTURES a picture of each page is left there.

#include "testing/page_facts.h"
#include "tests/windows/inside/page_controls.h"
#include "tests/windows/inside/page_font.h"
#include "tests/windows/inside/page_image.h"
#include "tests/windows/inside/page_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <thread>

namespace {

using namespace page_test;

class WindowsPage : public testing::TestWithParam<PageFacts> {
protected:
    void SetUp() override {
        LoadMessageCatalog();
        FillState();
        banner_.emplace();
    }
    void TearDown() override {
        if (thread_.joinable())
            Result();
        banner_.reset();
    }

    // Shows the page on a thread of its own, as the wizard does, until it serves its user.
    void Open() {
        over_ = false;
        threadId_ = 0;
        thread_ = std::thread([this] {
            threadId_ = GetCurrentThreadId();
            const HHOOK hook =
                SetWindowsHookExA(WH_GETMESSAGE, WatchKeys, nullptr, GetCurrentThreadId());
            result_ = GetParam().show();
            UnhookWindowsHookEx(hook);
            over_ = true;
        });
        window_ = nullptr;
        const bool isInFront = WaitUntil([this] {
            EnumThreadWindows(threadId_, FindDialog, reinterpret_cast<LPARAM>(&window_));
            return over_ || (window_ && GetForegroundWindow() == window_);
        });
        if (over_ || !isInFront)
            throw std::runtime_error(window_ ? "the page is not in front" : "no page comes up");
        SendMessageA(window_, WM_NULL, 0, 0);
    }
    // The result; a page that does not end is ended.
    INT_PTR Result() {
        if (!WaitUntil([this] { return over_.load(); })) {
            ADD_FAILURE() << "the page does not end";
            EndDialog(window_, PageNotShown);
        }
        thread_.join();
        return result_;
    }
    // With no result expected the page is still there, and is then ended.
    void ExpectResult(std::optional<INT_PTR> expected) {
        if (!expected) {
            EXPECT_TRUE(!over_ && IsWindowVisible(window_));
            EndDialog(window_, PageNotShown);
        }
        EXPECT_EQ(expected.value_or(PageNotShown), Result());
    }

    HWND Control(int id) const { return GetDlgItem(window_, id); }
    HWND Focus() const {
        GUITHREADINFO info = {};
        info.cbSize = sizeof(info);
        GetGUIThreadInfo(threadId_, &info);
        return info.hwndFocus;
    }
    void Press(WORD key) {
        EXPECT_TRUE(WaitUntil([this] { return over_ || Focus(); }));
        PressKey(Focus(), key);
        EXPECT_TRUE(WaitUntil([&] { return over_ || servedKey == key; })) << key;
    }
    // At least once: a button that has the focus from the start is not yet what Enter presses.
    void TabTo(HWND control) {
        int tabs = 0;
        do
            Press(VK_TAB);
        while (++tabs < 10 && Focus() != control);
        EXPECT_EQ(control, Focus());
    }
    // It would come up.
    void UncheckReadme() {
        if (!Control(IDC_README))
            return;
        EXPECT_TRUE(ClickOn(Control(IDC_README)));
        EXPECT_TRUE(
            WaitUntil([this] { return IsDlgButtonChecked(window_, IDC_README) == BST_UNCHECKED; }));
    }
    void ClickWhatNextNeeds() {
        if (!*GetParam().before)
            return;
        EXPECT_FALSE(IsWindowEnabled(Control(IDOK)));
        EXPECT_TRUE(ClickOn(Control(std::stoi(GetParam().before))));
        EXPECT_TRUE(WaitUntil([this] { return IsWindowEnabled(Control(IDOK)); }));
    }

    void ExpectWords() {
        const std::vector<TextFact> texts = TextsOf(GetParam());
        for (const TextFact& fact : texts) {
            const HWND control = Control(fact.control);
            ASSERT_TRUE(control) << fact.control;
            EXPECT_EQ(fact.words, TextOf(control)) << fact.control;
            ExpectFont(FontOf(control), fact.mark);
            EXPECT_TRUE(IsOfClass(control, "Button") ||
                        WaitUntil([&] { return IsDrawn(control, fact.mark); }))
                << fact.control << " " << fact.mark;
        }
        const std::size_t count = texts.size() + (Control(IDC_PROGRESS) ? 1 : 0);
        EXPECT_TRUE(GetParam().show == ShowOtherModel || count == ControlsOf(window_).size())
            << "the template has other controls too";
    }
    static void ExpectFont(const LOGFONTA& font, char mark) {
        EXPECT_STREQ("Arial", font.lfFaceName);
        EXPECT_EQ(mark == 'h' ? 17 : -11, font.lfHeight);
        EXPECT_EQ(mark == 'h' ? 900 : mark == 'b' ? 700 : 400, font.lfWeight);
    }
    // Of the marks of the index: r is red text, m red behind the text, each on the page's brush.
    bool IsDrawn(HWND control, char mark) const {
        const Image image = ImageOf(window_).Part(RectOn(window_, control));
        const bool blank =
            std::ranges::count(image.pixels, image.pixels.back()) == std::ssize(image.pixels);
        const bool red = std::ranges::find(image.pixels, RedPixel) != image.pixels.end();
        const bool redBehind = image.At(0, 0) == RedPixel;
        const bool onBrush = image.pixels.back() == PixelOf(GetSysColor(COLOR_SCROLLBAR));
        return blank == TextOf(control).empty() && red == (mark == 'r' || mark == 'm') &&
               redBehind == (mark == 'm') && (!red || onBrush);
    }
    void ExpectPictures() {
        for (const PagePicture& picture : PicturesOf(GetParam()))
            EXPECT_TRUE(WaitUntil([&] {
                return ImageOf(window_).Shows(PictureOf(picture.bitmap), picture.x, picture.y);
            })) << picture.bitmap;
    }
    void ExpectNothingCut() {
        for (const HWND control : ControlsOf(window_)) {
            if (GetDlgCtrlID(control) == IDC_CONNECTION_QUESTION) // one line of three
                continue;
            RECT area = {};
            GetClientRect(control, &area);
            const SIZE rim = MarginsOf(control), size = TextSizeOf(control, area.right);
            EXPECT_LE(size.cx, area.right - rim.cx) << TextOf(control);
            EXPECT_LE(size.cy, area.bottom - rim.cy) << TextOf(control);
        }
    }
    void ExpectNothingOverlaps() {
        std::vector<std::pair<int, RECT>> rects; // by control, or by picture below zero
        for (const HWND control : ControlsOf(window_))
            rects.emplace_back(GetDlgCtrlID(control), RectOn(window_, control));
        for (const PagePicture& picture : PicturesOf(GetParam())) {
            const Image image = PictureOf(picture.bitmap);
            rects.emplace_back(-picture.bitmap, RECT{picture.x, picture.y, picture.x + image.width,
                                                     picture.y + image.height});
        }
        RECT area = {}, common = {};
        GetClientRect(window_, &area);
        for (std::size_t one = 0; one < rects.size(); ++one) {
            const auto& [name, rect] = rects[one];
            EXPECT_TRUE(UnionRect(&common, &area, &rect) && EqualRect(&common, &area)) << name;
            for (std::size_t other = 0; other < one; ++other) {
                // The bold label fits into the blanks at the start of a text.
                const bool meant =
                    rects[other].first == IDC_NOTICE_WARNING_LABEL && name == IDC_NOTICE_DATA_LOSS;
                EXPECT_TRUE(meant || !IntersectRect(&common, &rect, &rects[other].second))
                    << name << " over " << rects[other].first;
            }
        }
    }
    void SavePicture() {
        const char* folder = std::getenv("PAGE_PICTURES");
        EXPECT_TRUE(!folder || Save(ImageOf(window_), folder + ("/" + PictureName(GetParam()))));
    }

    HWND window_ = nullptr;
    std::atomic<bool> over_ = false;

private:
    static BOOL CALLBACK FindDialog(HWND window, LPARAM found) {
        if (!IsOfClass(window, "#32770") || !IsWindowVisible(window))
            return TRUE;
        *reinterpret_cast<HWND*>(found) = window;
        return FALSE;
    }

    std::optional<LoadedBanner> banner_;
    std::thread thread_;
    std::atomic<DWORD> threadId_ = 0;
    INT_PTR result_ = 0;
};

class StandingPage : public WindowsPage {};

TEST_P(StandingPage, shows_its_words_and_pictures_whole) {
    Open();
    RECT unit = {0, 0, 4, 8};
    MapDialogRect(window_, &unit);
    EXPECT_EQ(6, unit.right); // as pages are laid out for
    EXPECT_EQ(14, unit.bottom);
    ExpectPictures();
    ExpectWords();
    ExpectNothingCut();
    ExpectNothingOverlaps();
    SavePicture();
    EXPECT_EQ(CanBeLeft(GetParam()) ? CatalogText(IDS_TITLE) : "", TextOf(window_));
    const HWND bar = Control(IDC_PROGRESS);
    EXPECT_TRUE(!bar || SendMessageA(bar, PBM_GETPOS, 0, 0) == 37);
    EndDialog(window_, 1);
    EXPECT_EQ(1, Result());
}

// Nothing when the command is not one of the page's.
std::optional<INT_PTR> ResultOf(const PageFacts& facts, int command) {
    for (const PageResult& end : ResultsOf(facts))
        if (end.command == command)
            return end.result;
    return std::nullopt;
}

TEST_P(WindowsPage, gives_its_results_by_mouse_and_by_keyboard) {
    for (const auto& [command, result] : ResultsOf(GetParam())) {
        for (const WORD key :
             std::initializer_list<WORD>{0, VK_SPACE, VK_RETURN}) { // none is the mouse
            Open();
            UncheckReadme();
            ClickWhatNextNeeds();
            const HWND button = Control(command);
            if (!button) // Escape, the close box and Enter are the next tests'
                SendMessageA(window_, WM_COMMAND, static_cast<WPARAM>(command), 0);
            else if (key == 0)
                EXPECT_TRUE(ClickOn(button));
            else
                TabTo(button), Press(key);
            EXPECT_EQ(result, Result()) << command << " by key " << key;
        }
    }
}

TEST_P(WindowsPage, has_the_result_of_cancel_by_escape_and_the_close_box) {
    for (const bool byKeyboard : {false, true}) {
        Open();
        if (byKeyboard) {
            Press(VK_ESCAPE);
        } else {
            ClickOnCloseBox(window_);
            Press(VK_SHIFT); // which comes behind it
        }
        ExpectResult(ResultOf(GetParam(), IDCANCEL));
    }
}

// Where no button is the default one Enter is the command of Next.
int DefaultOf(const PageFacts& facts) {
    if (facts.dialog == IDD_BACKUP_CHOICE || facts.dialog == IDD_UPGRADE_ERROR)
        return IDCANCEL;
    for (const int button : {IDC_NEXT, IDC_ACTIVESYNC_QUIT})
        if (HasControl(facts, button))
            return button;
    return IDOK;
}

TEST_P(WindowsPage, has_the_result_of_its_default_button_by_enter_unless_that_is_grey) {
    const int button = DefaultOf(GetParam());
    Open();
    UncheckReadme();
    const bool isGrey = Control(button) && !IsWindowEnabled(Control(button));
    EXPECT_EQ(*GetParam().before != '\0', isGrey);
    Press(VK_RETURN);
    ExpectResult(isGrey ? std::nullopt : ResultOf(GetParam(), button));
}

INSTANTIATE_TEST_SUITE_P(All, WindowsPage, testing::ValuesIn(Index), NameOfPage);
INSTANTIATE_TEST_SUITE_P(All, StandingPage, testing::ValuesIn(Index), NameOfPage);
INSTANTIATE_TEST_SUITE_P(Other, StandingPage, testing::ValuesIn(Others), NameOfPage);

class TransferPage : public WindowsPage {
protected:
    static HCURSOR Pointer() {
        CURSORINFO info = {};
        info.cbSize = sizeof(info);
        GetCursorInfo(&info);
        return info.hCursor;
    }
};

TEST_P(TransferPage, ends_by_no_key_and_no_close_box_and_has_the_busy_cursor) {
    State.Run.BusyCursor = true;
    Open();
    ClickOnCloseBox(window_);
    Press(VK_ESCAPE);
    Press(VK_RETURN);
    if (GetParam().dialog == IDD_PROGRESS) {
        PostMessageA(window_, WM_SETCURSOR, 0, 0); // the mouse comes in
        EXPECT_TRUE(WaitUntil([] { return Pointer() == LoadCursorA(nullptr, IDC_WAIT); }));
        State.Run.BusyCursor = false;
        PostMessageA(window_, WM_SETCURSOR, 0, 0); // as a transfer does when its data go out
        EXPECT_TRUE(WaitUntil([] { return Pointer() == LoadCursorA(nullptr, IDC_ARROW); }));
    }
    ExpectResult(std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Other, TransferPage, testing::Values(Others[2], Others[3]), NameOfPage);

} // namespace

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    UseArialOfWindows();
    InitCommonControls();
    State.Windows.AppInstance = GetModuleHandleA(nullptr);
    ULONG_PTR drawing = 0;
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&drawing, &input, nullptr);
    const int failures = RUN_ALL_TESTS();
    Gdiplus::GdiplusShutdown(drawing);
    return failures;
}
