// What ends a transfer: the stall timers, and the release of the link.
#pragma once

#include <windows.h>

#include <cstdint>

// What ProgressPage gives.
enum TransferResult : INT_PTR {
    TransferSent = 1,    // by the sender's last step
    TransferStalled = 2, // by a timer
};

constexpr UINT_PTR PieceTimer = 1;  // 30000 ms for the next token
constexpr UINT_PTR AnswerTimer = 2; // 20000 ms for the answer to the start byte

// Posted to ProgressPage by the sender: timer (first parameter) for so many milliseconds (second
// parameter), 0 to kill it. A timer belongs to the thread of its window, so the page sets it.
constexpr UINT StallTimerMessage = WM_APP + 1;

// The sender's side: (re)starts or kills a timer of ProgressPage.
void StartStallTimer(UINT_PTR timer);
void KillStallTimer(UINT_PTR timer);

// The page's side, for StallTimerMessage and WM_TIMER. Main thread.
void SetStallTimer(HWND page, UINT_PTR timer, DWORD milliseconds);

// A piece has been handed over and so many bytes are left. False, with nothing recorded, when a
// timer was faster: the page that follows has been chosen by what was recorded before. On the
// thread of the sender.
bool RecordBytesRemaining(std::uint32_t remaining);

// The one line that makes a transfer a success; false when a timer was faster. The same thread.
bool MarkSent();

// A timer of ProgressPage has fired: stops the sender and the receive loop, gives up the buffers
// and ends the page with 2, unless the sender has finished at this very moment.
void EndStalledTransfer(HWND page, UINT_PTR timer);

// After a failed transfer: closes the port and ends the receive loop. The failure pages do so for a
// serial link.
void ReleaseLink();

// After a good transfer: ends the receive loop, closes the link, frees the buffers.
void TearDownTransfer();

// At the end of the wizard: gives up what a failed transfer has left, which on USB and with the
// bootloader is the link itself, and waits up to 20 s for the threads of the transfer, ten for
// each.
void LeaveTransfer();
