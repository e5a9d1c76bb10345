// The normal worker, and that of a resumed run, which has no handheld to ask: the record's values
// stand in for it.

#include "pages/transfer_threads.h"

#include "device/host_checks.h"
#include "frame/error_pages.h"
#include "frame/progress_bar.h"
#include "images/discovery.h"
#include "images/header.h"
#include "link/bootloader_transfer.h"
#include "link/receive.h"
#include "link/upgrade_transfer.h"
#include "state/state.h"

namespace {

constexpr DWORD PortReleaseMilliseconds = 5000; // ActiveSync has just been ended

bool SameText(const char* one, const char* other) { return lstrcmpiA(one, other) == 0; }

bool ImageIsForRecord() {
    if (!SameText(State.Handheld.DeviceModel, State.Image.ImageModel))
        State.Run.ModelMismatch = true;
    else if (!SameText(State.Handheld.DeviceLanguage, State.Image.ImageLanguage))
        State.Run.LanguageMismatch = true;
    else
        return true;
    CollapsePage(State.Windows.ProgressPage, false);
    ShowPage(IncompatibleImagePage);
    CloseMainWindow();
    return false;
}

} // namespace

namespace transfer {

DWORD WINAPI UpgradeThread(LPVOID) {
    BeginUpgradeTransfer();
    return 0;
}

DWORD WINAPI ResumeThread(LPVOID) {
    if (!ReadImageHeader(State.Paths.ImagePath) || !ImageIsForRecord())
        return 0;
    State.Image.ImageSizeKB = FindFolderImageSize() / 1024;
    ResetProgress(State.Image.ImageSizeKB << 10);
    Sleep(PortReleaseMilliseconds);
    ReadSerialPortName(State.Paths.SerialPortName);
    if (State.Run.BootloaderResume)
        BootloaderTransfer();
    else if (StartReceive())
        BeginUpgradeTransfer();
    return 0;
}

} // namespace transfer
