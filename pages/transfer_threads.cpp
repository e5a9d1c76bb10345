// The normal worker; that of a resumed run, which has no handheld to ask, so that the record's
// values stand in for it; and that of a backup.

#include "pages/transfer_threads.h"

#include "device/host_checks.h"
#include "frame/error_pages.h"
#include "frame/progress_bar.h"
#include "frame/run_end.h"
#include "images/discovery.h"
#include "link/backup_transfer.h"
#include "link/bootloader_transfer.h"
#include "link/receive.h"
#include "link/upgrade_transfer.h"
#include "pages/image_steps.h"
#include "pages/progress_pages.h"
#include "state/state.h"

namespace {

constexpr DWORD PortReleaseMilliseconds = 5000; // ActiveSync has just been ended

} // namespace

namespace transfer {

DWORD WINAPI UpgradeThread(LPVOID) {
    BeginUpgradeTransfer();
    return 0;
}

DWORD WINAPI ResumeThread(LPVOID) {
    if (!ReadImageHeader(State.Paths.ImagePath) || !CheckImageIsForHandheld())
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

DWORD WINAPI BackupThread(LPVOID) {
    switch (SaveRom()) {
    case BackupOutcome::Saved:
        State.Run.BackupDone = true;
        EndDialog(State.Windows.BackupPage, BackupSaved);
        break;
    case BackupOutcome::ProgramDidNotStart:
        EndRun(RemoteProgramErrorPage, {.uninitRapi = true});
        break;
    case BackupOutcome::FileNotCreated:
        EndRun(ImageOpenErrorPage);
        break;
    case BackupOutcome::Failed:
        EndRun(BackupFailedPage);
        break;
    }
    return 0;
}

} // namespace transfer
