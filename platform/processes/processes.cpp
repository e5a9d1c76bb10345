// Processes as objects: waiting for one, ending one, opening one by its number.

#include "platform/processes/processes.h"

#include "platform/base/errors.h"
#include "platform/kernel/signals_blocked.h"
#include "platform/processes/process_identity.h"

#include <winbase.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <thread>
#include <utility>

#include <poll.h>
#include <pthread.h>
extern "C" { // which the C library's header does not declare itself
#include <sys/pidfd.h>
}
#include <sys/wait.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr DWORD CodeOfSignal = 128; // as shells report it
constexpr int MaxEndMilliseconds = 5000;

} // namespace

bool Process::HasEnded() const {
    pollfd ended{descriptor_.Number(), POLLIN, 0};
    return poll(&ended, 1, 0) > 0;
}

// A child counts as ended once its exit code is known; of others none ever is.
bool Process::IsSignalled() const { return ended_ || (!isChild_ && HasEnded()); }

void Process::PrepareWait() {
    {
        const std::lock_guard lock(WaitLock());
        if (std::exchange(watched_, true))
            return;
    }
    const SignalsBlocked blocked;
    std::thread([self = shared_from_this()] { self->WatchUntilEnd(); }).detach();
}

void Process::WatchUntilEnd() {
    const DWORD code = WaitForExitCode();
    const std::lock_guard lock(WaitLock());
    ended_ = true;
    exitCode_ = terminated_ && code == CodeOfSignal + SIGKILL ? terminateCode_ : code;
    WaitCondition().notify_all();
}

DWORD Process::WaitForExitCode() {
    siginfo_t info{};
    const auto id = static_cast<id_t>(descriptor_.Number());
    while (isChild_ && waitid(P_PIDFD, id, &info, WEXITED) != 0)
        if (errno != EINTR)
            break;
    pollfd ended{descriptor_.Number(), POLLIN, 0};
    while (poll(&ended, 1, -1) < 0 && errno == EINTR) {
    }
    const auto status = static_cast<DWORD>(info.si_status);
    if (!isChild_)
        return CodeOfSignal + SIGKILL;
    return info.si_code == CLD_EXITED ? status : CodeOfSignal + status;
}

DWORD Process::ExitCode() const {
    const std::lock_guard lock(WaitLock());
    if (!IsSignalled())
        return STILL_ACTIVE;
    if (isChild_)
        return exitCode_;
    return terminated_ ? terminateCode_ : 0;
}

DWORD Process::Terminate(DWORD exitCode) {
    if (id_ == getpid())
        ExitProcess(exitCode);
    const std::lock_guard lock(WaitLock());
    if (IsSignalled())
        return ERROR_ACCESS_DENIED;
    if (pidfd_send_signal(descriptor_.Number(), SIGKILL, nullptr, 0) != 0)
        return errno == ESRCH ? DWORD{ERROR_ACCESS_DENIED} : ErrorFromErrno(errno);
    terminated_ = true;
    terminateCode_ = exitCode;
    return ERROR_SUCCESS;
}

void Process::WaitBriefly() const {
    pollfd ended{descriptor_.Number(), POLLIN, 0};
    poll(&ended, 1, MaxEndMilliseconds);
}

namespace {

// The descriptor is opened first: from then on it means one process, whose start time is then
// compared. A number that no longer means the expected process opens nothing.
std::shared_ptr<Process> FindProcess(DWORD id, DWORD access) {
    Descriptor descriptor(id == 0 ? -1 : pidfd_open(static_cast<pid_t>(id), 0));
    const auto startTime = ProcessStartTime(id);
    const auto expected = ExpectedStartTime(id);
    if (!descriptor || startTime == 0 || (expected != 0 && expected != startTime)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if ((access & PROCESS_TERMINATE) &&
        pidfd_send_signal(descriptor.Number(), 0, nullptr, 0) != 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return std::make_shared<Process>(static_cast<pid_t>(id), std::move(descriptor), false);
}

} // namespace
} // namespace platform

using platform::FindHandleOf;
using platform::Process;

HANDLE WINAPI OpenProcess(DWORD access, BOOL, DWORD processId) {
    const auto process = platform::FindProcess(processId, access);
    return process ? platform::AddHandle(process) : nullptr;
}

BOOL WINAPI TerminateProcess(HANDLE handle, UINT exitCode) {
    const auto process = FindHandleOf<Process>(handle);
    if (!process)
        return FALSE;
    const DWORD error = process->Terminate(exitCode);
    if (error != ERROR_SUCCESS) {
        SetLastError(error);
        return FALSE;
    }
    // Callers give the process some seconds of the layer's clock, which may run fast, and then open
    // what it held; a loaded host may take longer than that to end it.
    process->WaitBriefly();
    return TRUE;
}

BOOL WINAPI GetExitCodeProcess(HANDLE handle, LPDWORD exitCode) {
    const auto process = FindHandleOf<Process>(handle);
    if (!process)
        return FALSE;
    *exitCode = process->ExitCode();
    return TRUE;
}

DWORD WINAPI GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

// At once, as on Windows: no other thread runs on into objects that are being destroyed. Only the
// two output streams are flushed; to flush all would wait for a thread that reads the input.
void WINAPI ExitProcess(UINT exitCode) {
    std::fflush(stdout);
    std::fflush(stderr);
    _exit(static_cast<int>(exitCode));
}
