// The check of an image. The order is fixed: the module list comes first, the whole file is summed
// before the handheld is asked for its flash size, and a handheld that does not answer hides a
// wrong checksum.

#include "images/verify.h"

#include "device/identity.h"
#include "frame/error_pages.h"
#include "frame/waiting_pages.h"
#include "images/checksum.h"
#include "images/header.h"
#include "images/module_list.h"
#include "state/state.h"

#include <optional>

namespace {

void EndBusyPage() { EndWaitingPage(State.Windows.BusyPage); }

Verification EndRun(const Page& page) {
    ShowPage(page);
    CloseMainWindow();
    return Verification::Ended;
}

} // namespace

Verification VerifyImage(HWND owner) {
    const HANDLE file = CreateFileA(State.Paths.ImagePath, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return EndRun(ImageOpenErrorPage);
    State.Windows.BusyPage = OpenWaitingPage(BusyPage, owner);
    if (!RemoveListedModules()) {
        EndBusyPage();
        CloseHandle(file);
        return Verification::Ended;
    }
    const std::optional<std::uint16_t> sum = SumImage(file);
    CloseHandle(file);
    const bool answered = ReadFlashSize();
    EndBusyPage();
    if (!answered)
        return EndRun(RemoteProgramErrorPage);
    const std::optional<std::uint16_t> told = ParseChecksumText(State.Image.ImageChecksumText);
    return sum && sum == told ? Verification::Passed : Verification::Mismatch;
}
