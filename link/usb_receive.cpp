// The loop of a USB link, driven by three requests to the USB serial driver.
//
// A token that has come keeps the loop reading, with reads that return at once, until the sender
// clears it: it is the clearing that sends the loop back to its wait. The zero behind a token comes
// from the device; the loop puts none there.

#include "link/receive.h"

#include "link/link_calls.h"
#include "link/port.h"
#include "link/receive_buffer.h"
#include "state/state.h"

namespace {

// Device type 0x1B, the serial ports; buffered, any access.
constexpr DWORD SetMaskRequest = 0x1B0028;
constexpr DWORD WaitRequest = 0x1B002C;
constexpr DWORD ReadDoneRequest = 0x1B0030;
constexpr DWORD FirstMask = EV_RXCHAR | EV_CTS | EV_DSR | EV_RLSD | EV_ERR;
static_assert(FirstMask == 0xB9);

void StorePair(const std::uint8_t (&pair)[2]) {
    // Not by StoreBurst: a lone token takes the zero that was there, and the cursor does not move.
    // The second byte first: a sender that sees the token sees its zero too.
    State.Link.ReceiveBuffer[1] = pair[1];
    State.Link.ReceiveBuffer[0] = pair[0];
}

void ReadUntilTaken(OVERLAPPED* overlapped) {
    std::uint8_t pair[2] = {};
    do {
        const DWORD count = ReadLink(pair, overlapped);
        if (pair[0] != 0 && !State.Link.StopReceive) // GCOVR_EXCL_BR_LINE: stopped within the read
            StorePair(pair);
        pair[0] = 0;
        if (count == 0 && State.Link.ReceiveBuffer[0] != 0)
            Sleep(1); // nothing new: a token waits for the sender
    } while (State.Link.ReceiveBuffer[0] != 0 && !State.Link.StopReceive);
}

void Listen(OVERLAPPED* overlapped) {
    DWORD mask = FirstMask;
    bool listens = RequestOfDriver(SetMaskRequest, &mask, nullptr, nullptr);
    SignalReceiveReady();
    while (listens && !State.Link.StopReceive) {
        if (!RequestOfDriver(WaitRequest, nullptr, &mask, overlapped))
            return;
        listens = RequestOfDriver(SetMaskRequest, &mask, nullptr, nullptr);
        if (listens && !State.Link.StopReceive) { // GCOVR_EXCL_BR_LINE: closed or stopped by then
            ClearReceiveBuffer();
            ReadUntilTaken(overlapped);
            listens = RequestOfDriver(ReadDoneRequest, &mask, nullptr, nullptr);
        }
    }
}

} // namespace

DWORD WINAPI UsbReceiveLoop(LPVOID) {
    PrepareReceiveRecord();
    MarkReceiveRunning();
    SetReadsToReturnAtOnce();
    Listen(&State.Link.ReceiveOverlapped);
    State.Link.ReceiveRunning = false;
    CloseLinkPort();
    CloseReceiveHandles();
    return 0;
}
