// The end of a transfer, good or bad.
//
// While more than the held-back block is left to send, the transfer can be repeated by the normal
// means; from 0x40000 bytes on the handheld answers only through its bootloader, and the page that
// says so also marks the record for the next run. A wrong choice here sends the user to a handheld
// that does not listen.

#include "wizard/conclusion.h"

#include "frame/run_end.h"
#include "link/link_error_pages.h"
#include "link/stall.h"
#include "link/wire.h"
#include "pages/closing_pages.h"
#include "state/progress_record.h"
#include "state/state.h"

namespace {

// The bootloader was talked to; or a flasher that the interrupted transfer may have outlived has
// not answered, so that nobody but the bootloader ever will.
bool OnlyBootloaderCanAnswer() {
    return State.Run.BootloaderResume || (!State.Run.FlasherAnswered && HeldBackBlockNoted());
}

} // namespace

bool OnlyBootloaderHelps(std::uint32_t bytesRemaining, bool bootloaderTransfer) {
    return bootloaderTransfer || bytesRemaining <= HeldBackSize;
}

void ConcludeTransfer(INT_PTR result, RunKind kind) {
    if (State.Run.RunEnded)
        return;
    if (result == TransferSent) {
        if (ShowPage(UpgradeDonePage) == UpgradeDoneNext)
            ShowPage(FinishPage());
    } else {
        const bool bootloader = kind == RunKind::Resumed && OnlyBootloaderCanAnswer();
        EndRun(OnlyBootloaderHelps(State.Run.BytesRemaining, bootloader) ? CommunicationErrorPage
                                                                         : UpgradeErrorPage);
    }
}
