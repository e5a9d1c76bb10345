// Entry of the program. The exit code is always 0.

#include "frame/catalog.h"
#include "link/stall.h"
#include "state/state.h"
#include "wizard/main_window.h"

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int showCommand) {
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
