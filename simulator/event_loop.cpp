// Waits for descriptors and deadlines with ppoll, and calls what is due.

#include "simulator/event_loop.h"

#include "simulator/host_files.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <vector>

#include <poll.h>

namespace simulator {

void EventLoop::Watch(int descriptor, std::function<void()> readable) {
    watched_[descriptor] = {POLLIN, std::move(readable)};
}

void EventLoop::WatchWritable(int descriptor, std::function<void()> writable) {
    watched_[descriptor] = {POLLOUT, std::move(writable)};
}

void EventLoop::Unwatch(int descriptor) { watched_.erase(descriptor); }

EventLoop::Timer EventLoop::At(Clock::time_point when, std::function<void()> due) {
    timers_[{when, ++lastTimer_}] = std::move(due);
    return lastTimer_;
}

void EventLoop::Cancel(Timer timer) {
    std::erase_if(timers_, [timer](const auto& entry) { return entry.first.second == timer; });
}

void EventLoop::Run() {
    running_ = true;
    while (running_) {
        RunTimers();
        if (running_)
            WaitOnce();
    }
}

void EventLoop::RunTimers() {
    while (running_ && !timers_.empty() && timers_.begin()->first.first <= Clock::now()) {
        const auto due = std::move(timers_.begin()->second);
        timers_.erase(timers_.begin());
        due();
    }
}

void EventLoop::WaitOnce() {
    std::vector<pollfd> descriptors;
    for (const auto& [descriptor, watched] : watched_)
        descriptors.push_back({descriptor, watched.events, 0});
    timespec limit = {};
    if (!timers_.empty()) {
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::max(timers_.begin()->first.first - Clock::now(), Clock::duration::zero()));
        limit.tv_sec = static_cast<std::time_t>(left.count() / 1000000000);
        limit.tv_nsec = static_cast<long>(left.count() % 1000000000);
    }
    // poll counts in milliseconds, which is ten bytes at 115200 baud.
    const int count =
        ppoll(descriptors.data(), descriptors.size(), timers_.empty() ? nullptr : &limit, nullptr);
    if (count < 0 && errno != EINTR)
        FailOn("poll", "the handheld's descriptors");
    for (const pollfd& descriptor : descriptors) {
        if (count <= 0 || descriptor.revents == 0)
            continue;
        // What ran before may have ended this watch, and the watch may end itself.
        const auto found = watched_.find(descriptor.fd);
        if (found == watched_.end())
            continue;
        const auto ready = found->second.ready;
        ready();
    }
}

} // namespace simulator
