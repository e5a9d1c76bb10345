// How a loop is started, and the loop of a serial link.
//
// A burst clears the whole buffer, so a token followed by any further byte, its own zero among
// them, would be wiped out before the sender has seen it. That is why this loop pauses once a
// token is in the buffer: for a second, and for as long as the sender is kept from looking, by a
// display that is stopped or a slow disk.

#include "link/receive.h"

#include "link/link_calls.h"
#include "link/port.h"
#include "link/receive_buffer.h"
#include "state/handles.h"
#include "state/state.h"

#include <array>
#include <atomic>
#include <mutex>
#include <utility>

namespace {

constexpr DWORD FlasherStartMilliseconds = 20000;
constexpr DWORD TokenPauseMilliseconds = 1000;
constexpr DWORD PauseStepMilliseconds = 100; // StopReceive is looked at in between
constexpr DWORD FirstMask = EV_RXCHAR | EV_CTS | EV_DSR | EV_RLSD | EV_RING;
constexpr DWORD LaterMask = FirstMask & ~static_cast<DWORD>(EV_RLSD);
static_assert(FirstMask == 0x139 && LaterMask == 0x119);

bool HoldsAnyToken() {
    for (std::uint8_t token = 1; token <= 5; ++token) {
        if (HoldsToken(token))
            return true;
    }
    return false;
}

// A burst is shown when it has ended. Shown byte by byte, a token that has no zero behind it would
// look like one for a moment; and a sender that is quicker than this loop would clear a token
// before its zero has been read. Zeros at the start of a burst are left out: a driver that hands a
// token over without its zero keeps that zero through the pause below, and a quick handheld's next
// token then stands behind it, where no sender looks.
void ReadBurst(OVERLAPPED* overlapped) {
    ClearReceiveBuffer();
    std::array<std::uint8_t, MaxReceived> burst;
    std::size_t count = 0;
    std::uint8_t byte = 0;
    const std::atomic<bool>& stopped = State.Link.StopReceive;
    while (!stopped && ReadLink({&byte, 1}, overlapped) == 1) { // GCOVR_EXCL_BR_LINE: stopped there
        if (count < burst.size() && (count > 0 || byte != 0))
            burst[count++] = byte;
    }
    if (!stopped) // GCOVR_EXCL_BR_LINE: stopped within the burst
        StoreBurst({burst.data(), count});
}

// Ends: a sender that waits for a token looks every millisecond, one that has gone leaves with
// StopReceive.
void LeaveTokenToSender() {
    const std::uint32_t looks = State.Link.SenderLooks;
    for (DWORD waited = 0; waited < TokenPauseMilliseconds && !State.Link.StopReceive;
         waited += PauseStepMilliseconds)
        Sleep(PauseStepMilliseconds);
    while (State.Link.SenderLooks - looks < 2 && !State.Link.StopReceive)
        Sleep(1);
}

} // namespace

void PrepareReceiveRecord() {
    State.Link.ReceiveOverlapped = {};
    const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    State.Link.ReceiveOverlapped.hEvent = event;
    const std::lock_guard lock(State.Link.LinkLock);
    State.Link.ReceiveEvent = event;
}

bool StartReceive() {
    Sleep(FlasherStartMilliseconds); // the flasher takes the port over only after this
    State.Link.ReceiveCursor = 0;
    if (!OpenLinkPort(State.Paths.SerialPortName))
        return false;
    if (!State.Run.SerialLinkSelected) {
        // The USB driver is opened, closed and opened once more; the loop runs on the second one.
        CloseLinkPort();
        if (!OpenLinkPort(State.Paths.SerialPortName))
            return false;
    }
    StartReceiveLoop(State.Run.SerialLinkSelected ? SerialReceiveLoop : UsbReceiveLoop, true);
    return true;
}

void StartReceiveLoop(DWORD(WINAPI* loop)(LPVOID), bool keepThread) {
    State.Link.StopReceive = false;
    State.Link.ReceiveCameUp = false;
    {
        // Under the lock, so that a loop that ends at once finds its own handle to close.
        const std::lock_guard lock(State.Link.LinkLock);
        DWORD id = 0;
        OwnedObject thread(CreateThread(nullptr, 0, loop, nullptr, 0, &id));
        if (!thread)
            return; // no loop: no token is ever seen, and the stall timer ends the transfer
        if (keepThread)
            State.Link.ReceiveThread = thread.Release();
    }
    // Ends: every loop raises the flag once it listens, or when it finds that it cannot.
    while (!State.Link.ReceiveCameUp)
        Sleep(1);
}

void CloseReceiveHandles() {
    const std::lock_guard lock(State.Link.LinkLock);
    OwnedObject(std::exchange(State.Link.ReceiveEvent, nullptr)).Close();
    OwnedObject(std::exchange(State.Link.ReceiveThread, nullptr)).Close();
}

void MarkReceiveRunning() { State.Link.ReceiveRunning = true; }

void SignalReceiveReady() { State.Link.ReceiveCameUp = true; }

DWORD WINAPI SerialReceiveLoop(LPVOID) {
    OVERLAPPED& overlapped = State.Link.ReceiveOverlapped;
    DWORD mask = 0;
    PrepareReceiveRecord();
    MarkReceiveRunning();
    SetReadsToReturnAtOnce();
    SetLinkMask(FirstMask);
    SignalReceiveReady();
    while (!State.Link.StopReceive) {
        const DWORD events = WaitForLinkEvent(&overlapped, &mask);
        SetLinkMask(LaterMask);
        if (State.Link.StopReceive)
            break; // the wait was ended by the closing of the port
        if (events & EV_RXCHAR)
            ReadBurst(&overlapped);
        if (HoldsAnyToken())
            LeaveTokenToSender();
        else if (events == 0)
            Sleep(1); // a lost device fails every wait at once; the stall timer ends this
    }
    State.Link.ReceiveRunning = false;
    return 0;
}
