// Metrics, colours, cursors and icons of the system. The screen is that of a
// classic desktop at 96 dots an inch, whatever the display; pages are laid out and centred by it.

#include "platform/windows/resources.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <array>
#include <utility>

namespace {

constexpr std::uintptr_t FirstImageHandle = 0x02000000;

// The colours of the classic scheme by their published index, as 0x00BBGGRR.
constexpr std::array<COLORREF, 21> SystemColours = {
    0xC8D0D4, 0xA56E3A, 0x6A240A, 0x808080, 0xC8D0D4, 0xFFFFFF, 0x000000,
    0x000000, 0x000000, 0xFFFFFF, 0xC8D0D4, 0xC8D0D4, 0x808080, 0x6A240A,
    0xFFFFFF, 0xC8D0D4, 0x808080, 0x808080, 0x000000, 0xC8D0D4, 0xFFFFFF,
};

HICON ImageHandle(LPCSTR name) {
    return reinterpret_cast<HICON>(FirstImageHandle + reinterpret_cast<std::uintptr_t>(name));
}

} // namespace

DWORD WINAPI GetSysColor(int index) {
    auto position = static_cast<std::size_t>(index);
    return index >= 0 && position < SystemColours.size() ? SystemColours[position] : 0;
}

int WINAPI GetSystemMetrics(int index) {
    switch (index) {
    case SM_CXSCREEN:
        return 1024;
    case SM_CYSCREEN:
        return 768;
    case SM_CYCAPTION:
        return platform::CaptionHeight;
    case SM_CXDLGFRAME:
    case SM_CYDLGFRAME:
        return platform::DialogFrame;
    case SM_CXFRAME:
    case SM_CYFRAME:
        return platform::SizingFrame;
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
