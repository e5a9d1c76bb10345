// The end of a run, in its order. RAPI goes first, since the page stays until the user leaves it.

#include "frame/run_end.h"

#include "rapi/rapi.h"
#include "state/state.h"

void EndRun(const Page& page, RunEnd how) {
    if (how.uninitRapi)
        CeRapiUninit();
    CollapsePage(State.Windows.ProgressPage, how.repaint);
    CollapsePage(State.Windows.BackupPage, how.repaint);
    ShowPage(page);
    CloseMainWindow();
}

void LeaveRun() {
    CeRapiUninit();
    CloseMainWindow();
}

void CloseMainWindow() {
    if (!State.Run.MainWindowGone)
        SendMessageA(State.Windows.MainWindow, WM_CLOSE, OwnClose, 0);
}

void PostCloseMainWindow() {
    State.Run.RunEnded = true;
    if (!State.Run.MainWindowGone)
        PostMessageA(State.Windows.MainWindow, WM_CLOSE, OwnClose, 0);
}

bool TransferRuns() { return State.Windows.ProgressPage || State.Windows.BackupPage; }
