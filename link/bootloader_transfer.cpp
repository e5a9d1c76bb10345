// The PC does not track where it stands in the dialogue: it answers whatever the bootloader says,
// and keeps only the offset of the next block. The timer measures the bootloader's silence alone,
// so it is killed before each answer and set after it: a block takes longer on the wire than the
// bootloader may be silent.

#include "link/bootloader_transfer.h"

#include "frame/page.h"
#include "frame/progress_bar.h"
#include "link/image_source.h"
#include "link/port.h"
#include "link/receive.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/transfer_buffers.h"
#include "link/upgrade_transfer.h"
#include "state/progress_record.h"
#include "state/state.h"

#include <array>
#include <cstring>

namespace {

constexpr DWORD BootloaderStartMilliseconds = 1000;
constexpr std::uint32_t BlockSize = 0x40000;
constexpr std::uint32_t HeaderSize = 32;
constexpr std::uint32_t ImageRecordLength = 0xF40000; // fixed; it does not follow the file's size

enum class BootloaderMessage { Nothing, ImageRecord, Block, Prompt };

// The first that matches, in this order.
BootloaderMessage ReceivedMessage() {
    if (HoldsText("\x01"))
        return BootloaderMessage::ImageRecord;
    if (HoldsText("\x02"))
        return BootloaderMessage::Block;
    return HoldsText("download") ? BootloaderMessage::Prompt : BootloaderMessage::Nothing;
}

template <std::size_t Count>
bool SendRecord(const std::array<std::uint32_t, Count>& numbers) {
    std::array<std::uint8_t, 4 * Count> bytes{};
    for (std::size_t index = 0; index < bytes.size(); ++index)
        bytes[index] = static_cast<std::uint8_t>(numbers[index / 4] >> (8 * (index % 4)));
    return WriteLink(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// What lies behind the end of the file is 0xFF, a whole block of it in the record past the end. A
// block that cannot be read is not sent, and neither is anything after it.
bool SendBlock(std::uint32_t offset, std::uint32_t fileSize) {
    if (!ReadPiece(State.Link.TransferBufferA, BlockSize))
        return false;
    const bool handedOver =
        SendRecord<3>({offset, BlockSize, 0}) && WriteLink(State.Link.TransferBufferA, BlockSize);
    AdvanceProgress(BlockSize, fileSize - BlockSize);
    return handedOver;
}

bool Answer(BootloaderMessage message, std::uint32_t* offset, std::uint32_t fileSize) {
    switch (message) {
    case BootloaderMessage::ImageRecord:
        return SendRecord<2>({*offset, ImageRecordLength});
    case BootloaderMessage::Block:
        if (!SendBlock(*offset, fileSize))
            return false;
        *offset += BlockSize;
        return true;
    default:
        return WriteLink("B000FF\n", 7);
    }
}

// True when the last block has gone out; false when the transfer has been given up or
// cannot go on, which the timer then ends.
bool HoldDialogue(std::uint32_t fileSize) {
    std::uint32_t offset = BlockSize;
    while (!State.Run.TransferAborted) {
        Sleep(1);
        const BootloaderMessage message = ReceivedMessage();
        if (message == BootloaderMessage::Nothing)
            continue;
        KillStallTimer(PieceTimer);
        ClearReceiveBuffer();
        const bool answered = Answer(message, &offset, fileSize);
        StartStallTimer(PieceTimer);
        if (!answered)
            return false;
        if (message == BootloaderMessage::Block && offset >= fileSize)
            return AwaitOutputSent();
    }
    return false;
}

bool LoadPastFirstBlock() {
    State.Link.TransferBufferA = AllocateTransferBuffer(HeaderSize + BlockSize);
    return State.Link.TransferBufferA &&
           ReadPiece(State.Link.TransferBufferA, HeaderSize + BlockSize);
}

void EndProgressPage() {
    ShowPercentage(100);
    KillStallTimer(PieceTimer);
    DeleteProgressRecord();
    ShowWindow(State.Windows.ProgressPage, SW_HIDE);
    EndDialog(State.Windows.ProgressPage, 1);
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
    WriteLink("l\r", 2);
    StartStallTimer(PieceTimer);
    if (HoldDialogue(fileSize) && MarkSent())
        EndProgressPage();
}
