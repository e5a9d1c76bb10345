// From the first word with the handheld to the image that suits it.
#pragma once

#include <windows.h>

// True when the device is identified and the default image found; false when the run is over and
// the chain has only to end. Without a handheld the interrupted upgrade is resumed in here.
bool ConnectAndIdentify(HWND owner);
