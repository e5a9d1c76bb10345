// The order of an end. RAPI goes first: the connection must be free while the user reads.

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
    State.Run.RunEndsItself = true;
    if (!State.Run.MainWindowGone)
        SendMessageA(State.Windows.MainWindow, WM_CLOSE, 0, 0);
}
