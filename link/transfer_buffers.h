// Who frees the buffers of a transfer.
//
// The sender works on them on its own thread while a timer on the main thread may give the
// transfer up. Neither may free them under the other: the last one out does.
#pragma once

#include <windows.h>

// The sender's hold on the buffers and the image file, from its first use to its end.
class SenderGuard {
public:
    SenderGuard();
    ~SenderGuard(); // frees everything if the transfer has been given up meanwhile
    SenderGuard(const SenderGuard&) = delete;
    SenderGuard& operator=(const SenderGuard&) = delete;
};

// The other side: raises TransferAborted, so that the sender stops at its next poll, and frees the
// buffers and closes ImageFile unless a sender still holds them. May be called more than once.
void AbandonTransfer();
