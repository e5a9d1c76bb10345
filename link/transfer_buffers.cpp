// Freeing the buffers of a transfer once, by the sender or by the timer. Two flags decide: the
// sender lowers its own before it looks at the other's, the timer raises its own before it looks at
// the sender's. So at least one of them sees that both are done, and the release itself, under the
// lock, happens once.

#include "link/transfer_buffers.h"

#include "state/handles.h"
#include "state/state.h"

#include <mutex>
#include <utility>

namespace {

void FreeTransferBuffers() {
    const std::lock_guard lock(State.Link.LinkLock);
    for (std::uint8_t** buffer : {&State.Link.TransferBufferB, &State.Link.TransferBufferA}) {
        if (*buffer)
            LocalFree(std::exchange(*buffer, nullptr));
    }
    OwnedObject(std::exchange(State.Link.ImageFile, nullptr)).Close();
}

} // namespace

SenderGuard::SenderGuard() { State.Link.SenderRuns = true; }

SenderGuard::~SenderGuard() {
    State.Link.SenderRuns = false;
    if (State.Run.TransferAborted)
        FreeTransferBuffers();
}

void AbandonTransfer() {
    State.Run.TransferAborted = true;
    if (!State.Link.SenderRuns)
        FreeTransferBuffers();
}
