// Threads, their handles and their ends; threads.h tells how a thread is terminated.

#include "platform/threads.h"

#include "platform/waits.h"

#include <winbase.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace platform {
namespace {

class Thread : public Waitable {
public:
    bool IsSignalled() const override { return ended_; }

    // The first end counts: a terminated thread that leaves later keeps the code it was given.
    void End(DWORD exitCode) {
        const std::lock_guard guard(WaitLock());
        if (!std::exchange(ended_, true))
            exitCode_ = exitCode;
        WaitCondition().notify_all();
    }

    void Terminate(DWORD exitCode) {
        terminated_ = true;
        End(exitCode);
    }

    bool IsTerminated() const { return terminated_; }

    DWORD ExitCode() const {
        const std::lock_guard guard(WaitLock());
        return ended_ ? exitCode_ : STILL_ACTIVE;
    }

    void PublishId(DWORD id) {
        const std::lock_guard guard(WaitLock());
        id_ = id;
        WaitCondition().notify_all();
    }

    DWORD WaitForId() {
        std::unique_lock guard(WaitLock());
        WaitCondition().wait(guard, [this] { return id_ != 0; });
        return id_;
    }

private:
    DWORD id_ = 0;
    DWORD exitCode_ = 0;
    bool ended_ = false;
    std::atomic<bool> terminated_ = false;
};

// What the running thread leaves behind when it ends, by return or by unwinding.
struct RunningThread {
    std::shared_ptr<Thread> thread;
    DWORD exitCode = 0;

    explicit RunningThread(std::shared_ptr<Thread> self);
    ~RunningThread();
};

thread_local RunningThread* running = nullptr;

RunningThread::RunningThread(std::shared_ptr<Thread> self) : thread(std::move(self)) {
    running = this;
    thread->PublishId(GetCurrentThreadId());
}

RunningThread::~RunningThread() {
    running = nullptr;
    thread->End(exitCode);
}

struct ThreadStart {
    std::shared_ptr<Thread> thread;
    LPTHREAD_START_ROUTINE routine;
    LPVOID parameter;
};

void* RunThread(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    RunningThread self(start->thread);
    self.exitCode = start->routine(start->parameter);
    return nullptr;
}

bool StartDetached(ThreadStart* start) {
    pthread_t id;
    if (pthread_create(&id, nullptr, RunThread, start) != 0)
        return false;
    pthread_detach(id);
    return true;
}

} // namespace

void LeaveIfTerminated() {
    if (running && running->thread->IsTerminated())
        pthread_exit(nullptr);
}

} // namespace platform

using platform::FindHandleOf;
using platform::Thread;

// The stack size is that of the host's threads: it is larger than Windows would reserve.
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE start,
                           LPVOID parameter, DWORD flags, LPDWORD id) {
    if (!start || flags != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    auto thread = std::make_shared<Thread>();
    auto given = std::make_unique<platform::ThreadStart>(thread, start, parameter);
    if (!platform::StartDetached(given.get())) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    given.release();
    const DWORD startedId = thread->WaitForId();
    if (id)
        *id = startedId;
    return platform::AddHandle(thread);
}

void WINAPI ExitThread(DWORD exitCode) {
    if (platform::running)
        platform::running->exitCode = exitCode;
    pthread_exit(nullptr);
}

BOOL WINAPI TerminateThread(HANDLE handle, DWORD exitCode) {
    const auto thread = FindHandleOf<Thread>(handle);
    if (!thread)
        return FALSE;
    thread->Terminate(exitCode);
    platform::LeaveIfTerminated();
    return TRUE;
}

BOOL WINAPI GetExitCodeThread(HANDLE handle, LPDWORD exitCode) {
    const auto thread = FindHandleOf<Thread>(handle);
    if (!thread)
        return FALSE;
    *exitCode = thread->ExitCode();
    return TRUE;
}

DWORD WINAPI GetCurrentThreadId() {
    static thread_local const auto id = static_cast<DWORD>(gettid());
    return id;
}
