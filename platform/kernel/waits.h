// Objects that a thread can wait for: events and threads.
//
// One lock and one condition serve all of them. A program of this kind has a handful of threads, so
// the needless wake-ups cost nothing.
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
    virtual bool IsSignalled() const = 0; // under the lock of waits
    // No wait times out before it: for what another process brings about, which does not get faster
    // with the layer's clock. Under the lock of waits too; who changes it notifies all waiters.
    virtual HostClock::time_point EarliestTimeout() const { return HostClock::time_point::min(); }
};

// Stays signalled until it is reset.
class Event : public Waitable {
public:
    explicit Event(bool signalled) : signalled_(signalled) {}

    bool IsSignalled() const override { return signalled_; }
    void Set();
    void Reset();

private:
    bool signalled_;
};

// Guards the state of every waitable object; whoever changes one under it notifies all waiters.
std::mutex& WaitLock();
std::condition_variable& WaitCondition();

} // namespace platform
