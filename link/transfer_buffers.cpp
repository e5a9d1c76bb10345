// Two flags decide: the sender lowers its own before it looks at the other's, the timer raises its
// own before it looks at the sender's. So at least one of them sees that both are done, and the
// release itself, under the lock, happens once.

#include "link/transfer_buffers.h"

#include "state/state.h"

#include <mutex>

namespace {

void FreeTransferBuffers() {
    const std::lock_guard lock(State.Link.LinkLock);
    if (State.Link.TransferBufferB)
        LocalFree(State.Link.TransferBufferB);
    State.Link.TransferBufferB = nullptr;
    if (State.Link.TransferBufferA)
        LocalFree(State.Link.TransferBufferA);
    State.Link.TransferBufferA = nullptr;
    if (State.Link.ImageFile)
        CloseHandle(State.Link.ImageFile);
    State.Link.ImageFile = nullptr;
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
