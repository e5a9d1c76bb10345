// Owner of one handle of Windows: an event, a thread, a port.
#pragma once

// The sockets come first, as they replace an older header inside <windows.h>.
#include <winsock2.h>

#include <windows.h>

#include <memory>

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;
