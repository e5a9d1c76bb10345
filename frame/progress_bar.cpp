// Moving the bar of a transfer page. Of ProgressPage and BackupPage only one exists at a time; both
// have the same two controls.

#include "frame/progress_bar.h"

#include "frame/task_bar.h"
#include "resources/resource.h"
#include "state/state.h"

#include <commctrl.h>

#include <cstdint>

namespace {

HWND RunningPage() {
    const HWND page = State.Windows.ProgressPage;
    return page ? page : State.Windows.BackupPage.load();
}

LRESULT SendToBar(UINT message, WPARAM first, LPARAM second) {
    return SendMessageA(State.Windows.ProgressBar, message, first, second);
}

} // namespace

void ResetProgress(DWORD range) {
    SendToBar(PBM_SETRANGE32, 0, static_cast<LPARAM>(range));
    SendToBar(PBM_SETPOS, 0, 0);
    ShowPercentage(0);
}

void AdvanceProgress(DWORD bytes, DWORD whole) {
    const auto before = static_cast<DWORD>(SendToBar(PBM_GETPOS, 0, 0));
    SendToBar(PBM_SETPOS, before + bytes, 0);
    // Asked again, since a bar does not go beyond its range.
    const auto position = static_cast<std::uint64_t>(SendToBar(PBM_GETPOS, 0, 0));
    if (whole != 0)
        ShowPercentage(static_cast<DWORD>(position * 100 / whole));
}

void ShowPercentage(DWORD percentage) {
    SetDlgItemInt(RunningPage(), IDC_PERCENT, static_cast<UINT>(percentage), FALSE);
    ShowTaskBarProgress(RunningPage(), percentage);
}
