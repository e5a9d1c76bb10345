// SetThreadExecutionState: while a thread asks for it, the machine neither sleeps nor idles.
//
// The host's login manager keeps it awake, for as long as the program lives. On a host without that
// manager the calls change nothing.

#include "platform/kernel/execution_state.h"

#include "platform/kernel/inhibitor.h"

#include <windows.h>

#include <mutex>

namespace platform {

namespace {

// Of all threads together: the first one opens the inhibitor, the last one closes it.
class SleepInhibitor {
public:
    void Add() {
        const std::lock_guard lock(lock_);
        if (threads_++ == 0)
            inhibitor_ = RequestInhibitor("sleep:idle", "work that must not be interrupted");
    }
    void Remove() {
        const std::lock_guard lock(lock_);
        if (--threads_ == 0)
            inhibitor_ = {};
    }
    bool Unless(const std::function<void()>& action) {
        const std::lock_guard lock(lock_);
        if (threads_ == 0)
            action();
        return threads_ == 0;
    }

private:
    std::mutex lock_;
    int threads_ = 0;
    Descriptor inhibitor_;
};

SleepInhibitor& SharedInhibitor() {
    static SleepInhibitor& sleepInhibitor =
        *new SleepInhibitor; // threads may outlive everything else
    return sleepInhibitor;
}

// The state that a thread has set; it ends with the thread.
struct ThreadState {
    ~ThreadState() { Set(0); }

    EXECUTION_STATE Set(EXECUTION_STATE wanted) {
        const EXECUTION_STATE before = requested;
        if (wanted && !requested)
            SharedInhibitor().Add();
        else if (!wanted && requested)
            SharedInhibitor().Remove();
        requested = wanted;
        return before;
    }

    EXECUTION_STATE requested = 0;
};

} // namespace

bool UnlessSystemRequired(const std::function<void()>& action) {
    return SharedInhibitor().Unless(action);
}

} // namespace platform

EXECUTION_STATE WINAPI SetThreadExecutionState(EXECUTION_STATE state) {
    thread_local platform::ThreadState thread;
    if (!(state & ES_CONTINUOUS)) // a single push to the idle timer: there is none to push here
        return thread.requested | ES_CONTINUOUS;
    return thread.Set(state & ES_SYSTEM_REQUIRED) | ES_CONTINUOUS;
}
