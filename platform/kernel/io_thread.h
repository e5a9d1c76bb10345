// The one thread that carries overlapped calls on, whatever the number of ports.
#pragma once

#include "platform/base/descriptor.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace platform {

class IoThread {
public:
    // Whoever has a descriptor watched. Called on the I/O thread with the epoll events that are
    // there; it may be called once more after it has been removed.
    class Client {
    public:
        virtual ~Client() = default;
        virtual void OnReady(std::uint32_t events) = 0;
    };
    // What a client is known by; no number is used twice.
    using Key = std::uint64_t;

    // Started on first use, and runs until the process ends: it holds nothing that has to be
    // released. Throws std::system_error where the host has no thread or descriptor left.
    static IoThread& Instance();

    // Watches for nothing but a hang-up until Watch says for what. Any thread may call these, the
    // client from OnReady too; the descriptor is removed before it is closed.
    Key Add(int descriptor, std::weak_ptr<Client> client);
    void Watch(int descriptor, Key key, std::uint32_t events);
    void Remove(int descriptor, Key key);

private:
    IoThread();
    [[noreturn]] void Run();
    void Serve(Key key, std::uint32_t events);

    Descriptor epoll_;
    std::mutex lock_;
    std::map<Key, std::weak_ptr<Client>> clients_;
    Key lastKey_ = 0;
};

} // namespace platform
