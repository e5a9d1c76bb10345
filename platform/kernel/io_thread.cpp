// The I/O thread: waits with epoll, and calls the client of each descriptor that is ready.
//
// It sleeps in epoll_wait until a descriptor has something for it; a change of what is watched
// reaches it there without a wake-up call. A hang-up cannot be masked: a client that keeps a dead
// descriptor here makes the thread spin.

#include "platform/kernel/io_thread.h"

#include "platform/kernel/signals_blocked.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sys/epoll.h>

namespace platform {
namespace {

constexpr int EventsAtOnce = 8;

epoll_event EventFor(IoThread::Key key, std::uint32_t events) {
    epoll_event event = {};
    event.events = events;
    event.data.u64 = key;
    return event;
}

} // namespace

IoThread& IoThread::Instance() {
    static auto& instance = *new IoThread;
    return instance;
}

IoThread::IoThread() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
    if (!epoll_)
        throw std::system_error(errno, std::generic_category());
    const SignalsBlocked blocked;
    std::thread([this] { Run(); }).detach();
}

IoThread::Key IoThread::Add(int descriptor, std::weak_ptr<Client> client) {
    const std::lock_guard lock(lock_);
    const Key key = ++lastKey_;
    epoll_event event = EventFor(key, 0);
    if (epoll_ctl(epoll_.Number(), EPOLL_CTL_ADD, descriptor, &event) != 0)
        throw std::system_error(errno, std::generic_category());
    clients_.emplace(key, std::move(client));
    return key;
}

void IoThread::Watch(int descriptor, Key key, std::uint32_t events) {
    epoll_event event = EventFor(key, events);
    epoll_ctl(epoll_.Number(), EPOLL_CTL_MOD, descriptor, &event);
}

void IoThread::Remove(int descriptor, Key key) {
    epoll_ctl(epoll_.Number(), EPOLL_CTL_DEL, descriptor, nullptr);
    const std::lock_guard lock(lock_);
    clients_.erase(key);
}

void IoThread::Run() {
    std::array<epoll_event, EventsAtOnce> ready;
    for (;;) {
        const int count = epoll_wait(epoll_.Number(), ready.data(), EventsAtOnce, -1);
        for (int i = 0; i < count; ++i)
            Serve(ready[static_cast<std::size_t>(i)].data.u64,
                  ready[static_cast<std::size_t>(i)].events);
    }
}

void IoThread::Serve(Key key, std::uint32_t events) {
    std::shared_ptr<Client> client;
    {
        const std::lock_guard lock(lock_);
        const auto found = clients_.find(key);
        if (found != clients_.end())
            client = found->second.lock();
    }
    if (client)
        client->OnReady(events);
}

} // namespace platform
