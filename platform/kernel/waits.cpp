// Events, and the waits for all waitable objects.

#include "platform/kernel/waits.h"

#include "platform/kernel/thread_termination.h"

#include <winbase.h>

namespace platform {
namespace {

class ManualOrAutoEvent : public Event {
public:
    ManualOrAutoEvent(bool manualReset, bool signalled)
        : manualReset_(manualReset), signalled_(signalled) {}

    bool IsSignalled() const override { return signalled_; }
    void Consume() override { signalled_ = signalled_ && manualReset_; }

    void Set() override {
        const std::lock_guard lock(WaitLock());
        signalled_ = true;
        WaitCondition().notify_all();
    }

    void Reset() override {
        const std::lock_guard lock(WaitLock());
        signalled_ = false;
    }

private:
    const bool manualReset_;
    bool signalled_;
};

// One turn of a wait; false once the deadline has passed. A terminated thread leaves here.
bool WaitForChange(std::unique_lock<std::mutex>& lock, HostClock::time_point deadline) {
    LeaveIfTerminated();
    bool inTime = true;
    if (deadline == HostClock::time_point::max())
        WaitCondition().wait(lock);
    else
        inTime = WaitCondition().wait_until(lock, deadline) == std::cv_status::no_timeout;
    LeaveIfTerminated();
    return inTime;
}

// The index of the object that ends the wait, which it consumes; the count of objects for none.
std::size_t ConsumeOne(const std::vector<std::shared_ptr<Waitable>>& objects) {
    for (std::size_t i = 0; i < objects.size(); ++i) {
        if (!objects[i]->IsSignalled())
            continue;
        objects[i]->Consume();
        return i;
    }
    return objects.size();
}

std::size_t ConsumeAll(const std::vector<std::shared_ptr<Waitable>>& objects) {
    for (const auto& object : objects)
        if (!object->IsSignalled())
            return objects.size();
    for (const auto& object : objects)
        object->Consume();
    return 0;
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

std::shared_ptr<Event> Event::Create(bool manualReset, bool signalled) {
    return std::make_shared<ManualOrAutoEvent>(manualReset, signalled);
}

std::shared_ptr<Event> FindEvent(HANDLE handle) {
    return handle ? FindHandleOf<Event>(handle) : nullptr;
}

DWORD WaitForObjects(const std::vector<std::shared_ptr<Waitable>>& objects, bool all,
                     HostClock::time_point deadline) {
    LeaveIfTerminated();
    for (const auto& object : objects)
        object->PrepareWait();
    std::unique_lock lock(WaitLock());
    for (bool inTime = true;;) {
        const std::size_t ended = all ? ConsumeAll(objects) : ConsumeOne(objects);
        if (ended < objects.size())
            return static_cast<DWORD>(WAIT_OBJECT_0 + ended);
        if (!inTime)
            return WAIT_TIMEOUT;
        inTime = WaitForChange(lock, deadline);
    }
}

} // namespace platform

using platform::Event;
using platform::FindHandleOf;

HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initiallySet,
                           LPCSTR name) {
    if (name) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    return platform::AddHandle(Event::Create(manualReset != FALSE, initiallySet != FALSE));
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
    return WaitForMultipleObjects(1, &handle, FALSE, milliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL all,
                                    DWORD milliseconds) {
    const auto deadline = platform::HostDeadline(milliseconds);
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    std::vector<std::shared_ptr<platform::Waitable>> objects;
    for (DWORD i = 0; i < count; ++i) {
        objects.push_back(FindHandleOf<platform::Waitable>(handles[i]));
        if (!objects.back())
            return WAIT_FAILED;
    }
    return platform::WaitForObjects(objects, all != FALSE, deadline);
}
