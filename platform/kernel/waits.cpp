// Events, and the waits for all waitable objects.

#include "platform/kernel/waits.h"

#include "platform/kernel/thread_termination.h"

#include <winbase.h>

#include <algorithm>

namespace platform {
namespace {

// One turn of a wait. A terminated thread leaves here.
void WaitForChange(std::unique_lock<std::mutex>& lock, HostClock::time_point deadline) {
    LeaveIfTerminated();
    if (deadline == HostClock::time_point::max())
        WaitCondition().wait(lock);
    else
        WaitCondition().wait_until(lock, deadline);
    LeaveIfTerminated();
}

} // namespace

std::mutex& WaitLock() {
    static auto& lock = *new std::mutex;
    return lock;
}

std::condition_variable& WaitCondition() {
    static auto& condition = *new std::condition_variable;
    return condition;
}

void Event::Set() {
    const std::lock_guard lock(WaitLock());
    signalled_ = true;
    WaitCondition().notify_all();
}

void Event::Reset() {
    const std::lock_guard lock(WaitLock());
    signalled_ = false;
}

} // namespace platform

using platform::Event;
using platform::FindHandleOf;

HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initiallySet,
                           LPCSTR name) {
    if (name || !manualReset) {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return nullptr;
    }
    return platform::AddHandle(std::make_shared<Event>(initiallySet != FALSE));
}

BOOL WINAPI SetEvent(HANDLE handle) {
    const auto event = FindHandleOf<Event>(handle);
    if (event)
        event->Set();
    return event != nullptr;
}

BOOL WINAPI ResetEvent(HANDLE handle) {
    const auto event = FindHandleOf<Event>(handle);
    if (event)
        event->Reset();
    return event != nullptr;
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const auto deadline = platform::HostDeadline(milliseconds);
    const auto object = FindHandleOf<platform::Waitable>(handle);
    if (!object)
        return WAIT_FAILED;
    platform::LeaveIfTerminated();
    std::unique_lock lock(platform::WaitLock());
    while (!object->IsSignalled()) {
        const auto end = milliseconds ? std::max(deadline, object->EarliestTimeout()) : deadline;
        if (platform::HostClock::now() >= end)
            return WAIT_TIMEOUT;
        platform::WaitForChange(lock, end);
    }
    return WAIT_OBJECT_0;
}
