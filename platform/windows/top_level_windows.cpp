// Finding top-level windows and walking through them, those of other processes included. The
// records on disk are the one order of all windows: the newest is on top.

#include "platform/base/text.h"
#include "platform/processes/process_identity.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace platform {

namespace {

bool Matches(const WindowRecord& record, LPCSTR className, LPCSTR title) {
    return (!className || CompareAnsiNoCase(record.className, className) == 0) &&
           (!title || CompareAnsiNoCase(record.title, title) == 0);
}

// The record of a window of any process; sets the last error where there is none.
std::optional<WindowRecord> RequireRecord(HWND window) {
    auto record = FindWindowRecord(window);
    if (!record)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return record;
}

bool IsOurs(HWND handle) {
    auto lock = LockWindows();
    return FindWindowByHandle(handle) != nullptr;
}

} // namespace

} // namespace platform

using namespace platform;

HWND WINAPI FindWindowA(LPCSTR className, LPCSTR title) {
    for (const WindowRecord& record : ReadWindowRecords())
        if (Matches(record, className, title))
            return WindowOfNumber(record.number);
    return nullptr;
}

BOOL WINAPI IsWindow(HWND window) {
    return window && (IsOurs(window) || FindWindowRecord(window)) ? TRUE : FALSE;
}

// The owner of a popup alone; that of another top-level window does not count as its parent.
HWND WINAPI GetParent(HWND handle) {
    {
        auto lock = LockWindows();
        if (auto window = FindWindowByHandle(handle))
            return window->style & (WS_CHILD | WS_POPUP) ? window->parent : nullptr;
    }
    auto record = RequireRecord(handle);
    return record && (record->style & WS_POPUP) ? WindowOfNumber(record->owner) : nullptr;
}

HWND WINAPI GetWindow(HWND window, UINT command) {
    if (command != GW_HWNDNEXT) {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return nullptr;
    }
    const auto all = ReadWindowRecords();
    const auto found = std::ranges::find(all, NumberOfWindow(window), &WindowRecord::number);
    if (found == all.end())
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    else if (found + 1 != all.end())
        return WindowOfNumber((found + 1)->number);
    return nullptr;
}

DWORD WINAPI GetWindowThreadProcessId(HWND handle, LPDWORD process) {
    {
        auto lock = LockWindows();
        if (auto window = FindWindowByHandle(handle)) {
            if (process)
                *process = GetCurrentProcessId();
            return window->queue->thread;
        }
    }
    auto record = RequireRecord(handle);
    if (!record)
        return 0;
    ExpectProcess(record->process, record->processStart);
    if (process)
        *process = record->process;
    return record->thread;
}

int WINAPI GetWindowTextA(HWND window, LPSTR buffer, int capacity) {
    if (!buffer || capacity <= 0)
        return 0;
    buffer[0] = '\0';
    if (IsOurs(window))
        return static_cast<int>(SendMessageA(window, WM_GETTEXT, static_cast<WPARAM>(capacity),
                                             reinterpret_cast<LPARAM>(buffer)));
    auto record = RequireRecord(window);
    if (!record)
        return 0;
    std::size_t length = std::min(record->title.size(), static_cast<std::size_t>(capacity) - 1);
    std::memcpy(buffer, record->title.data(), length);
    buffer[length] = '\0';
    return static_cast<int>(length);
}
