// The workers that ProgressPage starts. Each does all the sending of one run and ends.
#pragma once

#include <windows.h>

// A namespace of their own, since Windows has a ResumeThread too.
namespace transfer {

DWORD WINAPI UpgradeThread(LPVOID); // the link is open already
DWORD WINAPI ResumeThread(LPVOID);  // a resumed run: checks the image, opens the link, sends

} // namespace transfer
