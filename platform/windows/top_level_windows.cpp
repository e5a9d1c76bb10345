// Finding top-level windows and walking through them, those of other processes included. The
// records on disk are the one order of all windows: the newest is on top.

#include "platform/base/text.h"
#include "platform/processes/process_identity.h"
#include "platform/windows/window_errors.h"
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
        SetLastError(NoSuchWindow);
    return record;
}

// The neighbour of a window in a list: next, previous, first, last. Null at an end.
template <class List, class Iterator>
HWND Neighbour(const List& list, Iterator position, UINT command) {
    switch (command) {
    case GW_HWNDFIRST:
        return list.front();
    case GW_HWNDLAST:
        return list.back();
    case GW_HWNDNEXT:
        return position + 1 == list.end() ? nullptr : *(position + 1);
    case GW_HWNDPREV:
        return position == list.begin() ? nullptr : *(position - 1);
    default:
        return nullptr;
    }
}

HWND NeighbourIn(const std::vector<HWND>& list, HWND window, UINT command) {
    auto position = std::find(list.begin(), list.end(), window);
    if (position != list.end())
        return Neighbour(list, position, command);
    SetLastError(NoSuchWindow);
    return nullptr;
}

std::vector<HWND> AllTopLevelWindows() {
    std::vector<HWND> all;
    for (const WindowRecord& record : ReadWindowRecords())
        all.push_back(WindowOfNumber(record.number));
    return all;
}

// Siblings of a child of this process; none for any other window.
std::vector<HWND> Siblings(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    auto parent = window && window->IsChild() ? FindWindowByHandle(window->parent) : nullptr;
    return parent ? parent->children : std::vector<HWND>();
}

HWND FirstChildOf(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    return window && !window->children.empty() ? window->children.front() : nullptr;
}

// The parent of a window that has one of these styles, or its owner where it is a top-level one.
HWND ParentOrOwner(HWND handle, bool (*has)(DWORD style)) {
    {
        auto lock = LockWindows();
        if (auto window = FindWindowByHandle(handle))
            return has(window->style) ? window->parent : nullptr;
    }
    auto record = RequireRecord(handle);
    return record && record->owner && has(record->style) ? WindowOfNumber(record->owner) : nullptr;
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
HWND WINAPI GetParent(HWND window) {
    return ParentOrOwner(window, [](DWORD style) { return (style & (WS_CHILD | WS_POPUP)) != 0; });
}

HWND WINAPI GetWindow(HWND window, UINT command) {
    if (command == GW_OWNER)
        return ParentOrOwner(window, [](DWORD style) { return (style & WS_CHILD) == 0; });
    if (command == GW_CHILD)
        return FirstChildOf(window);
    auto siblings = Siblings(window);
    return NeighbourIn(siblings.empty() ? AllTopLevelWindows() : siblings, window, command);
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
