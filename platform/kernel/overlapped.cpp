// Overlapped calls: the record in the caller's memory, and how it is completed.
//
// The order in Complete matters. A caller may see the end in Internal alone and free the record at
// once, so that store is the last touch of it; the event is kept alive by the call itself.

#include "platform/kernel/overlapped.h"

#include <commapi.h>

#include <array>
#include <atomic>
#include <utility>

namespace platform {
namespace {

// As published in ntstatus.h.
constexpr ULONG_PTR StatusPending = 0x00000103;
constexpr ULONG_PTR StatusUnsuccessful = 0xC0000001;

struct StatusOfError {
    DWORD error;
    ULONG_PTR status;
};

constexpr std::array<StatusOfError, 4> Statuses{{
    {ERROR_SUCCESS, 0},
    {ERROR_OPERATION_ABORTED, 0xC0000120}, // cancelled
    {ERROR_IO_DEVICE, 0xC0000185},         // I/O device error
    {ERROR_GEN_FAILURE, StatusUnsuccessful},
}};

ULONG_PTR StatusFor(DWORD error) {
    for (const StatusOfError& row : Statuses)
        if (row.error == error)
            return row.status;
    return StatusUnsuccessful;
}

ULONG_PTR LoadStatus(const OVERLAPPED& record) {
    return std::atomic_ref(const_cast<OVERLAPPED&>(record).Internal)
        .load(std::memory_order_acquire);
}

} // namespace

OverlappedCall::OverlappedCall(OVERLAPPED* record, std::shared_ptr<Event> event)
    : record_(record), event_(std::move(event)), thread_(GetCurrentThreadId()) {
    event_->Reset();
    record_->InternalHigh = 0;
    std::atomic_ref(record_->Internal).store(StatusPending, std::memory_order_release);
}

void OverlappedCall::Complete(DWORD error, DWORD count) {
    OVERLAPPED* record = std::exchange(record_, nullptr);
    record->InternalHigh = count;
    std::atomic_ref(record->Internal).store(StatusFor(error), std::memory_order_release);
    event_->Set();
}

bool IsPending(const OVERLAPPED& record) { return LoadStatus(record) == StatusPending; }

DWORD CompletionError(const OVERLAPPED& record) {
    const ULONG_PTR status = LoadStatus(record);
    for (const StatusOfError& row : Statuses)
        if (row.status == status)
            return row.error;
    return ERROR_GEN_FAILURE;
}

} // namespace platform

// The file's handle is ignored: it may have been closed meanwhile, which is what ended the call.
BOOL WINAPI GetOverlappedResult(HANDLE, LPOVERLAPPED overlapped, LPDWORD transferred, BOOL wait) {
    if (platform::IsPending(*overlapped) && wait &&
        WaitForSingleObject(overlapped->hEvent, INFINITE) == WAIT_FAILED)
        return FALSE;
    if (platform::IsPending(*overlapped)) {
        SetLastError(ERROR_IO_INCOMPLETE);
        return FALSE;
    }
    *transferred = static_cast<DWORD>(overlapped->InternalHigh);
    const DWORD error = platform::CompletionError(*overlapped);
    if (error != ERROR_SUCCESS)
        SetLastError(error);
    return error == ERROR_SUCCESS;
}
