// After a good transfer: what to do on the handheld, and the farewell.
//
// UpgradeDonePage is where the link ends in every good run. ActiveSync starts only when the user
// says that the steps are done; leaving by Escape leaves it stopped.

#include "pages/closing_pages.h"

#include "device/activesync.h"
#include "device/clock.h"
#include "device/language_folder.h"
#include "link/stall.h"
#include "resources/resource.h"
#include "state/handles.h"
#include "state/state.h"

#include <shellapi.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr PageText UpgradeDoneTexts[] = {
    {IDC_DONE_TEXT, IDS_UPGRADE_DONE},
    {IDC_DONE_STEPS, IDS_UPGRADE_DONE_STEPS},
    {IDC_DONE_HINT, IDS_NEXT_HINT},
    {IDC_NEXT, IDS_NEXT},
};

constexpr PageResult UpgradeDoneResults[] = {{IDC_NEXT, UpgradeDoneNext},
                                             {IDCANCEL, UpgradeDoneLeave}};
constexpr PagePicture UpgradeDonePictures[] = {{IDB_POWER_SWITCH, 282, 200}};

void EndTransfer(HWND) { TearDownTransfer(); }

bool HandBackToActiveSync(HWND, int command) {
    if (command == IDC_NEXT)
        StartActiveSync();
    return false;
}

constexpr PageText FinishTexts[] = {
    {IDC_FINISH_TEXT, IDS_FINISH_TEXT},
    {IDC_FINISH_README_TEXT, IDS_FINISH_README},
    {IDC_FINISH_NOTE, IDS_FINISH_NOTE},
    {IDC_FINISH_HINT, IDS_FINISH_HINT},
    {IDOK, IDS_FINISH},
};

constexpr PageResult FinishResults[] = {{IDOK, 0}, {IDCANCEL, 1}};
constexpr PageColour FinishColours[] = {{IDC_FINISH_NOTE, Colouring::RedText}};

void OfferReadme(HWND page) { CheckDlgButton(page, IDC_README, BST_CHECKED); }

constexpr char ReadmeProgram[] = "wordpad.exe";
constexpr char ReadmeProgramKey[] =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\WORDPAD.EXE";

bool FileExists(const char* path) {
    WIN32_FIND_DATAA found;
    return static_cast<bool>(OwnedSearch(FindFirstFileA(path, &found)));
}

// A full path out of a registered one, which may have quotation marks and names of variables.
bool ReadFullPath(const char* registered, char (&path)[MAX_PATH]) {
    char expanded[MAX_PATH];
    const DWORD length = ExpandEnvironmentStringsA(registered, expanded, MAX_PATH);
    if (length == 0 || length > MAX_PATH)
        return false;
    const char* begin = expanded + (expanded[0] == '"' ? 1 : 0);
    std::snprintf(path, MAX_PATH, "%.*s", static_cast<int>(std::strcspn(begin, "\"")), begin);
    return path[0] && std::strncmp(path + 1, ":\\", 2) == 0;
}

// Where Windows has the program registered, and the program is there.
bool FindRegisteredProgram(char (&path)[MAX_PATH]) {
    const OwnedKey key = OpenKey(HKEY_LOCAL_MACHINE, ReadmeProgramKey, KEY_QUERY_VALUE);
    char registered[MAX_PATH + 1] = {}; // a text may be stored without its terminator
    DWORD size = MAX_PATH;
    return key &&
           RegQueryValueExA(key.Get(), "", nullptr, nullptr, reinterpret_cast<BYTE*>(registered),
                            &size) == ERROR_SUCCESS &&
           ReadFullPath(registered, path) && FileExists(path);
}

// A program that is started by its name may be looked for in the working directories first. These
// are folders from a CD or a download, and a program of that name in one must not be run.
bool HidesInTree() {
    char path[MAX_PATH];
    const char* const folders[] = {State.Image.ImageLanguageName, "."};
    for (const char* folder : folders) {
        if (!TreeFilePath(folder, ReadmeProgram, path) || FileExists(path))
            return true;
    }
    return false;
}

// From the folder of the image's language. A readme that does not open passes without a word.
void OpenReadme() {
    if (!State.Paths.AppDirectory[0])
        return;
    char registered[MAX_PATH];
    const bool isRegistered = FindRegisteredProgram(registered);
    if (!isRegistered && HidesInTree())
        return;
    char folder[sizeof(State.Paths.AppDirectory) + sizeof(State.Image.ImageLanguageName)];
    std::snprintf(folder, sizeof(folder), "%s\\%s", State.Paths.AppDirectory,
                  State.Image.ImageLanguageName);
    SHELLEXECUTEINFOA program = {};
    program.cbSize = sizeof(program);
    program.fMask = SEE_MASK_NOCLOSEPROCESS;
    program.lpFile = isRegistered ? registered : ReadmeProgram;
    program.lpParameters = "readme.doc";
    program.lpDirectory = folder;
    program.nShow = SW_SHOWMAXIMIZED;
    ShellExecuteExA(&program);
    const OwnedObject process(program.hProcess);
}

// The clock is set on every way out.
bool LeaveFinishPage(HWND page, int command) {
    if (command == IDOK && IsDlgButtonChecked(page, IDC_README) == BST_CHECKED)
        OpenReadme();
    if (command == IDOK || command == IDCANCEL)
        SetDeviceClock();
    return false;
}

constexpr Page FinishPageOf(int dialog) {
    return {.dialog = dialog,
            .texts = FinishTexts,
            .results = FinishResults,
            .colours = FinishColours,
            .open = OfferReadme,
            .command = LeaveFinishPage};
}

// Two templates with the same controls, a unit or two apart.
constexpr Page UsbFinishPage = FinishPageOf(IDD_FINISH_USB);
constexpr Page SerialFinishPage = FinishPageOf(IDD_FINISH_SERIAL);

} // namespace

constinit const Page UpgradeDonePage = {.dialog = IDD_UPGRADE_DONE,
                                        .texts = UpgradeDoneTexts,
                                        .results = UpgradeDoneResults,
                                        .pictures = UpgradeDonePictures,
                                        .open = EndTransfer,
                                        .command = HandBackToActiveSync};

const Page& FinishPage() { return State.Run.SerialLinkSelected ? SerialFinishPage : UsbFinishPage; }
