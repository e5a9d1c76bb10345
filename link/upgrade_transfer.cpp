// Sending an image to the flasher. Why the order is what it is: while the second block of the
// payload has not gone out, a failed upgrade can be repeated the normal way; after that only the
// bootloader helps. So that block is kept in memory and sent last, and the order of this file is a
// safety rule, not a taste.
//
// A transfer is a failure until MarkSent makes it a success.

#include "link/upgrade_transfer.h"

#include "frame/page.h"
#include "frame/progress_bar.h"
#include "link/image_source.h"
#include "link/port.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/transfer_buffers.h"
#include "link/wire.h"
#include "state/progress_record.h"
#include "state/state.h"

#include <span>

namespace {

// Polls for the token; false when the transfer has been given up. The receive loop leaves a token
// alone until two more looks are counted; one that has found it counts for both, since the next
// look may be a whole piece away.
template <class Arrived>
bool AwaitToken(Arrived arrived) {
    for (++State.Link.SenderLooks; !arrived(); ++State.Link.SenderLooks) {
        if (State.Run.TransferAborted)
            return false;
        Sleep(1);
    }
    State.Link.SenderLooks += 2;
    return !State.Run.TransferAborted;
}

// One stray byte ahead of the answer is allowed.
bool FlasherIsReady() { return HoldsToken(ReadyToken) || HoldsToken(ReadyToken, 1); }

bool PieceIsWanted() { return HoldsToken(SendPieceToken); }

std::uint32_t BarRange() { return State.Image.ImageSizeKB << 10; }

// Header, first block and HeldBackBlock; the first piece to send is read next.
bool LoadHeldBackBlock() {
    State.Link.TransferBufferA = AllocateTransferBuffer(PayloadBlockSize);
    State.Link.TransferBufferB = AllocateTransferBuffer(HeldBackSize);
    return State.Link.TransferBufferA && State.Link.TransferBufferB &&
           ReadPiece({State.Link.TransferBufferA, ImageHeaderSize}) &&
           ReadPiece({State.Link.TransferBufferA, PayloadBlockSize}) &&
           ReadPiece({State.Link.TransferBufferB, HeldBackSize});
}

void AnnounceSize(std::uint32_t size) {
    WriteLinkNumbers({size});
    ResetProgress(BarRange());
    StartStallTimer(PieceTimer);
    // The wait cursor gives way to the arrow without the mouse being moved.
    State.Run.BusyCursor = false;
    PostMessageA(State.Windows.ProgressPage, WM_SETCURSOR, 0, 0);
}

bool SendPiece(const std::uint8_t* piece) {
    const bool handedOver = WriteLink({piece, PieceSize});
    AdvanceProgress(PieceSize, BarRange());
    return handedOver;
}

// Everything but HeldBackBlock. True when the device has asked for what comes next. A file that
// cannot be read any more ends the sending: the device hears nothing, and the timer fires.
bool SendPiecesFromFile(std::uint32_t remaining) {
    while (AwaitToken(PieceIsWanted)) {
        StartStallTimer(PieceTimer);
        ClearReceivedToken();
        if (remaining <= HeldBackSize)
            return true;
        const std::span piece(State.Link.TransferBufferA, PieceSize);
        if (!ReadPiece(piece))
            return false;
        WriteLink(piece);
        remaining -= PieceSize;
        if (!RecordBytesRemaining(remaining))
            return false;
        AdvanceProgress(PieceSize, BarRange());
    }
    return false;
}

// The timer is not restarted for the second half: it has to cover both. No token is awaited after
// the last piece, so this is the one piece whose way out decides.
bool SendHeldBackBlock() {
    return SendPiece(State.Link.TransferBufferB) && AwaitToken(PieceIsWanted) &&
           SendPiece(State.Link.TransferBufferB + PieceSize) && AwaitOutputSent();
}

void EndProgressPage() {
    CollapsePage(State.Windows.ProgressPage, true);
    ShowPercentage(100);
    EndDialog(State.Windows.ProgressPage, TransferSent);
}

void SendImage() {
    const std::uint32_t fileSize = OpenTransferImage(MinImageFileSize);
    if (fileSize == 0 || !LoadHeldBackBlock()) {
        ReportUnreadableImage();
        return;
    }
    const std::uint32_t size = BytesOnTheWire(fileSize);
    AnnounceSize(size);
    if (!SendPiecesFromFile(size) || !SendHeldBackBlock() || !MarkSent())
        return;
    KillStallTimer(PieceTimer);
    DeleteProgressRecord();
    EndProgressPage();
}

} // namespace

void BeginUpgradeTransfer() {
    const SenderGuard sender;
    ClearReceivedToken();
    WriteLink(StartByte);
    StartStallTimer(AnswerTimer);
    if (!AwaitToken(FlasherIsReady))
        return;
    // The token is not cleared: the next burst replaces it.
    State.Run.FlasherAnswered = true;
    KillStallTimer(AnswerTimer);
    SendImage();
}
