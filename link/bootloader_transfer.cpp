// Answering the bootloader. The PC does not track the state of the dialogue: it answers whatever
// the bootloader says, and keeps only the offset of the next block. The timer measures the
// bootloader's silence alone, so it is killed before each answer and set after it: a block takes
// longer on the wire than the bootloader may be silent.

#include "link/bootloader_transfer.h"

#include "frame/progress_bar.h"
#include "link/bootloader_message.h"
#include "link/image_source.h"
#include "link/port.h"
#include "link/receive.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/transfer_buffers.h"
#include "link/wire.h"
#include "state/progress_record.h"
#include "state/state.h"

#include <span>

namespace {

constexpr DWORD BootloaderStartMilliseconds = 1000;

// What lies behind the end of the file is 0xFF, a whole block of it in the record past the end. A
// block that cannot be read is not sent, and neither is anything after it.
bool SendBlock(std::uint32_t offset, std::uint32_t fileSize) {
    const std::span block(State.Link.TransferBufferA, PayloadBlockSize);
    if (!ReadPiece(block))
        return false;
    const bool handedOver = WriteLinkNumbers({offset, PayloadBlockSize, 0}) && WriteLink(block);
    AdvanceProgress(PayloadBlockSize, fileSize - PayloadBlockSize);
    return handedOver;
}

bool Answer(BootloaderMessage message, std::uint32_t* offset, std::uint32_t fileSize) {
    switch (message) {
    case BootloaderMessage::ImageRecordWanted:
        return WriteLinkNumbers({*offset, ImageRecordLength});
    case BootloaderMessage::BlockWanted:
        if (!SendBlock(*offset, fileSize))
            return false;
        *offset += PayloadBlockSize;
        return true;
    default:
        return WriteLink(ImageSignature);
    }
}

// True when the last block has gone out; false when the transfer has been given up or
// cannot go on, which the timer then ends.
bool HoldDialogue(std::uint32_t fileSize) {
    std::uint32_t offset = PayloadBlockSize;
    while (!State.Run.TransferAborted) {
        Sleep(1);
        const BootloaderMessage message = ReceivedMessage();
        if (message == BootloaderMessage::None)
            continue;
        KillStallTimer(PieceTimer);
        ClearReceiveBuffer();
        const bool answered = Answer(message, &offset, fileSize);
        StartStallTimer(PieceTimer);
        if (!answered)
            return false;
        if (message == BootloaderMessage::BlockWanted && offset >= fileSize)
            return AwaitOutputSent();
    }
    return false;
}

bool LoadPastFirstBlock() {
    State.Link.TransferBufferA = AllocateTransferBuffer(ImageHeaderSize + PayloadBlockSize);
    return State.Link.TransferBufferA &&
           ReadPiece({State.Link.TransferBufferA, ImageHeaderSize + PayloadBlockSize});
}

void EndProgressPage() {
    ShowPercentage(100);
    KillStallTimer(PieceTimer);
    DeleteProgressRecord();
    ShowWindow(State.Windows.ProgressPage, SW_HIDE);
    EndDialog(State.Windows.ProgressPage, TransferSent);
}

} // namespace

void BootloaderTransfer() {
    Sleep(BootloaderStartMilliseconds);
    State.Link.ReceiveCursor = 0;
    if (!OpenLinkPort(State.Paths.SerialPortName))
        return;
    StartReceiveLoop(BootloaderReceiveLoop, false);
    const SenderGuard sender;
    const std::uint32_t fileSize = OpenTransferImage(MinImageFileSize);
    if (fileSize == 0 || !LoadPastFirstBlock()) {
        ReportUnreadableImage();
        return;
    }
    ClearReceiveBuffer();
    ResetProgress(State.Image.ImageSizeKB << 10);
    WriteLink(DownloadCommand);
    StartStallTimer(PieceTimer);
    if (HoldDialogue(fileSize) && MarkSent())
        EndProgressPage();
}
