// Threads, their handles, sleeps and ends. How a thread is terminated, and why so, is in
// thread_termination.h.

#include "platform/base/clock.h"
#include "platform/kernel/thread_termination.h"
#include "platform/kernel/waits.h"

#include <winbase.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <unistd.h>

namespace platform {
namespace {

// A sleep that another thread can end, for good. A semaphore takes one call of the host where a
// condition variable takes two, and a thread that polls does little but sleep.
class EndableSleep {
public:
    EndableSleep() { sem_init(&end_, 0, 0); }
    ~EndableSleep() { sem_destroy(&end_); }
    EndableSleep(const EndableSleep&) = delete;
    EndableSleep& operator=(const EndableSleep&) = delete;

    void End() { sem_post(&end_); }

    void Until(HostClock::time_point deadline) {
        const auto time = deadline.time_since_epoch();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
        const timespec end = {seconds.count(), std::chrono::nanoseconds(time - seconds).count()};
        while (sem_clockwait(&end_, CLOCK_MONOTONIC, &end) != 0 && errno == EINTR) {
        }
    }

private:
    sem_t end_;
};

class Thread : public Waitable {
public:
    bool IsSignalled() const override { return ended_; }

    void End() {
        const std::lock_guard lock(WaitLock());
        ended_ = true;
        WaitCondition().notify_all();
    }

    void Terminate() {
        terminated_ = true;
        End();
        sleep_.End();
    }

    // For the thread itself; ends early where it is terminated.
    void SleepUntil(HostClock::time_point deadline) { sleep_.Until(deadline); }

    const std::atomic<bool>& Terminated() const { return terminated_; }

    void PublishId(DWORD id) {
        const std::lock_guard lock(WaitLock());
        id_ = id;
        WaitCondition().notify_all();
    }

    DWORD WaitForId() {
        std::unique_lock lock(WaitLock());
        WaitCondition().wait(lock, [this] { return id_ != 0; });
        return id_;
    }

private:
    EndableSleep sleep_;
    DWORD id_ = 0;
    bool ended_ = false;
    std::atomic<bool> terminated_ = false;
};

// What the running thread leaves behind when it ends, by return or by unwinding.
struct RunningThread {
    std::shared_ptr<Thread> thread;

    explicit RunningThread(std::shared_ptr<Thread> self);
    ~RunningThread();
};

thread_local RunningThread* running = nullptr;

RunningThread::RunningThread(std::shared_ptr<Thread> self) : thread(std::move(self)) {
    running = this;
    WatchTermination(&thread->Terminated());
    thread->PublishId(GetCurrentThreadId());
}

RunningThread::~RunningThread() {
    running = nullptr;
    WatchTermination(nullptr);
    thread->End();
}

struct ThreadStart {
    std::shared_ptr<Thread> thread;
    LPTHREAD_START_ROUTINE routine;
    LPVOID parameter;
};

void* RunThread(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    const RunningThread self(start->thread);
    start->routine(start->parameter);
    return nullptr;
}

bool StartDetached(ThreadStart* start) {
    pthread_t id;
    if (pthread_create(&id, nullptr, RunThread, start) != 0)
        return false;
    pthread_detach(id);
    return true;
}

void SleepUntil(HostClock::time_point deadline) {
    if (running)
        running->thread->SleepUntil(deadline);
    else
        std::this_thread::sleep_until(deadline);
}

} // namespace
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
    auto startData =
        std::make_unique<platform::ThreadStart>(platform::ThreadStart{thread, start, parameter});
    if (!platform::StartDetached(startData.get())) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    static_cast<void>(startData.release()); // the thread frees it
    const DWORD startedId = thread->WaitForId();
    if (id)
        *id = startedId;
    return platform::AddHandle(thread);
}

BOOL WINAPI TerminateThread(HANDLE handle, DWORD) {
    const auto thread = FindHandleOf<Thread>(handle);
    if (!thread)
        return FALSE;
    thread->Terminate();
    platform::LeaveIfTerminated();
    return TRUE;
}

DWORD WINAPI GetCurrentThreadId() {
    static thread_local const auto id = static_cast<DWORD>(gettid());
    return id;
}

void WINAPI Sleep(DWORD milliseconds) {
    platform::LeaveIfTerminated();
    if (milliseconds == 0)
        sched_yield();
    else if (milliseconds == INFINITE)
        platform::SleepUntil(platform::HostClock::time_point::max());
    else
        platform::SleepUntil(platform::SleepDeadline(milliseconds));
    platform::LeaveIfTerminated();
}
