// Overlapped calls of a receive loop on the link: each is started under LinkLock, so that it never
// meets a handle that a page has just closed, and waited for outside of it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>

// From now on a read of the port returns at once with what has arrived, which may be nothing. The
// limits of writes stay as they are.
void SetReadsToReturnAtOnce();

void SetLinkMask(DWORD mask);

// Waits for one of the masked events and gives those that happened; 0 when the wait failed or was
// ended by the closing of the port. `mask` receives the events and must live until the next
// SetLinkMask, which ends a wait that is still outstanding.
DWORD WaitForLinkEvent(OVERLAPPED* overlapped, DWORD* mask);

// Reads bytes that have arrived, at most as many as fit, and gives their number; 0 where there are
// none or the read failed.
DWORD ReadLink(std::span<std::uint8_t> bytes, OVERLAPPED* overlapped);

// A request to the USB serial driver. With a record it is awaited. False on failure.
bool RequestOfDriver(DWORD code, const DWORD* input, DWORD* output, OVERLAPPED* overlapped);
