// Waiting for the handheld, the choice of the link, and what the handheld is.
//
// An earlier interrupted upgrade is forgotten only once the user has chosen a link: a user who
// leaves before that can still resume.

#include "wizard/connect.h"

#include "device/identity.h"
#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "frame/waiting_pages.h"
#include "images/discovery.h"
#include "pages/decision_pages.h"
#include "pages/image_steps.h"
#include "state/progress_record.h"
#include "state/state.h"
#include "wizard/resume.h"

namespace {

constexpr DWORD AnswerMilliseconds = 3000;

void OpenBusyPage(HWND owner) { State.Windows.BusyPage = OpenWaitingPage(BusyPage, owner); }

void EndBusyPage() { EndWaitingPage(State.Windows.BusyPage); }

bool Identify(HWND owner) {
    OpenBusyPage(owner);
    DeleteProgressRecord();
    const bool identified = ReadAssetData();
    if (identified)
        ChooseLanguageFolder();
    EndBusyPage();
    if (!identified)
        EndRun(RemoteProgramErrorPage, {.uninitRapi = true});
    return identified;
}

} // namespace

bool ConnectAndIdentify(HWND owner) {
    OpenBusyPage(owner);
    if (WaitForSingleObject(RapiEvent(State.RapiInit), AnswerMilliseconds) == WAIT_TIMEOUT) {
        CollapsePage(State.Windows.BusyPage, true);
        EndBusyPage();
        GoOnWithoutHandheld();
        return false;
    }
    EndBusyPage();
    if (ShowPage(ConnectionTypePage) != ConnectionTypeNext) {
        LeaveRun();
        return false;
    }
    return Identify(owner) && FindDefaultImage() && ReadImageHeader(State.Paths.ImagePath);
}
