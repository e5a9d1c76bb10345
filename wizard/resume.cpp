// No handheld answers: either nothing is connected, or it waits for the rest of its ROM.
//
// The record stays in place through all of this and goes only when a transfer has finished, so
// that each failure can be tried again by starting the wizard once more.

#include "wizard/resume.h"

#include "device/activesync.h"
#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "pages/progress_pages.h"
#include "state/progress_record.h"
#include "state/state.h"
#include "wizard/conclusion.h"

void GoOnWithoutHandheld() {
    State.Run.ResumePending = ReadProgressRecord();
    if (!State.Run.ResumePending) {
        ShowPage(ConnectionErrorPage);
        LeaveRun();
        return;
    }
    StopActiveSync();
    ConcludeTransfer(ShowPage(ResumeProgressPage), RunKind::Resumed);
}
