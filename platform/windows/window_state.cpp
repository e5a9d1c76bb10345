// The state of a window: position, size, text, visibility, whether it can be used, and the values
// that programs keep with it.

#include "platform/windows/window_model.h"

#include <windows.h>

#include <utility>

namespace platform {

namespace {

SIZE FrameOf(DWORD style) {
    const bool framed = !(style & WS_CHILD) && (style & (DS_MODALFRAME | WS_CAPTION));
    return framed ? SIZE{DialogFrame, DialogFrame} : SIZE{0, 0};
}

LONG CaptionOf(DWORD style) {
    return !(style & WS_CHILD) && (style & WS_CAPTION) == WS_CAPTION ? CaptionHeight : 0;
}

// Runs `work` on the window under the lock; 0 with the last error set where there is none.
template <class Work>
auto With(HWND handle, Work work) -> decltype(work(std::declval<Window&>())) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window)
        return {};
    return work(*window);
}

// The same on the window's own thread.
template <class Work>
BOOL WithOnItsThread(HWND handle, Work work) {
    return SendWork(handle, [=] { return With(handle, work); }) != 0;
}

void Refresh(Window& window) {
    if (window.IsChild())
        RefreshControl(window);
    else
        RefreshPage(window);
}

// One of the values that a program keeps with its dialog; null for what is none.
LONG_PTR* KeptValue(Window& window, int index) {
    if (window.dialog && index == DWLP_MSGRESULT)
        return &window.dialog->messageResult;
    if (window.dialog && index == static_cast<int>(DWLP_USER))
        return &window.dialog->user;
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

} // namespace

SIZE OuterSize(LONG clientWidth, LONG clientHeight, DWORD style) {
    SIZE frame = FrameOf(style);
    return {clientWidth + 2 * frame.cx, clientHeight + 2 * frame.cy + CaptionOf(style)};
}

RECT ScreenRect(const Window& window) {
    RECT rect = window.rect;
    auto parent = window.IsChild() ? FindWindowByHandle(window.parent) : nullptr;
    if (!parent)
        return rect;
    RECT outer = ScreenRect(*parent);
    SIZE frame = FrameOf(parent->style);
    LONG x = outer.left + frame.cx;
    LONG y = outer.top + frame.cy + CaptionOf(parent->style);
    return {rect.left + x, rect.top + y, rect.right + x, rect.bottom + y};
}

RECT ClientRect(const Window& window) {
    SIZE edges = OuterSize(0, 0, window.style);
    LONG width = window.rect.right - window.rect.left - edges.cx;
    LONG height = window.rect.bottom - window.rect.top - edges.cy;
    return {0, 0, width > 0 ? width : 0, height > 0 ? height : 0};
}

bool IsVisibleWithParents(const Window& window) {
    if (!(window.style & WS_VISIBLE))
        return false;
    if (!window.IsChild())
        return true;
    auto parent = FindWindowByHandle(window.parent);
    return parent && IsVisibleWithParents(*parent);
}

} // namespace platform

using namespace platform;

BOOL WINAPI ShowWindow(HWND handle, int command) {
    return WithOnItsThread(handle, [=](Window& window) {
        BOOL wasVisible = (window.style & WS_VISIBLE) ? TRUE : FALSE;
        if (command == SW_HIDE)
            window.style &= ~static_cast<DWORD>(WS_VISIBLE);
        else
            window.style |= WS_VISIBLE;
        window.needsPaint = window.needsPaint || !wasVisible;
        Refresh(window);
        return wasVisible;
    });
}

BOOL WINAPI MoveWindow(HWND handle, int x, int y, int width, int height, BOOL repaint) {
    return WithOnItsThread(handle, [=](Window& window) {
        window.rect = {x, y, x + (width > 0 ? width : 0), y + (height > 0 ? height : 0)};
        window.needsPaint = window.needsPaint || repaint;
        Refresh(window);
        return TRUE;
    });
}

BOOL WINAPI EnableWindow(HWND handle, BOOL enable) {
    return WithOnItsThread(handle, [=](Window& window) {
        BOOL wasDisabled = (window.style & WS_DISABLED) ? TRUE : FALSE;
        if (enable)
            window.style &= ~static_cast<DWORD>(WS_DISABLED);
        else
            window.style |= WS_DISABLED;
        const bool changed = (wasDisabled != FALSE) == (enable != FALSE);
        if (window.IsChild() && changed)
            RefreshControl(window);
        return wasDisabled;
    });
}

BOOL WINAPI IsWindowVisible(HWND handle) {
    return With(handle, [](Window& window) { return IsVisibleWithParents(window) ? TRUE : FALSE; });
}

BOOL WINAPI GetWindowRect(HWND handle, LPRECT rect) {
    return With(handle, [&](Window& window) {
        *rect = ScreenRect(window);
        return TRUE;
    });
}

BOOL WINAPI SetWindowTextA(HWND handle, LPCSTR text) {
    return SendMessageA(handle, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) ? TRUE : FALSE;
}

LONG_PTR WINAPI GetWindowLongPtrA(HWND handle, int index) {
    return With(handle, [&](Window& window) {
        LONG_PTR* kept = KeptValue(window, index);
        return kept ? *kept : 0;
    });
}

LONG_PTR WINAPI SetWindowLongPtrA(HWND handle, int index, LONG_PTR value) {
    return With(handle, [&](Window& window) {
        LONG_PTR* kept = KeptValue(window, index);
        return kept ? std::exchange(*kept, value) : 0;
    });
}
