// Finding ActiveSync and ending it, and starting it again. ActiveSync cannot be asked to stop, so
// it is found by the titles of its windows and its process ended. A process number is reused by the
// system as soon as its process has gone; the window is therefore looked at again once its process
// is held open, so that nobody else is ended.

#include "device/activesync.h"

#include "state/handles.h"
#include "state/state.h"

namespace {

constexpr char PathKey[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\WCESCOMM.EXE";
constexpr DWORD PathCapacity = 256; // bytes
// All access as Windows XP and its forerunners know it. The headers' constant is that of later
// systems, which these refuse.
constexpr DWORD ProcessAllAccess = 0x1F0FFF;
constexpr int TitleCapacity = 100; // characters; a longer title is cut

// The list changes while it is walked and could lead in a circle. No session holds more windows.
constexpr int MaxWindows = 0x10000;

bool HasTitle(HWND window, const char* title) {
    char text[TitleCapacity] = {};
    GetWindowTextA(window, text, TitleCapacity);
    return lstrcmpiA(text, title) == 0;
}

DWORD ProcessOf(HWND window) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process;
}

void EndProcessOfWindow(HWND window, const char* title) {
    const DWORD id = ProcessOf(window);
    const OwnedObject process(id ? OpenProcess(ProcessAllAccess, FALSE, id) : nullptr);
    if (process && ProcessOf(window) == id && HasTitle(window, title))
        TerminateProcess(process.Get(), 0);
}

// The first window below MainWindow with that title, of those without a parent.
void EndWindowProcess(const char* title) {
    HWND window = GetWindow(State.Windows.MainWindow, GW_HWNDNEXT);
    for (int visited = 0; window && visited < MaxWindows; ++visited) {
        if (!GetParent(window) && HasTitle(window, title)) {
            EndProcessOfWindow(window, title);
            return;
        }
        window = GetWindow(window, GW_HWNDNEXT);
    }
}

bool ReadActiveSyncPath(char (&path)[PathCapacity + 1]) {
    const OwnedKey key = OpenKey(HKEY_LOCAL_MACHINE, PathKey, KEY_READ);
    DWORD size = PathCapacity;
    return key && RegQueryValueExA(key.Get(), "", nullptr, nullptr, reinterpret_cast<BYTE*>(path),
                                   &size) == ERROR_SUCCESS;
}

} // namespace

void StopActiveSync() {
    for (const char* title : {"DccMan", "WCES Manager Thunk Window"})
        EndWindowProcess(title);
}

void StartActiveSync() {
    char path[PathCapacity + 1] = {};
    if (!ReadActiveSyncPath(path))
        return;
    char commandLine[] = "";
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOW;
    PROCESS_INFORMATION process = {};
    if (CreateProcessA(path, commandLine, nullptr, nullptr, FALSE, CREATE_NEW_CONSOLE, nullptr,
                       nullptr, &startup, &process)) {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
}
