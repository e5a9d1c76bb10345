// Locks a file with flock, within a limit of time.

#include "platform/base/file_lock.h"

#include <cerrno>
#include <thread>

#include <sys/file.h>

namespace platform {

int LockWithin(std::chrono::steady_clock::duration limit, const Descriptor& file) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (flock(file.Number(), LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (error != EWOULDBLOCK && error != EINTR)
            return error;
        if (std::chrono::steady_clock::now() >= end)
            return EWOULDBLOCK;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return 0;
}

} // namespace platform
