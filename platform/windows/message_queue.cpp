// Threads' message queues: sending, posting, fetching.
//
// A thread that waits for the answer to what it has sent serves what is sent to it meanwhile, so
// that two threads that send to each other do not block for ever. A window or thread that ends
// finishes what still waits for it with 0.

#include "platform/kernel/thread_termination.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace platform {

namespace {

constexpr std::size_t MaxPostedMessages = 10000; // as on Windows: more are refused

void Finish(SentWork& sent, LRESULT result) {
    sent.result = result;
    sent.done = true;
    sent.sender->changed.notify_all();
}

// Serves the oldest work sent to the thread. Also where a procedure ends its thread, the sender
// gets its answer.
void ServeSent(WindowLock& lock, ThreadQueue& queue) {
    struct Answer {
        WindowLock& lock;
        std::shared_ptr<SentWork> sent;
        LRESULT result = 0;
        ~Answer() {
            if (!lock.owns_lock())
                lock.lock();
            Finish(*sent, result);
        }
    } answer{lock, queue.sent.front()};
    queue.sent.pop_front();
    lock.unlock();
    answer.result = answer.sent->serve();
    lock.lock();
}

MSG NewMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
    MSG posted = {};
    posted.hwnd = window;
    posted.message = message;
    posted.wParam = first;
    posted.lParam = second;
    return posted;
}

bool PopPosted(ThreadQueue& queue, MSG& message) {
    if (queue.posted.empty())
        return false;
    message = queue.posted.front();
    queue.posted.pop_front();
    return true;
}

bool PopQuit(ThreadQueue& queue, MSG& message) {
    if (!queue.quit)
        return false;
    message = NewMessage(nullptr, WM_QUIT, static_cast<WPARAM>(*queue.quit), 0);
    queue.quit.reset();
    return true;
}

// A window that nobody paints on WM_PAINT counts as painted: nothing here gets lost by it.
bool PopPaint(const std::shared_ptr<ThreadQueue>& queue, MSG& message) {
    for (auto& [handle, window] : Model().windows) {
        if (window->queue != queue || !window->needsPaint || !IsVisibleWithParents(*window))
            continue;
        window->needsPaint = false;
        message = NewMessage(handle, WM_PAINT, 0, 0);
        return true;
    }
    return false;
}

bool PopTimer(ThreadQueue& queue, MSG& message) {
    auto first =
        std::min_element(queue.timers.begin(), queue.timers.end(),
                         [](const Timer& one, const Timer& other) { return one.due < other.due; });
    if (first == queue.timers.end() || first->due > HostClock::now())
        return false;
    first->due = HostDeadline(first->milliseconds);
    message = NewMessage(first->window, WM_TIMER, first->id, 0);
    return true;
}

void WaitForChange(WindowLock& lock, ThreadQueue& queue) {
    auto first =
        std::min_element(queue.timers.begin(), queue.timers.end(),
                         [](const Timer& one, const Timer& other) { return one.due < other.due; });
    if (first == queue.timers.end())
        queue.changed.wait(lock);
    else
        queue.changed.wait_until(lock, HostClock::time_point(first->due));
}

// What can be fetched now, or Nothing. Serves what was sent on the way.
FetchResult TryFetch(WindowLock& lock, const std::shared_ptr<ThreadQueue>& queue, MSG& message,
                     const std::function<bool()>& stop) {
    while (!queue->sent.empty())
        ServeSent(lock, *queue);
    if (stop && stop())
        return FetchResult::Stopped;
    if (PopPosted(*queue, message))
        return FetchResult::Message;
    if (PopQuit(*queue, message))
        return FetchResult::Quit;
    if (PopPaint(queue, message) || PopTimer(*queue, message))
        return FetchResult::Message;
    return FetchResult::Nothing;
}

} // namespace

