// Why the PC should not be shut down now, for the user who tries. Windows from Vista on shows it
// beside the program's name; earlier ones have nowhere to show it, and there nothing happens.
#pragma once

#include <windows.h>

// On the page's own thread. Of the reason, text of the catalog, its first line counts.
void BlockShutdown(HWND page, const char* reason);

// The same thread, before the page has gone.
void UnblockShutdown(HWND page);
