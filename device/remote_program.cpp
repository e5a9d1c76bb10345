// Starting the device-side helpers, with their start record. The flasher is started without one, by
// the step that hands over to it.

#include "device/remote_program.h"

#include "rapi/rapi.h"

bool StartRemoteProgram(const char16_t* path) {
    CeStartupInfo startup = {};
    startup.size = sizeof(startup);
    startup.flags = STARTF_USESHOWWINDOW;
    startup.showMode = SW_SHOW;
    CeProcessInformation process = {};
    return CeCreateProcess(path, u"", &startup, &process) != 0;
}
