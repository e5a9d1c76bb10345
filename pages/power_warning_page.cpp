// The page that waits for the power adapter: its Next button follows what the handheld reports.
//
// The watch outlives its page: it goes on until a transfer stops, and finds no page to work on.
// A reading that fails changes nothing, and at the button counts as power present: a handheld that
// has dropped its connection must not lock the user in.

#include "pages/introduction_pages.h"
#include "rapi/rapi.h"
#include "resources/resource.h"
#include "state/handles.h"
#include "state/state.h"

#include <optional>

namespace {

constexpr DWORD WatchMilliseconds = 100;
constexpr std::uint8_t ExternalPower = 1;

constexpr PageText PowerWarningTexts[] = {
    {IDC_POWER_HEADING, IDS_WARNING_111_HEADING, TextMark::Heading},
    {IDC_POWER_TEXT, IDS_WARNING_111_TEXT},
    {IDC_POWER_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageResult PowerWarningResults[] = {{IDOK, IntroductionNext},
                                              {IDCANCEL, IntroductionCancel}};

// Whether the adapter is in; nothing when the handheld does not answer.
std::optional<bool> ReadPower() {
    CePowerStatus status = {};
    if (!CeGetSystemPowerStatusEx(&status, TRUE))
        return std::nullopt;
    State.Handheld.PowerStatus = status.acLine;
    return status.acLine == ExternalPower;
}

DWORD WINAPI PowerWatchThread(LPVOID) {
    while (!State.Link.StopReceive && !State.Run.RunEnded) {
        Sleep(WatchMilliseconds);
        const std::optional<bool> powered = ReadPower();
        const HWND page = State.Windows.PowerWarningPage;
        if (powered && page)
            EnableWindow(GetDlgItem(page, IDOK), *powered ? TRUE : FALSE);
    }
    return 0;
}

void StartPowerWatch(HWND page) {
    State.Windows.PowerWarningPage = page;
    OwnedObject(CreateThread(nullptr, 0, PowerWatchThread, nullptr, 0, nullptr)).Close();
}

// Next stays on the page while the adapter is out.
bool HoldBackNext(HWND, int command) { return command == IDOK && !ReadPower().value_or(true); }

bool ForgetPage(HWND, UINT message, WPARAM, LPARAM, INT_PTR*) {
    if (message == WM_DESTROY)
        State.Windows.PowerWarningPage = nullptr;
    return false;
}

} // namespace

constinit const Page PowerWarningPage = {.dialog = IDD_POWER_WARNING,
                                         .texts = PowerWarningTexts,
                                         .results = PowerWarningResults,
                                         .keepsFocus = true, // its button may be grey
                                         .open = StartPowerWatch,
                                         .command = HoldBackNext,
                                         .message = ForgetPage};
