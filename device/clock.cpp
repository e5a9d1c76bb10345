// Sending the PC's time to the handheld, the wizard's last use of RAPI. ActiveSync has just been
// started again; where its connection is not there in time every call fails, and the user sets the
// clock by hand.

#include "device/clock.h"

#include "device/file_copy.h"
#include "device/language_folder.h"
#include "device/wide_text.h"
#include "rapi/rapi.h"
#include "state/state.h"

namespace {

constexpr DWORD CopyBlock = 256; // bytes a read and a write

} // namespace

void SetDeviceClock() {
    if (InitRapi(&State.RapiInit) != 0)
        return;
    ClockRecord record = {};
    GetTimeZoneInformation(&record.zone);
    GetSystemTime(&record.time);
    // From the folder of the image's language, which need not be that of the handheld.
    char pcPath[MAX_PATH];
    if (TreeFilePath(State.Image.ImageLanguageName, "Clepsa.dll", pcPath) &&
        CopyClockLibrary(pcPath, "\\Windows\\Clepsa.dll"))
        CeRapiInvoke(u"Clepsa.dll", u"ClepsaSet", sizeof(record), &record);
    CeRapiUninit();
}

bool CopyClockLibrary(const char* pcPath, const char* devicePath) {
    char16_t path[DevicePathCapacity];
    return WidenText(devicePath, path) && CopyToDevice(pcPath, CopyBlock, [&path] {
               return CeCreateFile(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS,
                                   FILE_ATTRIBUTE_NORMAL);
           });
}
