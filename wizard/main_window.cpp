// Start-up and end of the wizard.
//
// The chain runs inside WM_CREATE and ends by closing the window, so that the message loop of
// WinMain, which starts afterwards, finds the quit message at once. There is no stage in which a
// user could meet a bare main window.

#include "wizard/main_window.h"

#include "device/host_checks.h"
#include "frame/run_end.h"
#include "resources/resource.h"
#include "state/progress_record.h"
#include "state/state.h"
#include "wizard/chain.h"

#include <commctrl.h>

namespace {

constexpr char ClassName[] = "SETUP";

void LoadBanner() {
    State.Windows.ScreenDC = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    State.Windows.BannerDC = CreateCompatibleDC(State.Windows.ScreenDC);
    State.Windows.BannerBitmap =
        LoadBitmapA(State.Windows.AppInstance, MAKEINTRESOURCEA(IDB_BANNER));
    SelectObject(State.Windows.BannerDC, State.Windows.BannerBitmap);
}

void ReleaseBanner() {
    if (State.Windows.BannerDC)
        DeleteDC(State.Windows.BannerDC);
    if (State.Windows.ScreenDC)
        DeleteDC(State.Windows.ScreenDC);
    if (State.Windows.BannerBitmap)
        DeleteObject(State.Windows.BannerBitmap);
    State.Windows.BannerDC = State.Windows.ScreenDC = nullptr;
    State.Windows.BannerBitmap = nullptr;
}

void ReadPlaces() {
    char(&directory)[260] = State.Paths.AppDirectory;
    const DWORD length = GetCurrentDirectoryA(sizeof(directory), directory);
    if (length == 0 || length >= sizeof(directory))
        directory[0] = '\0'; // no file is looked for: it would be looked for in the root of a drive
    State.Run.ResumePending = ReadProgressRecord();
    if (!State.Run.ResumePending) {
        State.Run.SerialLinkSelected = true;
        ReadSerialPortName(State.Paths.SerialPortName);
    }
}

void RunWizard(HWND window) {
    if (IsWindows95())
        InitCommonControls();
    State.Windows.MainWindow = window;
    LoadBanner();
    ReadPlaces();
    RunChain();
}

} // namespace

void RegisterMainClass(HINSTANCE instance) {
    WNDCLASSEXA windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = MainWindowProc;
    windowClass.hInstance = instance;
    windowClass.hIcon = LoadIconA(instance, MAKEINTRESOURCEA(IDI_WIZARD));
    windowClass.hCursor = LoadCursorA(nullptr, MAKEINTRESOURCEA(32512)); // the arrow
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<UINT_PTR>(COLOR_WINDOW + 1));
    windowClass.lpszClassName = ClassName;
    RegisterClassExA(&windowClass);
}

bool CreateMainWindow(HINSTANCE instance, int showCommand) {
    State.Windows.AppInstance = instance;
    if (FindWindowA(ClassName, nullptr))
        return false;
    // The wizard runs inside this call; by the time it returns, the window has gone again.
    CreateWindowExA(0, ClassName, ClassName, WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                    instance, nullptr);
    if (!State.Windows.MainWindow)
        return false;
    ShowWindow(State.Windows.MainWindow, showCommand);
    UpdateWindow(State.Windows.MainWindow);
    return true;
}

LRESULT CALLBACK MainWindowProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_CREATE:
        RunWizard(window);
        return 0;
    case WM_CLOSE:
        return first != OwnClose && TransferRuns() ? 0
                                                   : DefWindowProcA(window, message, first, second);
    case WM_QUERYENDSESSION: // the user logs off, or the PC shuts down
        return TransferRuns() ? FALSE : DefWindowProcA(window, message, first, second);
    case WM_DESTROY:
        State.Run.RunEnded = State.Run.MainWindowGone = true;
        ReleaseBanner();
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcA(window, message, first, second);
    }
}
