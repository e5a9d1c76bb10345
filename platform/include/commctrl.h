// Common controls: the progress bar, with its messages as published. Its class is always there.
#pragma once

#define PROGRESS_CLASSA "msctls_progress32"

#ifndef RC_INVOKED
#include <winuser.h>

#define PBM_SETPOS (WM_USER + 2)     // wParam: new position; gives the old one
#define PBM_SETRANGE32 (WM_USER + 6) // wParam: lowest, lParam: highest position
#define PBM_GETPOS (WM_USER + 8)

void WINAPI InitCommonControls();
#endif
