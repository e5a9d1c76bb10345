// Entry of the program. The exit code is always 0.

#include "frame/catalog.h"
#include "link/stall.h"
#include "state/state.h"
#include "wizard/main_window.h"

namespace {

// Libraries that Windows loads by name as the run goes on, for a file dialog, are not looked for in
// the working directory, a folder tree from a CD or a download. Windows can do so from XP with its
// first service pack on. What the wizard loads itself it loads by a full path.
void LeaveOutWorkingDirectory() {
    using Function = BOOL(WINAPI*)(LPCSTR);
    const HMODULE library = GetModuleHandleA("kernel32.dll");
    const FARPROC found = library ? GetProcAddress(library, "SetDllDirectoryA") : nullptr;
    if (found)
        reinterpret_cast<Function>(reinterpret_cast<void*>(found))("");
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int showCommand) {
    LeaveOutWorkingDirectory();
    RegisterMainClass(instance);
    LoadMessageCatalog();
    State.Run.SerialLinkSelected = true;
    if (!CreateMainWindow(instance, showCommand))
        return 0;
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    LeaveTransfer();
    return static_cast<int>(message.wParam);
}
