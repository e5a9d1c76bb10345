// Keys and clicks of a user, through the message loop of the page that gets them.
//
// They are posted and not sent to the system as input: the X server reports a change of focus at
// any time, and what is typed in that moment is lost.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>

namespace page_test {

template <class Condition>
bool WaitUntil(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < end)
        Sleep(1);
    return condition();
}

// The key whose release a thread has received last: everything that its press causes has happened.
inline std::atomic<WPARAM> servedKey = 0;

inline LRESULT CALLBACK WatchKeys(int code, WPARAM removed, LPARAM message) {
    const MSG& taken = *reinterpret_cast<const MSG*>(message);
    if (code == HC_ACTION && removed == PM_REMOVE && taken.message == WM_KEYUP)
        servedKey = taken.wParam;
    return CallNextHookEx(nullptr, code, removed, message);
}

// Of the thread that has the window with the focus.
inline void PressKey(HWND focus, WORD key) {
    servedKey = 0;
    PostMessageA(focus, WM_KEYDOWN, key, 1);
    PostMessageA(focus, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

// False when the user would hit something else there.
inline bool ClickOn(HWND button) {
    RECT rect = {};
    GetWindowRect(button, &rect);
    const HWND hit = WindowFromPoint({(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2});
    return hit == button && PostMessageA(button, BM_CLICK, 0, 0);
}

// What a click on the close box of the title bar comes to.
inline void ClickOnCloseBox(HWND page) { PostMessageA(page, WM_SYSCOMMAND, SC_CLOSE, 0); }

} // namespace page_test
