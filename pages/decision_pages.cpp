// What the user commits to, apart from the link and the backup, which have files of their own.

#include "pages/decision_pages.h"

#include "frame/catalog.h"
#include "pages/duration_texts.h"
#include "resources/resource.h"
#include "state/state.h"

namespace {

constexpr PageText ActionChoiceTexts[] = {
    {IDC_ACTION_HEADING, IDS_DEVICE_INFORMATION},
    {IDC_ACTION_MODEL, IDS_MODEL, TextMark::Plain, State.Handheld.DeviceModel},
    {IDC_ACTION_VERSION, IDS_CURRENT_VERSION, TextMark::Plain, State.Handheld.DeviceVersionText},
    {IDC_ACTION_LANGUAGE, 0},
    {IDC_ACTION_QUESTION, IDS_ACTION_QUESTION},
    {IDC_UPGRADE, IDS_UPGRADE},
    {IDC_ACTION_UPGRADE_TEXT, IDS_UPGRADE_TEXT},
    {IDC_RESTORE, IDS_RESTORE},
    {IDC_ACTION_RESTORE_TEXT, IDS_RESTORE_TEXT},
    {IDC_ACTION_HINT, IDS_CANCEL_HINT},
    {IDCANCEL, IDS_CANCEL},
};

// The page has no default button, so that the Enter key gives IDOK.
constexpr PageResult ActionChoiceResults[] = {{IDC_UPGRADE, ActionChoiceUpgrade},
                                              {IDC_RESTORE, ActionChoiceRestore},
                                              {IDCANCEL, ActionChoiceCancel},
                                              {IDOK, ActionChoiceEnter}};
static_assert(ActionChoiceUpgrade == IDC_UPGRADE && ActionChoiceRestore == IDC_RESTORE);

void SetLanguageLine(HWND page) {
    SetLabelledText(page, IDC_ACTION_LANGUAGE, IDS_LANGUAGE,
                    LanguageNameText(State.Paths.LanguageFolder));
}

constexpr PageResult ConfirmResults[] = {{IDOK, ConfirmNext}, {IDCANCEL, ConfirmCancel}};

constexpr PageText VersionConfirmTexts[] = {
    {IDC_VERSION_QUESTION, IDS_VERSION_QUESTION},
    {IDC_VERSION_FROM, IDS_FROM},
    {IDC_VERSION_CURRENT, IDS_CURRENT_VERSION, TextMark::Plain, State.Handheld.DeviceVersionText},
    {IDC_VERSION_TO, IDS_TO},
    {IDC_VERSION_NEW, IDS_NEW_VERSION, TextMark::Plain, State.Image.ImageVersionText},
    {IDC_VERSION_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageText UpgradeReadyTexts[] = {
    {IDC_READY_BACKUP_DONE, 0},
    {IDC_READY_DURATION, 0},
    {IDC_READY_ON_PC, IDS_READY_ON_PC},
    {IDC_READY_ON_DEVICE, IDS_READY_ON_DEVICE},
    {IDC_READY_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

// A backup is reported once.
void SetReadyTexts(HWND page) {
    if (State.Run.BackupDone.exchange(false))
        SetDlgItemTextA(page, IDC_READY_BACKUP_DONE, CatalogText(IDS_BACKUP_DONE));
    SetDlgItemTextA(
        page, IDC_READY_DURATION,
        CatalogText(DurationText(DurationFamily::UpgradeReady, State.Run.SerialLinkSelected,
                                 State.Paths.LanguageFolder)));
}

} // namespace

constinit const Page ActionChoicePage = {.dialog = IDD_ACTION_CHOICE,
                                         .texts = ActionChoiceTexts,
                                         .results = ActionChoiceResults,
                                         .keepsFocus = true,
                                         .open = SetLanguageLine};
constinit const Page VersionConfirmPage = {
    .dialog = IDD_VERSION_CONFIRM, .texts = VersionConfirmTexts, .results = ConfirmResults};
constinit const Page UpgradeReadyPage = {.dialog = IDD_UPGRADE_READY,
                                         .texts = UpgradeReadyTexts,
                                         .results = ConfirmResults,
                                         .open = SetReadyTexts};
