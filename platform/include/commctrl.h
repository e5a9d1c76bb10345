// Common controls: the progress bar, with its messages as published. Its class is always there.
#pragma once

#define PROGRESS_CLASSA "msctls_progress32"
#define PROGRESS_CLASS PROGRESS_CLASSA
#define PBS_SMOOTH 0x01
#define PBS_VERTICAL 0x04

#ifndef RC_INVOKED
#include <winuser.h>

#define PBM_SETRANGE (WM_USER + 1)
#define PBM_SETPOS (WM_USER + 2)     // wParam: new position; gives the old one
#define PBM_SETRANGE32 (WM_USER + 6) // wParam: lowest, lParam: highest position
#define PBM_GETPOS (WM_USER + 8)

void WINAPI InitCommonControls();
#endif
