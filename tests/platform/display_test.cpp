// What a display gets to see of dialogs, and what they leave behind.
// label: threads

#include "platform/windows/drawing.h"
#include "tests/platform/dialog_support.h"

#include <vector>

using namespace dialog_support;

namespace {

class RecordingDisplay : public any_host::NoDisplay {
public:
    void ShowPage(const platform::PageView& page) override { Add("show", page); }
    void HidePage(const platform::PageView& page) override { Add("hide", page); }
    void EndPage(const platform::PageView& page) override { Add("end", page); }

    std::vector<std::string> events;

private:
    void Add(const std::string& what, const platform::PageView& page) {
        events.push_back(what + " " + std::to_string(page.id));
    }
};

} // namespace

// What Windows promises nothing about: a dialog has the first of its results, and 0 without one.
TEST(Display, sees_each_page_come_and_go_once_and_never_one_that_is_over_before) {
    RecordingDisplay display;
    const Behaviour quits = Once([](HWND) { PostQuitMessage(5); });
    EXPECT_EQ(Show(100, Once([&](HWND dialog) {
                       MoveWindow(dialog, 0, 0, 0, 0, FALSE);
                       EXPECT_EQ(Show(103, quits), 0);
                   })),
              0);
    MSG message;
    EXPECT_FALSE(GetMessageA(&message, nullptr, 0, 0));
    EXPECT_EQ(display.events,
              (std::vector<std::string>{"show 100", "hide 100", "show 103", "end 103", "end 100"}));
    display.events.clear();
    const auto atBegin = [](const std::function<void(HWND)>& body) {
        return Show(100, [&](HWND dialog, UINT begun, WPARAM) -> INT_PTR {
            if (begun == WM_INITDIALOG)
                body(dialog);
            return FALSE;
        });
    };
    EXPECT_EQ(atBegin([](HWND dialog) {
                  EndDialog(dialog, 3);
                  EndDialog(dialog, 4);
              }),
              3);
    EXPECT_EQ(atBegin([](HWND dialog) { DestroyWindow(dialog); }), 0);
    Show(102, nullptr);
    EXPECT_EQ(display.events, std::vector<std::string>{});
    EXPECT_EQ(platform::DrawingObjectCount(), 0);
}
