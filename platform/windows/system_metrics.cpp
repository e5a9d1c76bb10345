// Metrics, colours, cursors and icons of the system. The screen is that of a
// classic desktop at 96 dots an inch, whatever the display; pages are laid out and centred by it.

#include "platform/windows/resources.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <utility>

namespace {

constexpr std::uintptr_t FirstImageHandle = 0x02000000;

HICON ImageHandle(LPCSTR name) {
    return reinterpret_cast<HICON>(FirstImageHandle + reinterpret_cast<std::uintptr_t>(name));
}

} // namespace

DWORD WINAPI GetSysColor(int index) {
    const bool grey = index == COLOR_SCROLLBAR || index == COLOR_BTNFACE;
    return grey ? RGB(0xD4, 0xD0, 0xC8) : RGB(0, 0, 0);
}

int WINAPI GetSystemMetrics(int index) {
    switch (index) {
    case SM_CXSCREEN:
        return 1024;
    case SM_CYSCREEN:
        return 768;
    default:
        return 0;
    }
}

HICON WINAPI LoadIconA(HINSTANCE instance, LPCSTR name) {
    if (instance && !platform::FindNamedResource(platform::IconGroupResource, name))
        return nullptr;
    return IS_INTRESOURCE(name) ? ImageHandle(name) : nullptr;
}

HCURSOR WINAPI LoadCursorA(HINSTANCE instance, LPCSTR name) {
    return !instance && IS_INTRESOURCE(name) ? ImageHandle(name) : nullptr;
}

HCURSOR WINAPI SetCursor(HCURSOR cursor) {
    auto queue = platform::CurrentQueue();
    auto lock = platform::LockWindows();
    HCURSOR before = std::exchange(queue->cursor, cursor);
    if (before != cursor)
        platform::RefreshCursor(queue, cursor == ImageHandle(IDC_WAIT));
    return before;
}
