// The window of the wizard's own class: an invisible shell within whose creation the whole chain
// of pages runs.
#pragma once

#include <windows.h>

void RegisterMainClass(HINSTANCE instance);

// True when the message loop is to run; false when the program is to end, which is what a second
// start does while a wizard runs.
bool CreateMainWindow(HINSTANCE instance, int showCommand);

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM first, LPARAM second);
