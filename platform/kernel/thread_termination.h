// How threads that CreateThread starts are ended from outside.
//
// A thread that is stopped at an arbitrary instruction keeps every lock that it holds, those of the
// heap and of this layer among them, and the process hangs soon after. So TerminateThread signals
// the thread's handle at once, as its caller expects, and the thread itself leaves at its next wait
// in this layer, or the one it is in: there it unwinds and releases what it holds. Until then it
// may run on; a thread that never waits here is not ended.
#pragma once

#include <atomic>

namespace platform {

// Does not return where the calling thread has been terminated. For code that blocks in ways of its
// own: call it before and after, holding nothing that unwinding does not release, and never where
// an exception may not pass.
void LeaveIfTerminated();

// The flag that LeaveIfTerminated of the calling thread checks from now on; null for none. It
// outlives the thread, or is replaced before it goes.
void WatchTermination(const std::atomic<bool>* terminated);

} // namespace platform
