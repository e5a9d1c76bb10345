// A fixture for the wizard's pages on the platform's real dialogs, with a display that plays the
// user and keeps what was on the screen.
#pragma once

#include "frame/catalog.h"
#include "frame/page.h"
#include "platform/base/text.h"
#include "platform/windows/display.h"
#include "platform/windows/resources.h"
#include "testing/page_facts.h"
#include "testing/test_home.h"
#include "wizard/main_window.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace page_test {

using platform::ControlView;
using platform::PageView;
using test_support::HomeOfTests;
using test_support::ReadBytes;
using test_support::WindowsPathOf;

inline const ControlView* Find(const PageView& page, int control) {
    for (const ControlView& view : page.controls) {
        if (view.id == control)
            return &view;
    }
    return nullptr;
}

inline bool IsEnabled(const PageView& page, int control) {
    const ControlView* view = Find(page, control);
    return view && view->enabled;
}

inline std::string Utf8(const char* ansi) { return platform::Utf8FromAnsi(ansi); }

// What the user does on a page, as soon as `when`: a control's number, "esc", or "" for Enter.
// Where no control has the number, 1 is Enter and any other Escape.
struct Step {
    int page;
    std::string input;
    std::function<bool(const PageView&)> when = {};
};

class User : public platform::Display {
public:
    std::deque<Step> steps;
    std::deque<std::string> files; // answers to file dialogs; "" cancels
    std::vector<PageView> opened, ended;
    std::vector<std::string> events; // what happened on the screen, in order

    void ShowPage(const PageView& page) override {
        opened.push_back(page);
        events.push_back("show " + std::to_string(page.id));
    }
    void HidePage(const PageView& page) override {
        events.push_back("hide " + std::to_string(page.id));
    }
    void EndPage(const PageView& page) override {
        ended.push_back(page);
        events.push_back("end " + std::to_string(page.id));
    }
    void UpdateControl(const PageView&, const ControlView&) override {}
    void ShowFileDialog(const platform::FileRequest& question) override {
        events.push_back((question.save ? "save " : "open ") + question.proposal);
    }
    void ShowError(const platform::Sentence& sentence) override {
        events.push_back(InEnglish(sentence));
    }

    std::optional<platform::PageAction> NextAction(const PageView& page) override {
        if (steps.empty() || steps.front().page != page.id)
            GiveUp(page.id);
        const Step& step = steps.front();
        if (step.when && !step.when(page))
            return std::nullopt;
        const std::string input = step.input;
        steps.pop_front();
        if (const ControlView* control = Find(page, std::atoi(input.c_str())))
            return platform::PageAction{platform::PageAction::Click, control->handle};
        if (input == "1" || input.empty())
            return platform::PageAction{platform::PageAction::Enter, nullptr};
        return platform::PageAction{platform::PageAction::Escape, nullptr};
    }

    std::optional<platform::FileAnswer> NextAnswer() override {
        const std::string path = files.empty() ? "" : files.front();
        if (!files.empty())
            files.pop_front();
        return platform::FileAnswer{path.empty(), path};
    }

private:
    // A page that comes up where none was expected would stay for ever.
    [[noreturn]] static void GiveUp(int page) {
        std::fprintf(stderr, "nothing left to do on page %d\n", page);
        std::abort();
    }
};

// The program's compiled resources, the bytes of which stay for the whole run.
inline const std::string& CompiledResources() {
    static const std::string bytes = ReadBytes(BUILD_FOLDER "/wizard.res");
    return bytes;
}

inline void UseResources(const std::string& bytes) {
    platform::UseResources(bytes.data(), bytes.data() + bytes.size());
}

class PageTest : public testing::Test {
protected:
    void SetUp() override {
        folder_ = HomeOfTests().Path("test");
        std::filesystem::create_directories(folder_);
        ASSERT_FALSE(CompiledResources().empty());
        UseResources(CompiledResources());
        State.Windows.AppInstance = reinterpret_cast<HINSTANCE>(std::uintptr_t{0x400000});
        LoadMessageCatalog();
        platform::UseDisplay(&user_);
        FillState();
    }

    void TearDown() override {
        MSG message; // a run that has ended leaves its quit message
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        }
        EXPECT_TRUE(user_.steps.empty()) << user_.steps.size() << " steps were not taken";
        platform::UseDisplay(nullptr);
        std::filesystem::remove_all(folder_);
    }

    // Shows the page, with the choice made that it needs, and leaves it by that command.
    INT_PTR ShowAndSend(const ShownPage& shown, int command) {
        FillState();
        const Page& page = shown.Prepare();
        if (const int choice = ChoiceBeforeNext(page))
            user_.steps.push_back({page.dialog, std::to_string(choice)});
        user_.steps.push_back({page.dialog, std::to_string(command)});
        return ShowPage(page);
    }

    // The wizard's own window, without the wizard in it.
    static void OpenMainWindow() {
        WNDCLASSEXA windowClass = {};
        windowClass.cbSize = sizeof(windowClass);
        windowClass.lpszClassName = "PAGETEST";
        windowClass.lpfnWndProc = [](HWND window, UINT message, WPARAM first, LPARAM second) {
            return message == WM_CREATE ? 0 : MainWindowProc(window, message, first, second);
        };
        RegisterClassExA(&windowClass);
        State.Windows.MainWindow =
            CreateWindowExA(0, "PAGETEST", "", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                            State.Windows.AppInstance, nullptr);
    }

    // The page as it was when it ended last, and as it was when it opened first.
    const PageView& Last(int page) const { return Latest(user_.ended, page); }
    const PageView& First(int page) const {
        for (const PageView& view : user_.opened) {
            if (view.id == page)
                return view;
        }
        return Latest({}, page);
    }

    static std::string TextOf(const PageView& page, int control) {
        const ControlView* view = Find(page, control);
        return view ? view->text : "no control " + std::to_string(control);
    }

    std::filesystem::path folder_;
    User user_;

private:
    static const PageView& Latest(const std::vector<PageView>& views, int page) {
        static const PageView none = {};
        for (auto view = views.rbegin(); view != views.rend(); ++view) {
            if (view->id == page)
                return *view;
        }
        ADD_FAILURE() << "page " << page << " was not shown";
        return none;
    }
};

} // namespace page_test
