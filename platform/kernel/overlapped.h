// An overlapped call that is under way.
#pragma once

#include "platform/kernel/waits.h"

#include <winbase.h>

#include <memory>

namespace platform {

// The caller's record and event for as long as the call is under way. Internal holds a status in
// the numbers of the Windows kernel, InternalHigh the count of bytes.
class OverlappedCall {
public:
    // Marks the record as pending and resets the event. `record` stays valid until Complete.
    OverlappedCall(OVERLAPPED* record, std::shared_ptr<Event> event);

    // Once, from any thread. The caller may have freed the record by the time this returns.
    void Complete(DWORD error, DWORD count);

    bool IsOfThread(DWORD thread) const { return thread_ == thread; }
    bool HasRecord(const OVERLAPPED* record) const { return record_ == record; }

private:
    OVERLAPPED* record_;
    std::shared_ptr<Event> event_;
    DWORD thread_; // that made the call
};

bool IsPending(const OVERLAPPED& record);

// What a call that has completed ends with; ERROR_SUCCESS for a good end.
DWORD CompletionError(const OVERLAPPED& record);

} // namespace platform
