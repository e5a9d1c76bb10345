// Upgrade or restore, and the tests that an image must pass against the handheld.
//
// A picked file is verified as the default image was, whether or not the power warning came
// before: a damaged file must never reach the flash. A picked file that is too large is the one
// failure that leads back to the choice.

#include "wizard/image_choice.h"

#include "images/discovery.h"
#include "images/header.h"
#include "images/verify.h"
#include "pages/decision_pages.h"
#include "pages/error_pages.h"
#include "pages/image_file_dialog.h"
#include "pages/resource.h"
#include "wizard/state.h"

#include <cstring>

namespace {

enum class Choice { Taken, Again, Ended };

bool SameText(const char* one, const char* other) { return lstrcmpiA(one, other) == 0; }

bool ImageFitsFlash() { return State.Handheld.FlashSizeMB >= State.Image.ImageSizeKB / 1024; }

// Model is tested first; with both different only the model lines are marked.
bool ImageIsForHandheld() {
    if (!SameText(State.Handheld.DeviceModel, State.Image.ImageModel))
        State.Run.ModelMismatch = true;
    else if (!SameText(State.Handheld.DeviceLanguage, State.Image.ImageLanguage))
        State.Run.LanguageMismatch = true;
    else
        return true;
    ShowPage(IncompatibleImagePage);
    return false;
}

bool MeasureImage(const char* path) {
    const std::optional<std::uint32_t> size = ImageFileSize(path);
    if (size)
        State.Image.ImageSizeKB = *size / 1024;
    return size.has_value();
}

// Whatever was picked before, the default image is the one in hand again.
bool TakeDefaultImage() {
    std::memcpy(State.Places.ImagePath, State.Places.DefaultImagePath,
                sizeof(State.Places.ImagePath));
    return ReadImageHeader(State.Places.ImagePath) && MeasureImage(State.Places.ImagePath);
}

Choice TakeUpgrade() {
    if (!ImageIsForHandheld())
        return Choice::Ended;
    if (ImageFitsFlash())
        return Choice::Taken;
    ShowPage(ImageTooLargePage);
    return Choice::Ended;
}

Choice TakeRestore() {
    State.Places.ImagePath[0] = '\0';
    if (!AskForImageFile(State.Windows.MainWindow, State.Places.ImagePath))
        return Choice::Again;
    if (!ReadImageHeader(State.Places.ImagePath) || !VerifyOrReport() || !ImageIsForHandheld() ||
        !MeasureImage(State.Places.ImagePath))
        return Choice::Ended;
    if (ImageFitsFlash())
        return Choice::Taken;
    ShowPage(ImageTooLargePage);
    return Choice::Again;
}

Choice TakeAction(INT_PTR action) {
    switch (action) {
    case IDC_UPGRADE:
        return TakeUpgrade();
    case IDC_RESTORE:
        return TakeRestore();
    default:
        return Choice::Ended;
    }
}

} // namespace

bool VerifyOrReport() {
    const Verification outcome = VerifyImage(State.Windows.MainWindow);
    if (outcome == Verification::Mismatch)
        ShowPage(ChecksumErrorPage);
    return outcome == Verification::Passed;
}

bool ChooseImage() {
    Choice choice = Choice::Again;
    while (choice == Choice::Again && !State.Run.RunEnded) {
        const INT_PTR action = ShowPage(ActionChoicePage);
        if (action == PageNotShown || !TakeDefaultImage())
            return false;
        choice = TakeAction(action);
    }
    return choice == Choice::Taken;
}
