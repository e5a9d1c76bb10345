// For the tests of what Windows does that run on the layer and, built for Windows, on Windows: what
// they need of their host, and the one table of what is known to differ.
//
// Where a case is in the table for the system that the test runs on, the difference has to be
// there: one that has gone fails its test, as a case does that is not in the table.
#pragma once

#ifndef _WIN32
#include "platform/windows/display.h"
#include "platform/windows/window_model.h"
#include "testing/child_process.h"
#include "testing/test_home.h"
#endif

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace any_host {

enum class System { Layer, Wine, Windows };

#ifdef _WIN32
inline System ThisSystem() {
    const HMODULE library = GetModuleHandleA("ntdll.dll");
    return GetProcAddress(library, "wine_get_version") ? System::Wine : System::Windows;
}

// A folder of this test program.
inline std::filesystem::path ProgramFolder() {
    return std::filesystem::temp_directory_path() / "layer-tests";
}

// On Windows the handles of one process judge each other as those of several do.
template <class Body>
int InOtherProcess(Body body) {
    return body();
}

// Whether something is sent to a window of this thread that has not been served.
inline bool HasSent(HWND) { return HIWORD(GetQueueStatus(QS_SENDMESSAGE)) & QS_SENDMESSAGE; }

struct NoDisplay {
    NoDisplay() {} // so that one that is not used is no mistake
};
#else
inline System ThisSystem() { return System::Layer; }

inline std::filesystem::path ProgramFolder() { return test_support::HomeOfTests().Path("work"); }

template <class Body>
int InOtherProcess(Body body) {
    return test_support::ChildProcess(body).Wait();
}

inline bool HasSent(HWND window) {
    auto lock = platform::LockWindows();
    return !platform::FindWindowByHandle(window)->queue->sent.empty();
}

// Shows nothing, in place of the terminal.
class NoDisplay : public platform::Display {
public:
    NoDisplay() {
        test_support::HomeOfTests();
        platform::UseDisplay(this);
    }
    ~NoDisplay() override { platform::UseDisplay(nullptr); }

    void ShowPage(const platform::PageView&) override {}
    void HidePage(const platform::PageView&) override {}
    void EndPage(const platform::PageView&) override {}
    void UpdateControl(const platform::PageView&, const platform::ControlView&) override {}
    void ShowFileDialog(const platform::FileRequest&) override {}
    void ShowError(const platform::Sentence&) override {}
};
#endif

// What Microsoft documents and one system does otherwise.
struct Difference {
    System system;
    std::string_view name;
    const char* reason;
};

inline constexpr Difference Differences[] = {
    {System::Layer, "OPEN_ALWAYS", "no caller has it; refused, not ignored"},
    {System::Layer, "a search by *.nbf", "no caller has it; refused, not ignored"},
    {System::Layer, "an event that resets itself", "no caller has it; refused, not ignored"},
    {System::Layer, "a message filtered by its window", "no caller has it; refused, not ignored"},
    {System::Layer, "a terminated thread leaves nothing behind it",
     "a thread of the host cannot be stopped anywhere: it unwinds where it next waits"},
    {System::Wine, "a text stored without its terminator",
     "the zero that lies behind it in memory is stored with it"},
    {System::Wine, "a second opening of a port", "the ports of the host are shared"},
    {System::Wine, "line settings without effect",
     "the host keeps none that it does not carry out"},
    {System::Wine, "a read that returns at once", "it waits for a first byte"},
    {System::Wine, "a new mask ends a wait well", "it ends with ERROR_OPERATION_ABORTED"},
    {System::Wine, "an event before the wait", "it is forgotten"},
    {System::Wine, "CancelIo ends a wait", "a thread of Wine's own waits, and goes on"},
};

// Whether the system has what is documented, or, where the table says so, has not. Prints the
// difference, so that no case passes without a word.
inline void ExpectDocumented(std::string_view name, bool isDocumented) {
    for (const Difference& difference : Differences) {
        if (difference.system != ThisSystem() || difference.name != name)
            continue;
        std::printf("differs: %s: %s\n", std::string(name).c_str(), difference.reason);
        EXPECT_FALSE(isDocumented) << name << " differs no more";
        return;
    }
    EXPECT_TRUE(isDocumented) << name;
}

// Makes an empty folder the current one.
inline std::filesystem::path EnterEmptyFolder() {
    auto folder = ProgramFolder();
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder.parent_path());
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    std::filesystem::current_path(folder);
    return folder;
}

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

} // namespace any_host
