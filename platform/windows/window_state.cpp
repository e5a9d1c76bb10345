// The state of a window: position, size, text, visibility, whether it can be used, and the values
// that programs keep with it.

#include "platform/windows/window_errors.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <cstring>
#include <utility>

namespace platform {

namespace {

SIZE FrameOf(DWORD style) {
    if (style & WS_CHILD)
        return {0, 0};
    if (style & WS_THICKFRAME)
        return {SizingFrame, SizingFrame};
    if ((style & WS_CAPTION) == WS_CAPTION || (style & DS_MODALFRAME) || (style & WS_DLGFRAME))
        return {DialogFrame, DialogFrame};
    if (style & WS_BORDER)
        return {1, 1};
    return {0, 0};
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

void Refresh(Window& window) {
    if (window.IsChild())
        RefreshControl(window);
    else
        RefreshPage(window);
}

// Bytes of a window at a published index of 0 or more; null where they lie outside.
void* ExtraBytes(Window& window, int index, std::size_t size) {
    if (index < 0 || static_cast<std::size_t>(index) + size > window.extra.size())
        return nullptr;
    return window.extra.data() + index;
}

LONG_PTR NamedValue(const Window& window, int index) {
    switch (index) {
    case GWLP_USERDATA:
        return window.userData;
    case GWLP_WNDPROC:
        return reinterpret_cast<LONG_PTR>(window.procedure);
    case GWLP_HINSTANCE:
        return reinterpret_cast<LONG_PTR>(window.instance);
    case GWLP_ID:
        return window.id;
    case GWL_STYLE:
        return static_cast<LONG>(window.style);
    case GWL_EXSTYLE:
        return static_cast<LONG>(window.exStyle);
    default:
        return 0;
    }
}

bool SetNamedValue(Window& window, int index, LONG_PTR value) {
    switch (index) {
    case GWLP_USERDATA:
        window.userData = value;
        return true;
    case GWLP_WNDPROC:
        window.procedure = reinterpret_cast<WNDPROC>(value);
        return true;
    case GWLP_ID:
        window.id = value;
        return true;
    case GWL_STYLE:
        window.style = static_cast<DWORD>(value);
        Refresh(window);
        return true;
    case GWL_EXSTYLE:
        window.exStyle = static_cast<DWORD>(value);
        return true;
    default:
        return false;
    }
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
    return With(handle, [&](Window& window) {
        BOOL wasVisible = (window.style & WS_VISIBLE) ? TRUE : FALSE;
        if (command == SW_HIDE)
            window.style &= ~static_cast<DWORD>(WS_VISIBLE);
        else
            window.style |= WS_VISIBLE;
        window.needsPaint = window.needsPaint || !wasVisible;
        Refresh(window);
        window.queue->changed.notify_all(); // it may have to paint
        return wasVisible;
    });
}

BOOL WINAPI MoveWindow(HWND handle, int x, int y, int width, int height, BOOL repaint) {
    return With(handle, [&](Window& window) {
        window.rect = {x, y, x + (width > 0 ? width : 0), y + (height > 0 ? height : 0)};
        window.needsPaint = window.needsPaint || repaint;
        Refresh(window);
        return TRUE;
    });
}

BOOL WINAPI EnableWindow(HWND handle, BOOL enable) {
    return With(handle, [&](Window& window) {
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

BOOL WINAPI IsWindowEnabled(HWND handle) {
    return With(handle, [](Window& window) { return (window.style & WS_DISABLED) ? FALSE : TRUE; });
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

BOOL WINAPI GetClientRect(HWND handle, LPRECT rect) {
    return With(handle, [&](Window& window) {
        *rect = ClientRect(window);
        return TRUE;
    });
}

// The order of windows is that of their age; the display shows what came last anyway.
BOOL WINAPI SetForegroundWindow(HWND handle) {
    return With(handle, [](Window&) { return TRUE; });
}

HWND WINAPI SetFocus(HWND handle) {
    auto queue = CurrentQueue();
    auto lock = LockWindows();
    if (handle && !RequireWindow(handle))
        return nullptr;
    return std::exchange(queue->focus, handle);
}

BOOL WINAPI SetWindowTextA(HWND handle, LPCSTR text) {
    return SendMessageA(handle, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) ? TRUE : FALSE;
}

int WINAPI GetWindowTextLengthA(HWND handle) {
    return static_cast<int>(SendMessageA(handle, WM_GETTEXTLENGTH, 0, 0));
}

LONG_PTR WINAPI GetWindowLongPtrA(HWND handle, int index) {
    return With(handle, [&](Window& window) {
        if (index < 0)
            return NamedValue(window, index);
        LONG_PTR value = 0;
        if (void* bytes = ExtraBytes(window, index, sizeof(value)))
            std::memcpy(&value, bytes, sizeof(value));
        else
            SetLastError(InvalidParameter);
        return value;
    });
}

LONG_PTR WINAPI SetWindowLongPtrA(HWND handle, int index, LONG_PTR value) {
    return With(handle, [&](Window& window) {
        LONG_PTR old = index < 0 ? NamedValue(window, index) : 0;
        void* bytes = ExtraBytes(window, index, sizeof(value));
        if (bytes) {
            std::memcpy(&old, bytes, sizeof(old));
            std::memcpy(bytes, &value, sizeof(value));
        } else if (index >= 0 || !SetNamedValue(window, index, value)) {
            SetLastError(InvalidParameter);
        }
        return old;
    });
}
