// Asking the windows whether the session may end.
//
// Whoever asks must not depend on the program's threads, one of which may be stuck: the question is
// put by a thread of its own, which outlives an asker that has waited long enough.

#include "platform/windows/session_end.h"

#include "platform/windows/window_model.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace platform {

namespace {

constexpr auto MaxAnswerTime = std::chrono::seconds(5); // as on Windows

std::vector<HWND> TopLevelWindows() {
    const auto lock = LockWindows();
    std::vector<HWND> windows;
    for (const auto& [handle, window] : Model().windows)
        if (!window->IsChild() && !window->dying)
            windows.push_back(handle);
    return windows;
}

// A window that goes meanwhile does not answer, and does not refuse.
bool Refuses(HWND window) {
    return SendMessageA(window, WM_QUERYENDSESSION, 0, 0) == 0 && IsWindow(window);
}

bool AskWindows() {
    const std::vector<HWND> windows = TopLevelWindows();
    const auto refusing = std::ranges::find_if(windows, Refuses);
    const bool agreed = refusing == windows.end();
    for (auto asked = windows.begin(); asked != windows.end(); ++asked) {
        SendMessageA(*asked, WM_ENDSESSION, agreed ? TRUE : FALSE, 0);
        if (asked == refusing)
            break;
    }
    return agreed;
}

} // namespace

bool MaySessionEnd() {
    const auto answer = std::make_shared<std::promise<bool>>();
    std::future<bool> agreed = answer->get_future();
    std::thread([answer] { answer->set_value(AskWindows()); }).detach();
    return agreed.wait_for(MaxAnswerTime) != std::future_status::ready || agreed.get();
}

} // namespace platform
