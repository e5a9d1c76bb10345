// Ending a transfer, good or bad. A device that has died looks just like one that is busy; the only
// watch is a timer.
//
// The order here is what keeps the threads apart: TransferAborted is raised first, then
// StopReceive, and handles are closed only when the loop has left, apart from the port itself,
// whose closing is how an outstanding wait is ended.

#include "link/stall.h"

#include "link/port.h"
#include "link/receive.h"
#include "link/transfer_buffers.h"
#include "link/wire.h"
#include "state/progress_record.h"
#include "state/state.h"

#include <atomic>
#include <mutex>

namespace {

constexpr DWORD PieceMilliseconds = 30000;
constexpr DWORD AnswerMilliseconds = 20000;
constexpr DWORD MaxLeaveMilliseconds = 10000; // a loop pauses for a second at most
constexpr DWORD PollMilliseconds = 10;

void PostToProgressPage(UINT_PTR timer, DWORD milliseconds) {
    PostMessageA(State.Windows.ProgressPage, StallTimerMessage, timer,
                 static_cast<LPARAM>(milliseconds));
}

// False when it is still there after the limit: blocked in a driver that never answers.
bool WaitToLeave(const std::atomic<bool>& running) {
    for (DWORD waited = 0; running && waited < MaxLeaveMilliseconds; waited += PollMilliseconds)
        Sleep(PollMilliseconds);
    return !running;
}

bool WaitForLoopToLeave() { return WaitToLeave(State.Link.ReceiveRunning); }

// Decides how the transfer has ended, unless that is decided.
bool Decide(TransferVerdict verdict) {
    const std::lock_guard lock(State.Link.VerdictLock);
    if (State.Link.Verdict != TransferVerdict::Open)
        return false;
    State.Link.Verdict = verdict;
    return true;
}

void WakeLoop() {
    const std::lock_guard lock(State.Link.LinkLock);
    if (State.Link.ReceiveEvent)
        SetEvent(State.Link.ReceiveEvent);
}

// Only for a loop that is stuck: it holds nothing but its wait.
void TerminateLoop() {
    const std::lock_guard lock(State.Link.LinkLock);
    if (State.Link.ReceiveThread)
        TerminateThread(State.Link.ReceiveThread, 0);
    State.Link.ReceiveRunning = false; // nobody else can say so any more
}

} // namespace

void StartStallTimer(UINT_PTR timer) {
    PostToProgressPage(timer, timer == PieceTimer ? PieceMilliseconds : AnswerMilliseconds);
}

void KillStallTimer(UINT_PTR timer) { PostToProgressPage(timer, 0); }

void SetStallTimer(HWND page, UINT_PTR timer, DWORD milliseconds) {
    if (milliseconds == 0)
        KillTimer(page, timer);
    else
        SetTimer(page, timer, milliseconds, nullptr);
}

// A stall is decided before the recording or after it. The note waits for the registry's lock and
// its disk, so it comes after; the device asks for the held-back block only after this.
bool RecordBytesRemaining(std::uint32_t remaining) {
    {
        const std::lock_guard lock(State.Link.VerdictLock);
        if (State.Link.Verdict != TransferVerdict::Open)
            return false;
        State.Run.BytesRemaining = remaining;
    }
    if (remaining <= HeldBackSize)
        NoteHeldBackBlock();
    return true;
}

bool MarkSent() { return Decide(TransferVerdict::Sent); }

void EndStalledTransfer(HWND page, UINT_PTR timer) {
    KillTimer(page, timer);
    if (!Decide(TransferVerdict::Stalled))
        return;
    AbandonTransfer();
    State.Link.StopReceive = true;
    EndDialog(page, TransferStalled);
}

void ReleaseLink() {
    State.Link.StopReceive = true;
    CloseLinkPort();
    // A loop that never leaves keeps its handles; the end of the process closes them.
    if (WaitForLoopToLeave())
        CloseReceiveHandles();
}

void TearDownTransfer() {
    AbandonTransfer();
    State.Link.StopReceive = true;
    // The closing ends a wait that is outstanding or just about to start; the signal wakes a loop
    // whose driver does not.
    CloseLinkPort();
    WakeLoop();
    if (!WaitForLoopToLeave())
        TerminateLoop();
    CloseReceiveHandles();
}

void LeaveTransfer() {
    AbandonTransfer();
    ReleaseLink();
    WaitToLeave(State.Link.SenderRuns);
    AbandonTransfer(); // a sender that has just left may not have come to free what it held
}
