// The lock by which processes take turns at a file of the home folder.
#pragma once

#include "platform/base/descriptor.h"

#include <chrono>

namespace platform {

constexpr auto MaxLockWait = std::chrono::seconds(10);

// Locks the open file against all who open it themselves, other threads included, until the
// descriptor is closed. It tries again and again rather than wait in the lock itself, so that a
// process that was stopped with it cannot block this one for ever. 0, or an errno of the host:
// EWOULDBLOCK where somebody has kept it for so long.
int LockWithin(std::chrono::steady_clock::duration limit, const Descriptor& file);

} // namespace platform
