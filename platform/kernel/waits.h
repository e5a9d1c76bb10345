// Objects that a thread can wait for: events, threads, processes.
//
// One lock and one condition serve all of them. A program of this kind has a handful of threads, so
// the needless wake-ups cost nothing, and a wait for several objects at once consumes what it waits
// for in one step, which separate locks would make hard.
#pragma once

#include "platform/base/clock.h"
#include "platform/kernel/handles.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {

class Waitable : public Object {
public:
    // Called before a wait, without the lock: starts whatever will signal the object.
    virtual void PrepareWait() {}
    // The next two run under the lock of waits. Consume applies what one ended wait does to it.
    virtual bool IsSignalled() const = 0;
    virtual void Consume() {}
};

class Event : public Waitable {
public:
    static std::shared_ptr<Event> Create(bool manualReset, bool signalled);
    virtual void Set() = 0;
    virtual void Reset() = 0;
};

// Event behind the handle, or null. For overlapped calls, which signal from the I/O thread; a null
// handle gives null and sets no error.
std::shared_ptr<Event> FindEvent(HANDLE handle);

// Guards the state of every waitable object; whoever changes one under it notifies all waiters.
std::mutex& WaitLock();
std::condition_variable& WaitCondition();

// Until one of the objects, or all of them, are signalled: WAIT_OBJECT_0 plus the number of the
// first, or WAIT_TIMEOUT after the deadline. A thread that has been terminated does not return.
DWORD WaitForObjects(const std::vector<std::shared_ptr<Waitable>>& objects, bool all,
                     HostClock::time_point deadline);

} // namespace platform
