// The sequence of the preparation, best effort up to the start of the flasher.
//
// That start is judged by the last error alone. The listing of the folder leaves it at "no more
// files", a start that succeeds clears it, and one that fails leaves it: nothing between the two
// may make a call on the PC that fails. A folder that cannot be listed ends the preparation without
// a word, and the transfer that follows finds a silent handheld.

#include "preparation/prepare.h"

#include "device/activesync.h"
#include "device/language_folder.h"
#include "device/remote_files.h"
#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "link/receive.h"
#include "preparation/device_changes.h"
#include "rapi/rapi.h"
#include "state/progress_record.h"
#include "state/state.h"

namespace {

constexpr DWORD HandOverMilliseconds = 3000; // until ActiveSync's end has freed the port

// What differs between the two links.
struct Flasher {
    const char* file;       // the flasher's half for the link, beside the program
    const char* devicePath; // where it goes
    const char16_t* commandLine;
};

constexpr Flasher SerialFlasher = {"harbel_line.nb", "\\Temp\\harbel_line.nb", u"\u0001 U"};
constexpr Flasher UsbFlasher = {"harbel_bus.nb", "\\Temp\\harbel_bus.nb", u"\u0002 U"};

// Removes what an earlier run has left and pushes the two files of the selected link, in the order
// of the listing. False when the folder cannot be listed.
bool PushFlasher(const Flasher& flasher) {
    DeleteDeviceFile(flasher.devicePath);
    DeleteDeviceFile("\\Temp\\Harbel_Link.exe");
    return ForEachFolderFile([&flasher](const WIN32_FIND_DATAA& entry) {
        const char* name = entry.cFileName;
        if (lstrcmpiA(name, "Harbel_Link.exe") == 0 || lstrcmpiA(name, flasher.file) == 0)
            PushListedFile(name, name); // a failure shows at the start, or as silence
        return true;
    });
}

bool StartFlasher(const Flasher& flasher) {
    CeProcessInformation process = {};
    CeCreateProcess(u"\\Temp\\Harbel_Link.exe", flasher.commandLine, nullptr, &process);
    return GetLastError() != ERROR_NO_MORE_FILES;
}

// From the record on, an upgrade that breaks off counts as one to resume.
void HandOver() {
    WriteProgressRecord();
    StopActiveSync();
    CeRapiUninit();
    Sleep(HandOverMilliseconds);
    StartReceive(); // a port that does not open has ended the run
}

} // namespace

void PrepareDevice() {
    if (!State.Run.UpgradeUnderway)
        return;
    const Flasher& flasher = State.Run.SerialLinkSelected ? SerialFlasher : UsbFlasher;
    if (!PushFlasher(flasher))
        return;
    ChangeDevice();
    if (StartFlasher(flasher))
        HandOver();
    else
        EndRun(RemoteProgramErrorPage, {.uninitRapi = true});
}
