// The bootloader's dialogue: it says what it likes, in bursts of any size, and a write may fail.
// The image goes out block by block and in order, each as it is in the file; the transfer is a
// success, and the record of the upgrade gone, only after the last one.

#include "link/bootloader_transfer.h"

#include "link/bootloader_message.h"
#include "link/link_calls.h"
#include "link/port.h"
#include "link/receive.h"
#include "link/receive_buffer.h"
#include "link/stall.h"
#include "link/wire.h"
#include "state/handles.h"
#include "state/progress_record.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <cstring>
#include <vector>

using fuzz::Require;

namespace {

constexpr std::uint32_t FileSize = ImageHeaderSize + 2 * PayloadBlockSize + 100;
constexpr std::uint32_t Blocks = 2; // from the second one on, the last of 100 bytes and filler

std::string Image;                // the file, and its filler
fuzz::Input Received(nullptr, 0); // the receive loop's
std::uint32_t WritesLeft, BlocksSent, Announced;
bool Listens, Receives; // the receive loop: it was started; it runs

bool HasRecord() {
    return static_cast<bool>(OpenKey(HKEY_CURRENT_USER, "Software\\FlashUtility", KEY_READ));
}

void Prepare() {
    const auto path = test_support::HomeOfTests().Path("image.nbf");
    for (std::uint32_t at = 0; at < FileSize; ++at)
        Image += static_cast<char>(at * 7 + at / 251);
    test_support::WriteFileBytes(path, Image);
    Image.resize(ImageHeaderSize + (1 + Blocks) * PayloadBlockSize, '\xFF');
    std::snprintf(State.Paths.ImagePath, sizeof(State.Paths.ImagePath), "%s",
                  test_support::WindowsPathOf(path).c_str());
    State.Run.RunEnded = true; // no page comes up
}

// Nothing may follow a write that has failed.
bool HandOver() {
    Require(WritesLeft > 0);
    return --WritesLeft > 0;
}

} // namespace

// The port, in place of the real one.
bool OpenLinkPort(const char*) { return true; }
void CloseLinkPort() {}
bool AwaitOutputSent() { return true; }
void SetReadsToReturnAtOnce() {}
void SetLinkMask(DWORD) {}
bool RequestOfDriver(DWORD, const DWORD*, DWORD*, OVERLAPPED*) { return false; }
DWORD WaitForLinkEvent(OVERLAPPED*, DWORD*) { return EV_RXCHAR; }

// The receive loop has no thread: while the sender sleeps it runs until it leaves a message.
extern "C" void __wrap__Z16StartReceiveLoopPFjPvEb(DWORD (*)(LPVOID), bool) { Listens = true; }

extern "C" void __wrap__Z5Sleepj(DWORD) {
    if (Receives) {
        State.Link.StopReceive =
            State.Run.TransferAborted || ReceivedMessage() != BootloaderMessage::None;
    } else if (Listens) {
        Receives = true;
        BootloaderReceiveLoop(nullptr);
        Receives = State.Link.StopReceive = false;
    }
}

// At the end of what comes the stall timer ends the transfer.
DWORD ReadLink(std::span<std::uint8_t> bytes, OVERLAPPED*) {
    if (Received.IsOver())
        State.Run.TransferAborted = State.Link.StopReceive = true;
    bytes[0] = Received.Byte();
    return State.Link.StopReceive || bytes[0] == 0xFF ? 0 : 1; // not yet
}

bool WriteLink(std::string_view text) {
    Require(text == DownloadCommand || text == ImageSignature);
    return HandOver();
}

bool WriteLinkNumbers(std::initializer_list<std::uint32_t> numbers) {
    const std::vector<std::uint32_t> sent = numbers;
    Announced = (1 + BlocksSent) * PayloadBlockSize;
    const std::vector<std::uint32_t> image = {Announced, ImageRecordLength},
                                     block = {Announced, PayloadBlockSize, 0};
    Require(sent == image || sent == block);
    return HandOver();
}

bool WriteLink(std::span<const std::uint8_t> bytes) {
    Require(BlocksSent < Blocks && bytes.size() == PayloadBlockSize);
    const auto wanted =
        std::string_view(Image).substr(ImageHeaderSize + Announced, PayloadBlockSize);
    Require(std::memcmp(bytes.data(), wanted.data(), wanted.size()) == 0);
    const bool handedOver = HandOver();
    BlocksSent += handedOver;
    return handedOver;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (Image.empty())
        Prepare();
    if (!HasRecord())
        WriteProgressRecord();
    Received = fuzz::Input(data, size);
    WritesLeft = Received.Byte() + 2U; // the first one is not watched
    BlocksSent = 0;
    State.Run.TransferAborted = Listens = false;
    State.Link.Verdict = TransferVerdict::Open;
    BootloaderTransfer();
    const bool success = State.Link.Verdict == TransferVerdict::Sent;
    Require(success == !HasRecord());
    Require(!success || BlocksSent == Blocks);
    TearDownTransfer();
    Require(!State.Link.TransferBufferA && !State.Link.ImageFile);
    return 0;
}
