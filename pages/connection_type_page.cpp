// USB or serial. A wrong choice can damage the handheld, so nothing is chosen for the user except
// where the host has no USB: Next stays grey until one of the two has been marked.

#include "device/host_checks.h"
#include "pages/decision_pages.h"
#include "resources/resource.h"
#include "state/state.h"

namespace {

constexpr PageText ConnectionTypeTexts[] = {
    {IDC_CONNECTION_QUESTION, IDS_CONNECTION_QUESTION},
    {IDC_CONNECTION_IMPORTANT, IDS_CONNECTION_IMPORTANT},
    {IDC_USB, IDS_USB},
    {IDC_SERIAL, IDS_SERIAL},
    {IDC_CONNECTION_HINT, IDS_NEXT_OR_CANCEL_HINT},
    {IDOK, IDS_NEXT},
    {IDCANCEL, IDS_CANCEL},
};

constexpr PageResult ConnectionTypeResults[] = {{IDOK, ConnectionTypeNext},
                                                {IDCANCEL, ConnectionTypeCancel}};
constexpr PagePicture ConnectionTypePictures[] = {{IDB_USB, 305, 100}, {IDB_SERIAL, 305, 200}};

bool IsMarked(HWND page, int button) { return IsDlgButtonChecked(page, button) == BST_CHECKED; }

void OfferLinks(HWND page) {
    if (IsOldWindowsNT() || IsWindows95()) {
        EnableWindow(GetDlgItem(page, IDC_USB), FALSE);
        CheckDlgButton(page, IDC_SERIAL, BST_CHECKED);
    } else {
        // Before its button turns grey: no key would be heard from there.
        SendMessageA(page, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(page, IDC_USB)),
                     TRUE);
        EnableWindow(GetDlgItem(page, IDOK), FALSE);
    }
}

// A radio button also reports a click when it merely gets the focus; only a mark counts.
bool ChooseLink(HWND page, int command) {
    const bool serial = IsMarked(page, IDC_SERIAL);
    if (command == IDC_USB || command == IDC_SERIAL) {
        if (serial || IsMarked(page, IDC_USB))
            EnableWindow(GetDlgItem(page, IDOK), TRUE);
        return true;
    }
    if (command == IDOK)
        State.Run.SerialLinkSelected = serial;
    return false;
}

} // namespace

constinit const Page ConnectionTypePage = {.dialog = IDD_CONNECTION_TYPE,
                                           .texts = ConnectionTypeTexts,
                                           .results = ConnectionTypeResults,
                                           .pictures = ConnectionTypePictures,
                                           .open = OfferLinks,
                                           .command = ChooseLink};
