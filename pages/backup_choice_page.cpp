// The offer of a backup, and the two tests that a file must pass before a backup may start.
//
// Nothing is created or replaced here: an existing file that was accepted and then turned out to
// lie on a full drive is untouched.

#include "frame/catalog.h"
#include "frame/error_pages.h"
#include "pages/decision_pages.h"
#include "pages/duration_texts.h"
#include "pages/image_file_dialog.h"
#include "resources/resource.h"
#include "state/handles.h"
#include "state/state.h"

#include <cstdio>

namespace {

constexpr ULONGLONG SpaceForBackup = 0x1000000; // bytes, whatever the handheld's ROM measures

constexpr PageText BackupChoiceTexts[] = {
    {IDC_BACKUP_OFFER, 0},  {IDC_BACKUP_HINT, IDS_CANCEL_HINT},
    {IDC_SAVE, IDS_SAVE},   {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageResult BackupChoiceResults[] = {{IDOK, BackupChoiceNone},
                                              {IDCANCEL, BackupChoiceCancel}};

void SetOffer(HWND page) {
    SetDlgItemTextA(
        page, IDC_BACKUP_OFFER,
        CatalogText(DurationText(DurationFamily::BackupChoice, State.Run.SerialLinkSelected,
                                 State.Paths.LanguageFolder)));
}

// Asks about an existing file, with the page out of sight. On refusal the page is back.
bool MayWrite(HWND page, const char* path) {
    WIN32_FIND_DATAA found;
    if (!OwnedSearch(FindFirstFileA(path, &found)))
        return true;
    ShowWindow(page, SW_HIDE);
    if (ShowPage(FileExistsPage) != FileExistsChooseOther)
        return true;
    ShowWindow(page, SW_SHOW);
    return false;
}

// False when the user gives up; the page is then on the screen.
bool PickBackupFile(HWND page) {
    // "TOLKROM187" for version 1.87.
    const char* version = State.Handheld.DeviceVersionText;
    const char digits[] = {version[0], version[2], version[3], '\0'};
    std::snprintf(State.Paths.BackupPath, sizeof(State.Paths.BackupPath), "TOLKROM%s", digits);
    do {
        if (!AskForBackupFile(page, State.Paths.BackupPath))
            return false;
    } while (!MayWrite(page, State.Paths.BackupPath));
    return true;
}

// The first two characters are a drive and its colon. Where they are not, or the drive cannot
// be asked, the backup is tried: a file that cannot be written has a page of its own.
bool HasSpace(const char* path) {
    const char drive[] = {path[0], path[0] ? path[1] : '\0', '\0'};
    ULARGE_INTEGER available = {};
    if (!GetDiskFreeSpaceExA(drive, &available, nullptr, nullptr))
        return true;
    return available.QuadPart >= SpaceForBackup;
}

bool HandleBackupCommand(HWND page, int command) {
    if (command != IDC_SAVE)
        return false;
    if (!PickBackupFile(page))
        return true;
    if (HasSpace(State.Paths.BackupPath)) {
        EndDialog(page, BackupChoiceFile);
        return true;
    }
    ShowWindow(page, SW_HIDE);
    ShowPage(BackupSpaceErrorPage);
    ShowWindow(page, SW_SHOW);
    return true;
}

} // namespace

constinit const Page BackupChoicePage = {.dialog = IDD_BACKUP_CHOICE,
                                         .texts = BackupChoiceTexts,
                                         .results = BackupChoiceResults,
                                         .open = SetOffer,
                                         .command = HandleBackupCommand};
