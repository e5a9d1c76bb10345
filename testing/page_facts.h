// Every page that ends by its user, in each state in which it looks different, and the handheld and
// the image that its texts speak of.
#pragma once

#include "frame/error_pages.h"
#include "frame/page.h"
#include "link/link_error_pages.h"
#include "pages/closing_pages.h"
#include "pages/decision_pages.h"
#include "pages/introduction_pages.h"
#include "resources/resource.h"
#include "state/state.h"

#include <cstring>
#include <string>

namespace page_test {

struct ShownPage {
    const Page& (*page)();
    const char* state = ""; // what sets it apart from others of its template
    void (*prepare)() = nullptr;

    // Prepares the state; a page clears some of it, so that it is prepared for each showing.
    const Page& Prepare() const {
        if (prepare)
            prepare();
        return page();
    }
};

template <const Page& page>
const Page& The() {
    return page;
}

inline void UseUsb() { State.Run.SerialLinkSelected = false; }

inline const ShownPage Pages[] = {
    {The<UpgradeNoticePage>},
    {The<WelcomePage>},
    {The<HostChecklistPage>},
    {The<DeviceChecklistPage>},
    {The<ConnectionTypePage>},
    {The<PowerWarningPage>},
    {The<ActionChoicePage>},
    {The<VersionConfirmPage>},
    {The<BackupChoicePage>},
    // Reported once, a backup is not reported by the next page.
    {The<UpgradeReadyPage>, "-saved", [] { State.Run.BackupDone = true; }},
    {The<UpgradeReadyPage>},
    {The<UpgradeDonePage>},
    {FinishPage},
    {FinishPage, "-usb", UseUsb},
    // A mark of the page before would be seen on the next one.
    {The<IncompatibleImagePage>, "-model",
     [] {
         State.Run.ModelMismatch = true;
         std::strcpy(State.Handheld.DeviceModel, "AB&CD&&FGHIJKL"); // the longest
     }},
    {The<IncompatibleImagePage>, "-language", [] { State.Run.LanguageMismatch = true; }},
    {The<IncompatibleImagePage>},
    {The<ConnectionErrorPage>},
    {The<ChecksumErrorPage>},
    {The<ImageMissingPage>},
    {The<ImageOpenErrorPage>},
    {The<PortErrorPage>},
    {The<RemoteProgramErrorPage>},
    {The<BackupSpaceErrorPage>},
    {The<ModuleDataErrorPage>},
    {The<BackupFailedPage>},
    {The<ImageTooLargePage>, "",
     [] {
         State.Image.ImageSizeKB = 33 * 1024 - 1;
         State.Handheld.FlashSizeMB = 16;
     }},
    {The<FileExistsPage>},
    {The<UpgradeErrorPage>},
    {The<UpgradeErrorPage>, "-usb", UseUsb},
    {The<CommunicationErrorPage>},
    {The<CommunicationErrorPage>, "-usb", UseUsb},
    {The<ActiveSyncVersionPage>},
};

// What has to be marked on the page before Next works; 0 where nothing has to.
inline int ChoiceBeforeNext(const Page& page) {
    return page.dialog == IDD_CONNECTION_TYPE ? IDC_USB : 0;
}

inline void FillState() {
    std::strcpy(State.Handheld.DeviceModel, "TOLKP1000");
    std::strcpy(State.Handheld.DeviceVersionText, "1.87");
    std::strcpy(State.Paths.LanguageFolder, "French");
    std::strcpy(State.Image.ImageModel, "TOLKP2000");
    std::strcpy(State.Image.ImageVersionText, "2.01");
    std::strcpy(State.Image.ImageLanguageName, "Japanese");
    State.Run.SerialLinkSelected = true;
    State.Run.RunEnded = State.Run.MainWindowGone = false;
}

// As the wizard loads it before its first page. It stays until the process ends.
inline void LoadBanner() {
    if (State.Windows.BannerDC)
        return;
    State.Windows.BannerDC = CreateCompatibleDC(nullptr);
    State.Windows.BannerBitmap =
        LoadBitmapA(State.Windows.AppInstance, MAKEINTRESOURCEA(IDB_BANNER));
    SelectObject(State.Windows.BannerDC, State.Windows.BannerBitmap);
}

} // namespace page_test
