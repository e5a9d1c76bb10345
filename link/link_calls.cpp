// How a receive loop calls the port: a lock around the start of each call, none around its wait.

#include "link/link_calls.h"

#include "state/state.h"

#include <mutex>

namespace {

enum class Started { Done, Pending, Failed };

template <class Call>
Started StartOnLink(Call call) {
    const std::lock_guard lock(State.Link.LinkLock);
    if (!State.Link.LinkHandle)
        return Started::Failed;
    if (call(State.Link.LinkHandle))
        return Started::Done;
    return GetLastError() == ERROR_IO_PENDING ? Started::Pending : Started::Failed;
}

} // namespace

void SetReadsToReturnAtOnce() {
    StartOnLink([](HANDLE port) {
        COMMTIMEOUTS limits = {};
        GetCommTimeouts(port, &limits);
        limits.ReadIntervalTimeout = 0xFFFFFFFF;
        limits.ReadTotalTimeoutMultiplier = 0;
        limits.ReadTotalTimeoutConstant = 0;
        return SetCommTimeouts(port, &limits);
    });
}

void SetLinkMask(DWORD mask) {
    StartOnLink([mask](HANDLE port) { return SetCommMask(port, mask); });
}

DWORD WaitForLinkEvent(OVERLAPPED* overlapped, DWORD* mask) {
    *mask = 0;
    const Started started =
        StartOnLink([=](HANDLE port) { return WaitCommEvent(port, mask, overlapped); });
    // No limit: the wait ends with a byte, with the closing of the port or with SetEvent.
    if (started == Started::Pending)
        WaitForSingleObject(overlapped->hEvent, INFINITE);
    return started == Started::Failed ? 0 : *mask;
}

DWORD ReadLink(std::span<std::uint8_t> bytes, OVERLAPPED* overlapped) {
    DWORD count = 0;
    const Started started = StartOnLink([&](HANDLE port) {
        return ReadFile(port, bytes.data(), static_cast<DWORD>(bytes.size()), &count, overlapped);
    });
    // Such a read returns at once; it is a driver's of Windows that may say so later.
    if (started == Started::Pending) {                        // GCOVR_EXCL_BR_LINE: as platform/
        WaitForSingleObject(overlapped->hEvent, INFINITE);    // GCOVR_EXCL_LINE: says at once
        count = static_cast<DWORD>(overlapped->InternalHigh); // GCOVR_EXCL_LINE: what has come
    }
    return started == Started::Failed ? 0 : count;
}

bool RequestOfDriver(DWORD code, const DWORD* input, DWORD* output, OVERLAPPED* overlapped) {
    DWORD count = 0;
    HANDLE device = nullptr;
    const Started started = StartOnLink([&](HANDLE port) {
        device = port;
        return DeviceIoControl(port, code, const_cast<DWORD*>(input), input ? sizeof(*input) : 0,
                               output, output ? sizeof(*output) : 0, &count, overlapped);
    });
    if (started != Started::Pending)
        return started == Started::Done;
    // No limit: it ends with a byte, with the device or with the closing of the port. The record's
    // event is what is waited for, so the handle may have been closed by then.
    return GetOverlappedResult(device, overlapped, &count, TRUE) != FALSE;
}
