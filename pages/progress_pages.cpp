// The page of a running transfer: it starts the worker, which does everything else.
//
// The page publishes itself before the worker starts, since the worker ends it. Nothing that the
// user does ends it: an upgrade that is broken off leaves a handheld without a system, and a
// backup a file that does not verify.

#include "pages/progress_pages.h"

#include "frame/catalog.h"
#include "frame/shutdown_block.h"
#include "link/stall.h"
#include "pages/duration_texts.h"
#include "pages/transfer_threads.h"
#include "resources/resource.h"
#include "state/handles.h"
#include "state/state.h"

#include <atomic>

namespace {

constexpr PageText ProgressTexts[] = {{IDC_PROGRESS_TEXT, IDS_UPGRADING},
                                      {IDC_PROGRESS_WARNING, IDS_KEEP_CONNECTED},
                                      {IDC_PROGRESS_DURATION, 0}};
constexpr PageColour ProgressColours[] = {{IDC_PROGRESS_WARNING, Colouring::RedText}};

constexpr PageText BackupTexts[] = {{IDC_BACKUP_TEXT, 0}};

void SetDuration(HWND page, bool serialLink) {
    SetDlgItemTextA(page, IDC_PROGRESS_DURATION,
                    CatalogText(DurationText(DurationFamily::Progress, serialLink,
                                             State.Paths.LanguageFolder)));
}

// `work` is the page's own text for what it does. `published` is the record's handle of this page.
// Without a worker the page ends with `failure`: nobody else would ever end it.
void StartWorker(HWND page, const char* work, std::atomic<HWND>& published,
                 DWORD(WINAPI* worker)(LPVOID), INT_PTR failure) {
    // A PC that falls asleep or is shut down breaks the transfer off.
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    BlockShutdown(page, work);
    State.Windows.ProgressBar = GetDlgItem(page, IDC_PROGRESS);
    published = page;
    if (!OwnedObject(CreateThread(nullptr, 0, worker, nullptr, 0, nullptr)))
        EndDialog(page, failure);
}

void WithdrawPage(std::atomic<HWND>& published) {
    UnblockShutdown(published);
    SetThreadExecutionState(ES_CONTINUOUS);
    State.Windows.ProgressBar = nullptr;
    published = nullptr;
}

void OpenProgress(HWND page) {
    SetDuration(page, State.Run.SerialLinkSelected);
    StartWorker(page, CatalogText(IDS_UPGRADING), State.Windows.ProgressPage,
                transfer::UpgradeThread, TransferStalled);
}

// The bootloader is always reached over the serial port.
void OpenResumeProgress(HWND page) {
    State.Run.BusyCursor = true;
    SetDuration(page, State.Run.SerialLinkSelected || State.Run.BootloaderResume);
    StartWorker(page, CatalogText(IDS_UPGRADING), State.Windows.ProgressPage,
                transfer::ResumeThread, TransferStalled);
}

void OpenBackup(HWND page) {
    const char* text = CatalogText(DurationText(
        DurationFamily::Backup, State.Run.SerialLinkSelected, State.Paths.LanguageFolder));
    SetDlgItemTextA(page, IDC_BACKUP_TEXT, text);
    StartWorker(page, text, State.Windows.BackupPage, transfer::BackupThread, BackupNotStarted);
}

bool IgnoreCommand(HWND, int) { return true; }

// The user logs off, or the PC shuts down: not now.
bool RefuseEndOfSession(HWND page, INT_PTR* answer) {
    SetWindowLongPtrA(page, DWLP_MSGRESULT, FALSE);
    *answer = TRUE;
    return true;
}

// The messages of both pages of an upgrade.
bool ProgressPageProc(HWND page, UINT message, WPARAM first, LPARAM second, INT_PTR* answer) {
    *answer = TRUE;
    switch (message) {
    case WM_SETCURSOR:
        SetCursor(LoadCursorA(nullptr, State.Run.BusyCursor ? IDC_WAIT : IDC_ARROW));
        SetWindowLongPtrA(page, DWLP_MSGRESULT, TRUE); // keeps the platform from setting its own
        return true;
    case StallTimerMessage:
        SetStallTimer(page, first, static_cast<DWORD>(second));
        return true;
    case WM_TIMER:
        EndStalledTransfer(page, first);
        return true;
    case WM_QUERYENDSESSION:
        return RefuseEndOfSession(page, answer);
    case WM_DESTROY:
        WithdrawPage(State.Windows.ProgressPage);
        return false;
    default:
        return false;
    }
}

bool BackupPageProc(HWND page, UINT message, WPARAM, LPARAM, INT_PTR* answer) {
    if (message == WM_QUERYENDSESSION)
        return RefuseEndOfSession(page, answer);
    if (message == WM_DESTROY)
        WithdrawPage(State.Windows.BackupPage);
    return false;
}

} // namespace

constinit const Page ProgressPage = {.dialog = IDD_PROGRESS,
                                     .texts = ProgressTexts,
                                     .results = {},
                                     .colours = ProgressColours,
                                     .hasTitle = false,
                                     .open = OpenProgress,
                                     .command = IgnoreCommand,
                                     .message = ProgressPageProc};
constinit const Page ResumeProgressPage = {.dialog = IDD_PROGRESS,
                                           .texts = ProgressTexts,
                                           .results = {},
                                           .colours = ProgressColours,
                                           .hasTitle = false,
                                           .open = OpenResumeProgress,
                                           .command = IgnoreCommand,
                                           .message = ProgressPageProc};
constinit const Page BackupPage = {.dialog = IDD_BACKUP,
                                   .texts = BackupTexts,
                                   .results = {},
                                   .hasTitle = false,
                                   .open = OpenBackup,
                                   .command = IgnoreCommand,
                                   .message = BackupPageProc};
