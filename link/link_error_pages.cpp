// The two pages that say how to recover the handheld.
//
// They come up after a transfer that fell silent, when the link is still held: the port must be
// free before the user starts the wizard again, and the mark for the next run must be written
// before anything is shown, since the user may pull the plug while reading.

#include "link/link_error_pages.h"

#include "link/stall.h"
#include "resources/resource.h"
#include "state/progress_record.h"
#include "state/state.h"

namespace {

constexpr PageResult Quit[] = {{IDCANCEL, 1}};

constexpr PageText UpgradeErrorTexts[] = {
    {IDC_UPGRADE_ERROR_HEADING, IDS_ERROR_113_HEADING, TextMark::Heading},
    {IDC_UPGRADE_ERROR_FIRST_STEPS, IDS_ERROR_113_FIRST_STEPS},
    {IDC_UPGRADE_ERROR_LAST_STEPS, IDS_ERROR_113_LAST_STEPS},
    {IDC_UPGRADE_ERROR_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PagePicture UpgradeErrorPictures[] = {{IDB_RESET, 420, 155}};

constexpr PageText CommunicationErrorTexts[] = {
    {IDC_COMMUNICATION_HEADING, IDS_ERROR_114_HEADING, TextMark::Heading},
    {IDC_COMMUNICATION_FIRST_STEPS, IDS_ERROR_114_FIRST_STEPS},
    {IDC_COMMUNICATION_LAST_STEPS, IDS_ERROR_114_LAST_STEPS},
    {IDC_COMMUNICATION_HINT, IDS_QUIT_HINT},
    {IDCANCEL, IDS_QUIT},
};

constexpr PagePicture CommunicationErrorPictures[] = {{IDB_RESET, 440, 245}};

// A USB link is closed by its own loop, or by the end of the wizard.
void ReleaseOnOpening(HWND) {
    if (State.Run.SerialLinkSelected)
        ReleaseLink();
}

void ReleaseAndMarkOnOpening(HWND page) {
    ReleaseOnOpening(page);
    MarkCriticalFailure();
}

} // namespace

constinit const Page UpgradeErrorPage = {.dialog = IDD_UPGRADE_ERROR,
                                         .texts = UpgradeErrorTexts,
                                         .results = Quit,
                                         .pictures = UpgradeErrorPictures,
                                         .open = ReleaseOnOpening};
constinit const Page CommunicationErrorPage = {.dialog = IDD_COMMUNICATION_ERROR,
                                               .texts = CommunicationErrorTexts,
                                               .results = Quit,
                                               .pictures = CommunicationErrorPictures,
                                               .open = ReleaseAndMarkOnOpening};
