// The workers that the pages of a transfer start. Each does the whole work of its page and ends the
// page, or shows why it could not and ends the run.
#pragma once

#include <windows.h>

// A namespace of their own, since Windows has a ResumeThread too.
namespace transfer {

DWORD WINAPI UpgradeThread(LPVOID); // of ProgressPage; the link is open already
DWORD WINAPI ResumeThread(LPVOID); // of ResumeProgressPage: checks the image, opens the link, sends
DWORD WINAPI BackupThread(LPVOID); // of BackupPage: sets BackupDone and ends it with BackupSaved

} // namespace transfer
