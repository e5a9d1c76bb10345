// Which process a number means: Linux reuses the numbers of ended processes, so a number alone may
// name another one. A number together with the instant at which its process started never does.
#pragma once

#include <windef.h>

#include <cstdint>

namespace platform {

// When the process started, in the host's clock ticks since boot; 0 where no such process lives.
// A process that has ended and only waits for its parent does not live.
std::uint64_t ProcessStartTime(DWORD processId);

// Whether the process that started then under this number still lives.
bool ProcessIsAlive(DWORD processId, std::uint64_t startTime);

// For a number that was read from a record: from now on OpenProcess opens this number only where
// it still means the process that started then. Any thread.
void ExpectProcess(DWORD processId, std::uint64_t startTime);

// The start time that ExpectProcess has for the number; 0 where it has none.
std::uint64_t ExpectedStartTime(DWORD processId);

} // namespace platform
