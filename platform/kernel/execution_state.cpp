// SetThreadExecutionState: while a thread asks for it, the machine neither sleeps nor idles.
//
// The host's login manager keeps it awake for as long as a descriptor of its own is open here
// (org.freedesktop.login1, Inhibit), so a program that is killed keeps nothing awake. On a host
// without that manager the calls change nothing.

#include "platform/kernel/execution_state.h"

#include "platform/base/descriptor.h"

#include <windows.h>

#include <systemd/sd-bus.h>

#include <errno.h>
#include <fcntl.h>

#include <memory>
#include <mutex>

namespace platform {

namespace {

constexpr std::uint64_t AnswerMicroseconds = 2'000'000; // a page waits for it

struct BusEnd {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct MessageEnd {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

// None where the login manager does not answer or refuses.
Descriptor RequestInhibitor() {
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0)
        return {};
    const std::unique_ptr<sd_bus, BusEnd> bus(opened);
    sd_bus_set_method_call_timeout(bus.get(), AnswerMicroseconds);
    sd_bus_message* answered = nullptr;
    const int result = sd_bus_call_method(
        bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
        "org.freedesktop.login1.Manager", "Inhibit", nullptr, &answered, "ssss", "sleep:idle",
        program_invocation_short_name, "work that must not be interrupted", "block");
    const std::unique_ptr<sd_bus_message, MessageEnd> answer(answered);
    int inhibitor = -1; // belongs to the message
    if (result < 0 || sd_bus_message_read(answer.get(), "h", &inhibitor) < 0)
        return {};
    return Descriptor(fcntl(inhibitor, F_DUPFD_CLOEXEC, 0));
}

// Of all threads together: the first one opens the inhibitor, the last one closes it.
class SleepInhibitor {
public:
    void Add() {
        const std::lock_guard lock(lock_);
        if (threads_++ == 0)
            inhibitor_ = RequestInhibitor();
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
