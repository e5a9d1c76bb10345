// The bootloader's dialogue: it says what it likes, and a write may fail. The image goes out block
// by block and in order, each as it is in the file; the transfer is a success only after the last
// one.

#include "link/bootloader_message.h"
#include "link/bootloader_transfer.h"
#include "link/link_calls.h"
#include "link/port.h"
#include "link/receive.h"
#include "link/stall.h"
#include "link/wire.h"
#include "state/state.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

using fuzz::Require;

namespace {

constexpr std::uint32_t FileSize = ImageHeaderSize + 2 * PayloadBlockSize + 100;
constexpr std::uint32_t Blocks = 2; // of 100 bytes and filler the last one

std::string Image;    // the file, and its filler
fuzz::Input Received; // by the receive loop
std::uint32_t WritesLeft, BlocksSent;
bool Listens, Receives; // the receive loop: it was started; it runs

void MakeImage() {
    const auto path = test_support::HomeOfTests().Path("image.nbf");
    for (std::uint32_t at = 0; at < FileSize; ++at)
        Image += static_cast<char>(at * 7 + at / 251);
    test_support::WriteFileBytes(path, Image);
    Image.resize(ImageHeaderSize + (1 + Blocks) * PayloadBlockSize, '\xFF');
    std::snprintf(State.Paths.ImagePath, sizeof(State.Paths.ImagePath), "%s",
                  test_support::WindowsPathOf(path).c_str());
}

// Nothing may follow a write that has failed.
bool HandOver() {
    Require(WritesLeft > 0);
    return --WritesLeft > 0;
}

} // namespace

// The port, in place of a real one. At the end of what comes the stall timer ends the transfer.
bool OpenLinkPort(const char*) { return true; }
void CloseLinkPort() {}
bool AwaitOutputSent() { return true; }
void SetReadsToReturnAtOnce() {}
void SetLinkMask(DWORD) {}
bool RequestOfDriver(DWORD, const DWORD*, DWORD*, OVERLAPPED*) { return false; }
DWORD WaitForLinkEvent(OVERLAPPED*, DWORD*) { return EV_RXCHAR; }
DWORD ReadLink(std::span<std::uint8_t> bytes, OVERLAPPED*) {
    if (Received.left.empty())
        State.Run.TransferAborted = State.Link.StopReceive = true;
    bytes[0] = Received.Byte();
    return !State.Link.StopReceive && bytes[0] != 0xFF; // not yet
}
bool WriteLink(std::string_view) { return HandOver(); }
bool WriteLinkNumbers(std::initializer_list<std::uint32_t> numbers) {
    Require(*numbers.begin() == (1 + BlocksSent) * PayloadBlockSize);
    return HandOver();
}
bool WriteLink(fuzz::Bytes bytes) {
    const auto at = ImageHeaderSize + (1 + BlocksSent) * PayloadBlockSize;
    Require(BlocksSent < Blocks &&
            Image.compare(at, PayloadBlockSize, reinterpret_cast<const char*>(bytes.data()),
                          bytes.size()) == 0);
    BlocksSent += WritesLeft > 1;
    return HandOver();
}

// The receive loop has no thread: while the sender sleeps it runs until it leaves a message.
void StartLoop(DWORD (*)(LPVOID), bool) __asm__("__wrap__Z16StartReceiveLoopPFjPvEb");
void StartLoop(DWORD (*)(LPVOID), bool) { Listens = true; }
void Pause(DWORD) __asm__("__wrap__Z5Sleepj");
void Pause(DWORD) {
    if (Receives) {
        State.Link.StopReceive =
            State.Run.TransferAborted || ReceivedMessage() != BootloaderMessage::None;
    } else if (Listens) {
        Receives = true;
        BootloaderReceiveLoop(nullptr);
        Receives = State.Link.StopReceive = false;
    }
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (Image.empty())
        MakeImage();
    Received.left = {data, size};
    WritesLeft = Received.Byte() + 2U; // the first one is not watched
    BlocksSent = 0;
    State.Run.TransferAborted = Listens = false;
    State.Link.Verdict = TransferVerdict::Open;
    BootloaderTransfer();
    Require(State.Link.Verdict != TransferVerdict::Sent || BlocksSent == Blocks);
    TearDownTransfer();
    Require(!State.Link.TransferBufferA && !State.Link.ImageFile);
    return 0;
}
