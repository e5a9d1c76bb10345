// What the tests of windows share: resources compiled from a script, and a display that records its
// calls.
#pragma once

#include "platform/windows/display.h"
#include "platform/windows/resources.h"
#include "tests/platform/own_home.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

namespace window_support {

// The bytes of the .res file that the distribution's compiler makes of the script.
inline std::vector<char> CompileScript(const std::string& script) {
    std::filesystem::path source = ownHome.Work() / "test.rc", result = ownHome.Work() / "test.res";
    std::ofstream(source) << script;
    std::string command = "x86_64-w64-mingw32-windres -c 65001 -O res --preprocessor=gcc "
                          "--preprocessor-arg=-E --preprocessor-arg=-xc "
                          "--preprocessor-arg=-DRC_INVOKED -I " SOURCE_FOLDER " -I " SOURCE_FOLDER
                          "/platform/include -o " +
                          result.string() + " " + source.string();
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::ifstream file(result, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void UseBytes(const std::vector<char>& bytes) {
    platform::UseResources(bytes.data(), bytes.data() + bytes.size());
}

// Records "show 100", "hide 100", "end 100" and "update 100 1001 text".
class RecordingDisplay : public platform::Display {
public:
    RecordingDisplay() { platform::UseDisplay(this); }
    ~RecordingDisplay() override { platform::UseDisplay(nullptr); }

    void ShowPage(const platform::PageView& page) override { Add("show", page, ""); }
    void HidePage(const platform::PageView& page) override { Add("hide", page, ""); }
    void EndPage(const platform::PageView& page) override { Add("end", page, ""); }
    void UpdateControl(const platform::PageView& page,
                       const platform::ControlView& control) override {
        Add("update", page, " " + std::to_string(control.id) + " " + control.text);
    }
    void ShowFileDialog(const platform::FileRequest&) override {}
    void ShowError(const std::string&) override {}

    std::vector<std::string> Events() {
        std::lock_guard lock(lock_);
        return events_;
    }
    // Pages shown, hidden and ended, in order.
    std::vector<std::string> Pages() {
        auto events = Events();
        std::erase_if(events, [](const std::string& event) { return event.starts_with("update"); });
        return events;
    }
    void Await(const std::string& event) {
        std::unique_lock lock(lock_);
        changed_.wait(lock, [&] {
            return std::find(events_.begin(), events_.end(), event) != events_.end();
        });
    }

private:
    void Add(const std::string& what, const platform::PageView& page, const std::string& more) {
        std::lock_guard lock(lock_);
        events_.push_back(what + " " + std::to_string(page.id) + more);
        changed_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<std::string> events_;
};

inline HWND OpenPlainWindow(const char* className, const char* title, HWND owner = nullptr,
                            WNDPROC procedure = DefWindowProcA, DWORD style = WS_OVERLAPPEDWINDOW) {
    WNDCLASSEXA windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = procedure;
    windowClass.lpszClassName = className;
    RegisterClassExA(&windowClass); // a second time does nothing
    return CreateWindowExA(0, className, title, style, 0, 0, 0, 0, owner, nullptr, nullptr,
                           nullptr);
}

} // namespace window_support