FetchResult FetchMessage(MSG& message, const std::function<bool()>& stop, bool wait) {
    auto queue = CurrentQueue();
    auto lock = LockWindows();
    for (;;) {
        LeaveIfTerminated();
        FetchResult fetched = TryFetch(lock, queue, message, stop);
        if (fetched != FetchResult::Nothing || !wait)
            return fetched;
        if (!FeedInput(queue))
            WaitForChange(lock, *queue);
    }
}

void EndThreadQueue(const std::shared_ptr<ThreadQueue>& queue) {
    std::vector<std::shared_ptr<Window>> left;
    std::vector<std::unique_ptr<OwnedWindowRecord>> records; // destroyed without the lock
    auto lock = LockWindows();
    queue->alive = false;
    for (auto& sent : queue->sent)
        Finish(*sent, 0);
    queue->sent.clear();
    for (auto& [handle, window] : Model().windows)
        if (window->queue == queue)
            left.push_back(window);
    for (auto& window : left) {
        EndPage(*window);
        records.push_back(std::move(window->record));
        Model().windows.erase(window->handle);
    }
    std::erase(Model().queues, queue);
    WakeAllThreads();
    lock.unlock();
}

LRESULT SendWork(HWND handle, std::function<LRESULT()> serve) {
    auto mine = CurrentQueue();
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window || !window->queue->alive)
        return 0;
    auto target = window->queue;
    if (target == mine) {
        lock.unlock();
        return serve();
    }
    auto sent = std::make_shared<SentWork>(SentWork{handle, std::move(serve), mine});
    target->sent.push_back(sent);
    target->changed.notify_all();
    while (!sent->done) {
        LeaveIfTerminated();
        if (!mine->sent.empty())
            ServeSent(lock, *mine);
        else
            mine->changed.wait(lock);
    }
    return sent->result;
}

void RemoveMessages(HWND window, ThreadQueue& queue) {
    std::erase_if(queue.posted, [&](const MSG& message) { return message.hwnd == window; });
    std::erase_if(queue.timers, [&](const Timer& timer) { return timer.window == window; });
    std::erase_if(queue.sent, [&](const auto& sent) {
        if (sent->window == window)
            Finish(*sent, 0);
        return sent->window == window;
    });
}

} // namespace platform

using namespace platform;

LRESULT WINAPI SendMessageA(HWND handle, UINT message, WPARAM first, LPARAM second) {
    return SendWork(handle, [=] { return CallWindowProcedure(handle, message, first, second); });
}

BOOL WINAPI PostMessageA(HWND handle, UINT message, WPARAM first, LPARAM second) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window || window->queue->posted.size() >= MaxPostedMessages)
        return FALSE;
    window->queue->posted.push_back(NewMessage(handle, message, first, second));
    window->queue->changed.notify_all();
    return TRUE;
}

VOID WINAPI PostQuitMessage(int exitCode) {
    auto queue = CurrentQueue();
    auto lock = LockWindows();
    queue->quit = exitCode;
}

BOOL WINAPI GetMessageA(LPMSG message, HWND window, UINT lowest, UINT highest) {
    if (!message || window || lowest || highest) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    return FetchMessage(*message, {}) == FetchResult::Message ? TRUE : FALSE;
}

BOOL WINAPI PeekMessageA(LPMSG message, HWND window, UINT lowest, UINT highest, UINT remove) {
    if (!message || window || lowest || highest) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (remove & PM_REMOVE)
        return FetchMessage(*message, {}, false) != FetchResult::Nothing ? TRUE : FALSE;
    auto queue = CurrentQueue();
    auto lock = LockWindows();
    while (!queue->sent.empty())
        ServeSent(lock, *queue);
    return FALSE;
}

BOOL WINAPI TranslateMessage(const MSG*) { return FALSE; }

LRESULT WINAPI DispatchMessageA(const MSG* message) {
    if (!message || !message->hwnd)
        return 0;
    return CallWindowProcedure(message->hwnd, message->message, message->wParam, message->lParam);
}
