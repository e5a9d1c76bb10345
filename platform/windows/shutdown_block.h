// Why the machine should not be shut down now: while a window gives its reason, the host's login
// manager refuses a shutdown with it, but for an administrator's. A program that is killed blocks
// nothing, and on a host without that manager the calls change nothing.
#pragma once

#include <windows.h>

namespace platform {

// As published for user32.dll: on the window's own thread, else ERROR_ACCESS_DENIED. Of several
// reasons of one window the last counts; it goes with the window at the latest.
BOOL WINAPI ShutdownBlockReasonCreate(HWND window, LPCWSTR reason);
BOOL WINAPI ShutdownBlockReasonDestroy(HWND window);

} // namespace platform
