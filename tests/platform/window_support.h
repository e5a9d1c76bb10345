// What the tests of windows share: a home of their own, resources compiled from a script, a
// display that records its calls, and second processes that are real ones.
#pragma once

#include "platform/windows/display.h"
#include "platform/windows/resources.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

namespace window_support {

// ROM_WIZARD_HOME in a folder that is removed with the process: the layer chooses its home once.
class TemporaryHome {
public:
    std::filesystem::path Path() const { return Folder().path; }

private:
    struct Owned {
        std::filesystem::path path;
        Owned() {
            std::string name = (std::filesystem::temp_directory_path() / "windows-XXXXXX").string();
            path = mkdtemp(name.data());
            setenv("ROM_WIZARD_HOME", path.c_str(), 1);
        }
        ~Owned() { std::filesystem::remove_all(path); }
    };
    static Owned& Folder() {
        static Owned folder;
        return folder;
    }
    Owned& folder_ = Folder(); // made with the first of these objects
};

// The bytes of the .res file that the distribution's compiler makes of the script.
inline std::vector<char> CompileScript(const std::filesystem::path& folder,
                                       const std::string& script) {
    std::filesystem::path source = folder / "test.rc", result = folder / "test.res";
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

// A second process that runs `body` and then waits until it is ended. To be made before the
// test has threads or windows of its own.
class OtherProcess {
public:
    explicit OtherProcess(const std::function<void()>& body) {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        process_ = fork();
        if (process_ == 0) {
            body();
            EXPECT_EQ(write(ready[1], "r", 1), 1);
            for (;;)
                pause();
        }
        close(ready[1]);
        char byte;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]);
    }
    ~OtherProcess() { End(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    pid_t Id() const { return process_; }
    void End() {
        if (process_ <= 0)
            return;
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }

private:
    pid_t process_ = -1;
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
