// Owner of one handle of Windows: an event, a thread, a port.
#pragma once

// The sockets come first, as they replace an older header inside <windows.h>.
#include <winsock2.h>

#include <windows.h>

#include <utility>

class Handle {
public:
    Handle() = default;
    // Empty for what a call gives when it fails: null or INVALID_HANDLE_VALUE.
    explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() {
        if (handle_)
            CloseHandle(handle_);
    }

    HANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

private:
    HANDLE handle_ = nullptr;
};
