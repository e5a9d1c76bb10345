// Progress beside the program's name in the task bar.
#pragma once

#include <windows.h>

// Of the page's window, 0 to 100. Any thread. Best effort: not every desktop has one. It goes with
// the page.
void ShowTaskBarProgress(HWND page, DWORD percentage);
