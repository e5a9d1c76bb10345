// The end of a transfer, good or bad.
//
// While more than the held-back block is left to send, the transfer can be repeated by the normal
// means; from 0x40000 bytes on the handheld answers only through its bootloader, and the page that
// says so also marks the record for the next run. A wrong choice here sends the user to a handheld
// that does not listen.

#include "wizard/conclusion.h"

#include "link/upgrade_transfer.h"
#include "pages/closing_pages.h"
#include "pages/link_error_pages.h"
#include "wizard/state.h"

bool OnlyBootloaderHelps(std::uint32_t bytesRemaining, bool bootloaderTransfer) {
    return bootloaderTransfer || bytesRemaining <= HeldBackSize;
}

void ConcludeTransfer(INT_PTR result, Road road) {
    if (State.Run.RunEnded)
        return;
    if (result == 1) {
        if (ShowPage(UpgradeDonePage) == 0)
            ShowFinishPage();
    } else {
        const bool bootloader = road == Road::Resumed && State.Run.BootloaderResume;
        ShowPage(OnlyBootloaderHelps(State.Run.BytesRemaining, bootloader) ? CommunicationErrorPage
                                                                           : UpgradeErrorPage);
    }
}
