// The thin layer between image files and the pages of their failures.
//
// The order of the verification is fixed: the module list comes first, the whole file is summed
// before the handheld is asked for its flash size, and a handheld that does not answer hides a
// wrong checksum.

#include "pages/image_steps.h"

#include "device/identity.h"
#include "frame/error_pages.h"
#include "frame/run_end.h"
#include "frame/waiting_pages.h"
#include "images/checksum.h"
#include "images/discovery.h"
#include "images/header.h"
#include "images/module_list.h"
#include "state/handles.h"
#include "state/state.h"

#include <cstring>

namespace {

bool SameText(const char* one, const char* other) { return lstrcmpiA(one, other) == 0; }

} // namespace

bool ReadImageHeader(const char* path) {
    const bool read = LoadImageHeader(path, &State.Image);
    if (!read)
        EndRun(ImageOpenErrorPage);
    return read;
}

// Model is tested first; with both different only the model lines of the page are marked.
bool CheckImageIsForHandheld() {
    State.Run.ModelMismatch = !SameText(State.Handheld.DeviceModel, State.Image.ImageModel);
    State.Run.LanguageMismatch =
        !State.Run.ModelMismatch &&
        !SameText(State.Handheld.DeviceLanguage, State.Image.ImageLanguage);
    if (!State.Run.ModelMismatch && !State.Run.LanguageMismatch)
        return true;
    EndRun(IncompatibleImagePage, {.repaint = false});
    return false;
}

bool FindDefaultImage() {
    if (!FindFolderImage(State.Paths.ImagePath)) {
        EndRun(ImageMissingPage);
        return false;
    }
    std::memcpy(State.Paths.DefaultImagePath, State.Paths.ImagePath,
                sizeof(State.Paths.DefaultImagePath));
    return true;
}

std::optional<std::uint64_t> ImageFileSize(const char* path) {
    const std::optional<std::uint64_t> size = SizeOfFile(path);
    if (!size)
        EndRun(ImageOpenErrorPage, {.uninitRapi = true});
    return size;
}

bool RemoveListedModules() {
    const ModuleList list = RemoveModulesOfFolder();
    if (list == ModuleList::Removed ||
        (list == ModuleList::Missing && ShowPage(ModuleDataErrorPage) == ModuleDataErrorSkip))
        return true;
    LeaveRun();
    return false;
}

Verification VerifyImage(HWND owner) {
    OwnedFile file = OpenForReading(State.Paths.ImagePath);
    if (!file) {
        EndRun(ImageOpenErrorPage);
        return Verification::Ended;
    }
    State.Windows.BusyPage = OpenWaitingPage(BusyPage, owner);
    const bool listed = RemoveListedModules();
    const std::optional<std::uint16_t> sum = listed ? SumImage(file.Get()) : std::nullopt;
    file.Close();
    const bool answered = listed && ReadFlashSize();
    EndWaitingPage(State.Windows.BusyPage);
    if (listed && !answered)
        EndRun(RemoteProgramErrorPage);
    if (!answered)
        return Verification::Ended;
    const bool matches = sum && sum == ParseChecksumText(State.Image.ImageChecksumText);
    return matches ? Verification::Passed : Verification::Mismatch;
}
