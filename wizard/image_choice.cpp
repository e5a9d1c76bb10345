// Upgrade or restore, and the tests that an image must pass against the handheld.
//
// A picked file is verified as the default image was, whether or not the power warning came
// before: a damaged file must never reach the flash. A picked file that is too large is the one
// failure that leads back to the choice.

#include "wizard/image_choice.h"

#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "link/wire.h"
#include "pages/decision_pages.h"
#include "pages/image_file_dialog.h"
#include "pages/image_steps.h"
#include "state/state.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace {

enum class Choice { Made, Again, Ended };

// Size in bytes of the image in ImagePath, and ImageSizeKB from it.
std::optional<std::uint64_t> MeasureImage() {
    const std::optional<std::uint64_t> size = ImageFileSize(State.Paths.ImagePath);
    if (size)
        State.Image.ImageSizeKB = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(*size / 1024, std::numeric_limits<std::uint32_t>::max()));
    return size;
}

// Whatever was picked before, the default image is the current one again.
std::optional<std::uint64_t> ReadDefaultImage() {
    std::memcpy(State.Paths.ImagePath, State.Paths.DefaultImagePath, sizeof(State.Paths.ImagePath));
    return ReadImageHeader(State.Paths.ImagePath) ? MeasureImage() : std::nullopt;
}

// A file that is too short to be sent would be met by the transfer alone, when the handheld has
// been changed and waits for its image.
Choice CheckSize(std::uint64_t size, Choice whenTooLarge) {
    if (State.Handheld.FlashSizeMB < State.Image.ImageSizeKB / 1024) {
        ShowPage(ImageTooLargePage);
        return whenTooLarge;
    }
    if (size >= MinImageFileSize)
        return Choice::Made;
    EndRun(ImageOpenErrorPage, {.uninitRapi = true});
    return Choice::Ended;
}

Choice ChooseRestore() {
    State.Paths.ImagePath[0] = '\0';
    if (!AskForImageFile(State.Windows.MainWindow, State.Paths.ImagePath))
        return Choice::Again;
    if (!ReadImageHeader(State.Paths.ImagePath) || !VerifyOrReport() || !CheckImageIsForHandheld())
        return Choice::Ended;
    const std::optional<std::uint64_t> size = MeasureImage();
    return size ? CheckSize(*size, Choice::Again) : Choice::Ended;
}

Choice ApplyAction(INT_PTR action, std::uint64_t defaultSize) {
    switch (action) {
    case ActionChoiceUpgrade:
        return CheckImageIsForHandheld() ? CheckSize(defaultSize, Choice::Ended) : Choice::Ended;
    case ActionChoiceRestore:
        return ChooseRestore();
    default:
        return Choice::Ended;
    }
}

} // namespace

bool VerifyOrReport() {
    const Verification outcome = VerifyImage(State.Windows.MainWindow);
    if (outcome == Verification::Mismatch)
        EndRun(ChecksumErrorPage);
    return outcome == Verification::Passed;
}

bool ChooseImage() {
    Choice choice = Choice::Again;
    while (choice == Choice::Again && !State.Run.RunEnded) {
        const INT_PTR action = ShowPage(ActionChoicePage);
        if (action == PageNotShown)
            return false;
        const std::optional<std::uint64_t> defaultSize = ReadDefaultImage();
        if (!defaultSize)
            return false;
        choice = ApplyAction(action, *defaultSize);
    }
    return choice == Choice::Made;
}
