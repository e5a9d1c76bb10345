// Sockets of 127.0.0.1, for the RAPI library and the connection manager.
#pragma once

#include "simulator/registration.h"

// The sockets come first, as they replace an older header inside <windows.h>.
#include <winsock2.h>

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace loopback {

// The value with the connection manager's port, beside its version in the registry.
constexpr char PortValue[] = "RapiPort";

inline void StartSockets() {
    static const int started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    static_cast<void>(started); // a failure shows with the first socket
}

// Owns its socket, if it has one.
class Socket {
public:
    Socket() = default;
    explicit Socket(SOCKET socket) : socket_(socket) {}
    Socket(Socket&& other) noexcept : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(socket_, other.socket_);
        return *this;
    }
    ~Socket() {
        if (IsOpen())
            closesocket(socket_);
    }

    bool IsOpen() const { return socket_ != INVALID_SOCKET; }
    SOCKET Get() const { return socket_; }

    // All bytes, or false when the other side is gone. They wait as long as it takes: whoever is
    // at the other end of these sockets ends with the test.
    bool Send(const void* bytes, std::size_t count) const {
        return Move(send, static_cast<const char*>(bytes), count);
    }
    bool Receive(void* bytes, std::size_t count) const {
        return Move(recv, static_cast<char*>(bytes), count);
    }

private:
    template <class Function, class Byte>
    bool Move(Function* function, Byte* next, std::size_t count) const {
        while (count > 0) {
            const int part = function(socket_, next, static_cast<int>(count), 0);
            if (part <= 0)
                return false;
            next += part;
            count -= static_cast<std::size_t>(part);
        }
        return true;
    }

    SOCKET socket_ = INVALID_SOCKET;
};

inline sockaddr_in Address(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

// Not open where nobody listens.
inline Socket Connect(std::uint16_t port) {
    StartSockets();
    Socket socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    const sockaddr_in address = Address(port);
    if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        return Socket();
    return socket;
}

// 0 where there has been none. Its value stays behind one that was ended.
inline std::uint16_t ManagerPort() {
    DWORD port = 0, size = sizeof(port);
    RegGetValueA(HKEY_LOCAL_MACHINE, registration::SettingsKey, PortValue, RRF_RT_REG_DWORD,
                 nullptr, &port, &size);
    return static_cast<std::uint16_t>(port);
}

} // namespace loopback
