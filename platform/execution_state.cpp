// SetThreadExecutionState: while a thread asks for it, the machine neither sleeps nor idles.
//
// The host's login manager keeps it awake for as long as a descriptor that it has given is open
// (org.freedesktop.login1, Inhibit), so a program that is killed holds nothing back. A host without
// it goes on as it is: the wizard cannot help that.

#include "platform/execution_state.h"

#include "platform/descriptor.h"
#include "platform/text.h"

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

// Empty where nobody gives one.
Descriptor TakeInhibitor() {
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

// Of all threads together: the first one takes the inhibitor, the last one gives it back.
class Wakefulness {
public:
    void Add() {
        const std::lock_guard lock(lock_);
        if (threads_++ == 0)
            inhibitor_ = TakeInhibitor();
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

Wakefulness& TheWakefulness() {
    static Wakefulness& wakefulness = *new Wakefulness; // threads may outlive everything else
    return wakefulness;
}

// What a thread has asked for; it ends with the thread.
struct ThreadState {
    ~ThreadState() { Ask(0); }

    EXECUTION_STATE Ask(EXECUTION_STATE wanted) {
        const EXECUTION_STATE before = asked;
        if (wanted && !asked)
            TheWakefulness().Add();
        else if (!wanted && asked)
            TheWakefulness().Remove();
        asked = wanted;
        return before;
    }

    EXECUTION_STATE asked = 0;
};

} // namespace

bool UnlessSystemRequired(const std::function<void()>& action) {
    return TheWakefulness().Unless(action);
}

} // namespace platform

EXECUTION_STATE WINAPI SetThreadExecutionState(EXECUTION_STATE state) {
    thread_local platform::ThreadState thread;
    if (!(state & ES_CONTINUOUS)) // a single push to the idle timer: there is none to push here
        return thread.asked | ES_CONTINUOUS;
    return thread.Ask(state & ES_SYSTEM_REQUIRED) | ES_CONTINUOUS;
}
