// The pages that say what is coming and what to prepare. The handheld is not connected yet: these
// pages read nothing and change nothing, so that leaving from any of them leaves no trace.

#include "pages/introduction_pages.h"

#include "resources/resource.h"

namespace {

constexpr PageResult Results[] = {{IDOK, IntroductionNext}, {IDCANCEL, IntroductionCancel}};

// The bold label lies on the blanks at the start of the warning.
constexpr PageText UpgradeNoticeTexts[] = {
    {IDC_NOTICE_HEADING, IDS_NOTICE_HEADING, TextMark::Bold},
    {IDC_NOTICE_WARNING_LABEL, IDS_NOTICE_WARNING_LABEL, TextMark::Bold},
    {IDC_NOTICE_DATA_LOSS, IDS_NOTICE_DATA_LOSS},
    {IDC_NOTICE_DOCUMENTATION, IDS_NOTICE_DOCUMENTATION},
    {IDC_NOTICE_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDC_NEXT, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageResult UpgradeNoticeResults[] = {{IDC_NEXT, IntroductionNext},
                                               {IDCANCEL, IntroductionCancel}};

constexpr int Unnumbered = -1; // IDC_STATIC, which not every Windows header knows

constexpr PageText WelcomeTexts[] = {
    {IDC_WELCOME_HEADING, IDS_WELCOME_HEADING, TextMark::Heading},
    {Unnumbered, IDS_WELCOME_TEXT},
    {IDC_WELCOME_LIST, IDS_WELCOME_LIST},
    {IDC_WELCOME_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageText HostChecklistTexts[] = {
    {IDC_HOST_STEPS, IDS_HOST_STEPS},
    {IDC_CHECKLIST_NEXT_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageText DeviceChecklistTexts[] = {
    {IDC_DEVICE_FIRST_STEPS, IDS_DEVICE_FIRST_STEPS},
    {IDC_DEVICE_LAST_STEPS, IDS_DEVICE_LAST_STEPS},
    {IDC_DEVICE_NOTE, IDS_DEVICE_NOTE},
    {IDC_CHECKLIST_NEXT_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PagePicture DeviceChecklistPictures[] = {{IDB_RESET, 350, 65}};
constexpr PageColour DeviceChecklistColours[] = {{IDC_DEVICE_NOTE, Colouring::RedText}};

} // namespace

constinit const Page UpgradeNoticePage = {
    .dialog = IDD_UPGRADE_NOTICE, .texts = UpgradeNoticeTexts, .results = UpgradeNoticeResults};
constinit const Page WelcomePage = {
    .dialog = IDD_WELCOME, .texts = WelcomeTexts, .results = Results};
constinit const Page HostChecklistPage = {
    .dialog = IDD_HOST_CHECKLIST, .texts = HostChecklistTexts, .results = Results};
constinit const Page DeviceChecklistPage = {.dialog = IDD_DEVICE_CHECKLIST,
                                            .texts = DeviceChecklistTexts,
                                            .results = Results,
                                            .pictures = DeviceChecklistPictures,
                                            .colours = DeviceChecklistColours};
