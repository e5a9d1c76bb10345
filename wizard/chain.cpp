// The chain of pages, as straight-line logic that blocks in one page after the other.
//
// A step that fails shows its page and closes MainWindow where the failure is met; the chain stops
// there. Every return from WalkChain is an end of the run, so that no later page can come up.

#include "wizard/chain.h"

#include "device/host_checks.h"
#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "frame/waiting_pages.h"
#include "pages/decision_pages.h"
#include "pages/introduction_pages.h"
#include "pages/progress_pages.h"
#include "preparation/prepare.h"
#include "rapi/rapi.h"
#include "state/state.h"
#include "wizard/conclusion.h"
#include "wizard/connect.h"
#include "wizard/image_choice.h"

namespace {

bool PassIntroduction() {
    for (const Page* page :
         {&UpgradeNoticePage, &WelcomePage, &HostChecklistPage, &DeviceChecklistPage}) {
        if (ShowPage(*page) != IntroductionNext)
            return false;
    }
    return true;
}

// A handheld on its battery gets a warning; one whose power cannot be read ends the run.
bool PassPowerCheck() {
    CePowerStatus status = {};
    if (!CeGetSystemPowerStatusEx(&status, TRUE))
        return false;
    State.Handheld.PowerStatus = status.acLine;
    return status.acLine == 1 || ShowPage(PowerWarningPage) == IntroductionNext;
}

// A backup that failed has ended the run from its worker, after which the last page here does not
// come up: it is there for a worker that could not even start.
bool OfferBackup() {
    const INT_PTR choice = ShowPage(BackupChoicePage);
    if (choice != BackupChoiceFile)
        return choice == BackupChoiceNone;
    const bool saved = ShowPage(BackupPage) == BackupSaved;
    if (!saved)
        EndRun(BackupFailedPage);
    return saved;
}

bool ConfirmUpgrade() {
    return ShowPage(VersionConfirmPage) == ConfirmNext && OfferBackup() &&
           ShowPage(UpgradeReadyPage) == ConfirmNext;
}

void Prepare() {
    State.Run.UpgradeUnderway = true;
    State.Windows.PreparePage = OpenWaitingPage(PreparePage, State.Windows.MainWindow);
    PrepareDevice();
    EndWaitingPage(State.Windows.PreparePage);
}

void WalkChain() {
    if (!ActiveSyncVersionOk()) {
        EndRun(ActiveSyncVersionPage);
        return;
    }
    if (!State.Run.ResumePending && !PassIntroduction())
        return;
    State.RapiInit.size = sizeof(State.RapiInit);
    CeRapiInitEx(&State.RapiInit); // the event says whether a handheld answers
    if (!ConnectAndIdentify(State.Windows.MainWindow) || !PassPowerCheck())
        return;
    if (!VerifyOrReport() || !ChooseImage() || !ConfirmUpgrade())
        return;
    Prepare();
    if (State.Run.RunEnded)
        return;
    ConcludeTransfer(ShowPage(ProgressPage), RunKind::Normal);
}

} // namespace

void RunChain() {
    WalkChain();
    CloseMainWindow();
}
