// Timers of windows. A timer has no thread and no message of its own: it is an instant in the
// queue of its window's thread, and the message is made when that thread fetches. So a killed or
// restarted timer leaves nothing behind that could still arrive.

#include "platform/windows/window_model.h"

#include <windows.h>

#include <algorithm>

using namespace platform;

namespace {

constexpr DWORD MinTimer = 10; // milliseconds, as published

std::vector<Timer>::iterator FindTimer(ThreadQueue& queue, HWND window, UINT_PTR id) {
    return std::find_if(queue.timers.begin(), queue.timers.end(), [&](const Timer& timer) {
        return timer.window == window && timer.id == id;
    });
}

} // namespace

UINT_PTR WINAPI SetTimer(HWND handle, UINT_PTR id, UINT milliseconds, TIMERPROC callback) {
    if (callback) {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return 0;
    }
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window)
        return 0;
    ThreadQueue& queue = *window->queue;
    DWORD period = std::clamp(static_cast<DWORD>(milliseconds), MinTimer, DWORD{0x7FFFFFFF});
    Timer timer = {handle, id, period, HostDeadline(period)};
    auto old = FindTimer(queue, handle, id);
    if (old != queue.timers.end())
        *old = timer;
    else
        queue.timers.push_back(timer);
    queue.changed.notify_all();
    return id ? id : 1;
}

BOOL WINAPI KillTimer(HWND handle, UINT_PTR id) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window)
        return FALSE;
    auto timer = FindTimer(*window->queue, handle, id);
    if (timer == window->queue->timers.end())
        return FALSE;
    window->queue->timers.erase(timer);
    return TRUE;
}
