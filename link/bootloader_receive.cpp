// The loop for the bootloader's dialogue: text and tokens lie anywhere in a burst, so it reads on
// until one of the three messages that the sender answers is in the buffer.

#include "link/receive.h"

#include "link/bootloader_message.h"
#include "link/link_calls.h"
#include "link/receive_buffer.h"
#include "state/handles.h"
#include "state/state.h"

namespace {

constexpr DWORD MessagePauseMilliseconds = 100; // the sender has the token before the next burst
constexpr DWORD FirstMask = EV_RXCHAR | EV_CTS | EV_DSR | EV_RLSD | EV_RING;
constexpr DWORD LaterMask = FirstMask & ~static_cast<DWORD>(EV_RLSD);

bool HoldsMessage() { return ReceivedMessage() != BootloaderMessage::None; }

void ReadUntilMessage(OVERLAPPED* overlapped) {
    ClearReceiveBuffer();
    while (!State.Link.StopReceive && !HoldsMessage()) {
        std::uint8_t byte = 0;
        if (ReadLink({&byte, 1}, overlapped) != 1)
            Sleep(1);                     // the rest of the text is still on its way
        else if (!State.Link.StopReceive) // GCOVR_EXCL_BR_LINE: stopped within the read
            StoreReceivedText(byte);
    }
}

// The pause alone would do for a sender that polls every millisecond, were it not busy with the
// page at times. A byte that came while a text was being read leaves an event behind, and the next
// read begins with clearing the buffer: a message that is still there would be lost, and the
// handheld would wait for a block that never comes.
void LeaveMessageToSender() {
    Sleep(MessagePauseMilliseconds);
    while (HoldsMessage() && !State.Link.StopReceive)
        Sleep(1);
}

} // namespace

DWORD WINAPI BootloaderReceiveLoop(LPVOID) {
    OwnedObject event(CreateEventA(nullptr, TRUE, TRUE, nullptr));
    OVERLAPPED overlapped = {};
    overlapped.hEvent = event.Get();
    DWORD mask = 0;
    SetReadsToReturnAtOnce();
    SetLinkMask(FirstMask);
    MarkReceiveRunning();
    SignalReceiveReady();
    while (!State.Link.StopReceive) {
        const DWORD events = WaitForLinkEvent(&overlapped, &mask);
        SetLinkMask(LaterMask);
        if (State.Link.StopReceive)
            break;
        if (events & EV_RXCHAR)
            ReadUntilMessage(&overlapped);
        LeaveMessageToSender();
    }
    event.Close();
    State.Link.ReceiveRunning = false;
    return 0;
}
