// The event loop of a running handheld: descriptors and deadlines, with what to call when they are
// ready or due.
//
// Everything that the handheld does runs in its one thread, in sequence, so nothing is locked and
// the lines that it prints come in the order in which things happened. What is called must not
// block.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <utility>

namespace simulator {

using Clock = std::chrono::steady_clock; // monotonic, with nanoseconds

class EventLoop {
public:
    // Calls back whenever the descriptor is readable or its other end is gone. One at a time for
    // each descriptor; the caller keeps it open while it is watched.
    void Watch(int descriptor, std::function<void()> readable);
    // Instead of that, calls back whenever something can be written to it or its other end is gone.
    void WatchWritable(int descriptor, std::function<void()> writable);
    void Unwatch(int descriptor);

    // Calls back once, not before the instant. The number cancels it.
    using Timer = unsigned;
    Timer At(Clock::time_point when, std::function<void()> due);
    Timer After(Clock::duration delay, std::function<void()> due) {
        return At(Clock::now() + delay, std::move(due));
    }
    void Cancel(Timer timer);

    // Until Stop. Throws a Failure where the system refuses the wait.
    void Run();
    void Stop() { running_ = false; }

private:
    void RunTimers();
    void WaitOnce();

    struct Watched {
        short events; // as of poll
        std::function<void()> ready;
    };

    std::map<int, Watched> watched_;
    std::map<std::pair<Clock::time_point, Timer>, std::function<void()>> timers_;
    Timer lastTimer_ = 0;
    bool running_ = false;
};

} // namespace simulator
