// Processes as objects: opening one by its number, and ending it.

#include "platform/processes/processes.h"

#include "platform/base/errors.h"
#include "platform/processes/process_identity.h"

#include <winbase.h>

#include <cerrno>
#include <csignal>

#include <poll.h>
extern "C" { // which the C library's header does not declare itself
#include <sys/pidfd.h>
}
#include <unistd.h>

namespace platform {
namespace {

constexpr int MaxEndMilliseconds = 5000;

// The descriptor is opened first: from then on it means one process, whose start time is then
// compared. A number that no longer means the expected process opens nothing.
std::shared_ptr<Process> FindProcess(DWORD id) {
    Descriptor descriptor(id == 0 ? -1 : pidfd_open(static_cast<pid_t>(id), 0));
    const auto startTime = ProcessStartTime(id);
    const auto expected = ExpectedStartTime(id);
    if (!descriptor || startTime == 0 || (expected != 0 && expected != startTime)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (pidfd_send_signal(descriptor.Number(), 0, nullptr, 0) != 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return std::make_shared<Process>(static_cast<pid_t>(id), std::move(descriptor));
}

} // namespace

// Callers give the process some seconds of the layer's clock, which may run fast, and then open
// what it held; a loaded host may take longer than that to end it.
DWORD Process::Terminate() const {
    pollfd ended{descriptor_.Number(), POLLIN, 0};
    if (poll(&ended, 1, 0) > 0)
        return ERROR_ACCESS_DENIED;
    if (pidfd_send_signal(descriptor_.Number(), SIGKILL, nullptr, 0) != 0)
        return errno == ESRCH ? DWORD{ERROR_ACCESS_DENIED} : ErrorFromErrno(errno);
    poll(&ended, 1, MaxEndMilliseconds);
    return ERROR_SUCCESS;
}

} // namespace platform

using platform::Process;

HANDLE WINAPI OpenProcess(DWORD, BOOL, DWORD processId) {
    const auto process = platform::FindProcess(processId);
    return process ? platform::AddHandle(process) : nullptr;
}

BOOL WINAPI TerminateProcess(HANDLE handle, UINT) {
    const auto process = platform::FindHandleOf<Process>(handle);
    if (!process)
        return FALSE;
    const DWORD error = process->Terminate();
    if (error != ERROR_SUCCESS)
        SetLastError(error);
    return error == ERROR_SUCCESS;
}

DWORD WINAPI GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }
