// Opening, destroying and default handling of windows, and the one model of them all.

#include "platform/windows/controls.h"
#include "platform/windows/window_model.h"

#include <commctrl.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform {

namespace {

// Children are known in their own process alone; their numbers lie above those of records.
constexpr std::uintptr_t FirstChild = 0x40000000;
constexpr std::uintptr_t LastChild = 0x7FFFFFF0;
constexpr ATOM FirstAtom = 0xC000;

void AddSystemClasses(WindowModel& model) {
    model.classes["static"] = {"Static", StaticProcedure};
    model.classes["button"] = {"Button", ButtonProcedure};
    model.classes[PROGRESS_CLASSA] = {PROGRESS_CLASSA, ProgressProcedure};
    model.classes[DialogClass] = {DialogClass, DialogProcedure};
}

struct ThreadOfWindows {
    std::shared_ptr<ThreadQueue> queue;
    ~ThreadOfWindows() {
        if (queue)
            EndThreadQueue(queue);
    }
};

std::optional<WindowClass> FindClass(const std::string& name) {
    auto found = Model().classes.find(ToLowerAscii(name));
    if (found != Model().classes.end())
        return found->second;
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return std::nullopt;
}

void AssignHandle(Window& window, const WindowPlan& plan) {
    if (plan.style & WS_CHILD) {
        auto lock = LockWindows();
        auto& last = Model().lastChild;
        last = last >= FirstChild && last < LastChild ? last + 2 : FirstChild;
        window.handle = reinterpret_cast<HWND>(last);
        return;
    }
    window.record =
        PublishWindow(window.className, plan.text, NumberOfWindow(plan.parent), plan.style);
    window.handle = WindowOfNumber(window.record->Number());
}

// The window, in the table and with its parent, before any message.
std::shared_ptr<Window> AddWindow(const WindowPlan& plan, const WindowClass& windowClass) {
    auto window = std::make_shared<Window>();
    window->className = windowClass.name;
    window->procedure = windowClass.procedure;
    window->queue = CurrentQueue();
    window->text = plan.text;
    window->style = plan.style;
    window->rect = plan.rect;
    window->id = plan.id;
    window->parent = plan.parent;
    window->needsPaint = true;
    window->painted = UnpaintedColours();
    AssignHandle(*window, plan);
    auto lock = LockWindows();
    Model().windows[window->handle] = window;
    auto parent = window->IsChild() ? FindWindowByHandle(plan.parent) : nullptr;
    if (parent)
        parent->children.push_back(window->handle);
    return window;
}

void DestroyOwnedWindows(HWND owner) {
    auto lock = LockWindows();
    std::vector<HWND> owned;
    for (auto& [handle, window] : Model().windows)
        if (window->parent == owner && !window->IsChild())
            owned.push_back(handle);
    lock.unlock();
    for (HWND window : owned)
        DestroyWindow(window);
}

void SendToAll(const std::vector<HWND>& windows, UINT message) {
    for (HWND window : windows)
        CallWindowProcedure(window, message, 0, 0);
}

// The window and all windows inside it, outermost first.
std::vector<HWND> WithChildren(HWND handle) {
    std::vector<HWND> all = {handle};
    for (std::size_t i = 0; i < all.size(); ++i)
        if (auto window = FindWindowByHandle(all[i]))
            all.insert(all.end(), window->children.begin(), window->children.end());
    return all;
}

// Removes a window from the table, with all that could still reach it. Gives its record, which is
// destroyed without the lock.
std::unique_ptr<OwnedWindowRecord> RemoveWindow(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    if (!window)
        return nullptr;
    RemoveMessages(handle, *window->queue);
    if (auto parent = FindWindowByHandle(window->parent); parent && window->IsChild())
        std::erase(parent->children, handle);
    Model().windows.erase(handle);
    WakeAllThreads();
    return std::move(window->record);
}

bool BeginDestroying(HWND handle) {
    auto mine = CurrentQueue();
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window || window->dying)
        return false;
    if (window->queue != mine) {
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    window->dying = true;
    return true;
}

void RemoveFromScreen(HWND handle) {
    auto lock = LockWindows();
    if (auto window = FindWindowByHandle(handle)) {
        window->style &= ~static_cast<DWORD>(WS_VISIBLE);
        EndPage(*window);
    }
}

LRESULT StoreText(HWND handle, const char* text) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    if (!window)
        return FALSE;
    window->text = text ? text : "";
    window->needsPaint = true;
    if (window->IsChild())
        RefreshControl(*window);
    lock.unlock();
    // On the window's own thread, like all that touches the record.
    if (window->record)
        window->record->SetTitle(text ? text : "");
    return TRUE;
}

LRESULT CopyText(HWND handle, std::size_t capacity, char* buffer) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    if (!window || capacity == 0)
        return 0;
    std::size_t length = std::min(window->text.size(), capacity - 1);
    std::memcpy(buffer, window->text.data(), length);
    buffer[length] = '\0';
    return static_cast<LRESULT>(length);
}

LRESULT StoreFont(HWND handle, HFONT font) {
    auto lock = LockWindows();
    if (auto window = FindWindowByHandle(handle)) {
        window->font = font;
        window->needsPaint = true;
        RefreshControl(*window);
    }
    return 0;
}

HFONT FontOf(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    return window ? window->font : nullptr;
}

} // namespace

WindowModel& Model() {
    // Never destroyed: threads may still use it while the process ends.
    static WindowModel& system = *[] {
        auto* made = new WindowModel;
        AddSystemClasses(*made);
        return made;
    }();
    return system;
}

WindowLock LockWindows() { return WindowLock(Model().lock); }

std::shared_ptr<ThreadQueue> CurrentQueue() {
    thread_local ThreadOfWindows thread;
    if (!thread.queue) {
        thread.queue = std::make_shared<ThreadQueue>();
        thread.queue->thread = GetCurrentThreadId();
        auto lock = LockWindows();
        Model().queues.push_back(thread.queue);
    }
    return thread.queue;
}

std::shared_ptr<Window> FindWindowByHandle(HWND window) {
    auto found = Model().windows.find(window);
    return found == Model().windows.end() ? nullptr : found->second;
}

std::shared_ptr<Window> RequireWindow(HWND handle) {
    auto window = FindWindowByHandle(handle);
    if (!window)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return window;
}

void WakeAllThreads() {
    for (auto& queue : Model().queues)
        queue->changed.notify_all();
}

LRESULT CallWindowProcedure(HWND handle, UINT message, WPARAM first, LPARAM second) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    if (!window)
        return 0;
    WNDPROC procedure = window->procedure;
    lock.unlock();
    return procedure(handle, message, first, second);
}

std::shared_ptr<Window> OpenWindow(const WindowPlan& plan) {
    auto lock = LockWindows();
    auto windowClass = FindClass(plan.className);
    if (!windowClass || ((plan.style & WS_CHILD) && !RequireWindow(plan.parent)))
        return nullptr;
    lock.unlock();
    auto window = AddWindow(plan, *windowClass);
    bool accepted = CallWindowProcedure(window->handle, WM_CREATE, 0, 0) != -1;
    if (!IsWindow(window->handle))
        return nullptr;
    if (!accepted) {
        DestroyWindow(window->handle);
        return nullptr;
    }
    return window;
}

std::string ToLowerAscii(const std::string& text) {
    std::string small = text;
    for (char& character : small)
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    return small;
}

} // namespace platform

using namespace platform;

ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* windowClass) {
    if (!windowClass || windowClass->cbSize != sizeof(WNDCLASSEXA) || !windowClass->lpfnWndProc ||
        IS_INTRESOURCE(windowClass->lpszClassName) || windowClass->cbWndExtra != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::string name = windowClass->lpszClassName;
    auto lock = LockWindows();
    auto& classes = Model().classes;
    if (!classes.emplace(ToLowerAscii(name), WindowClass{name, windowClass->lpfnWndProc}).second) {
        SetLastError(ERROR_CLASS_ALREADY_EXISTS);
        return 0;
    }
    return static_cast<ATOM>(FirstAtom + classes.size());
}

HWND WINAPI CreateWindowExA(DWORD, LPCSTR className, LPCSTR title, DWORD style, int x, int y,
                            int width, int height, HWND parent, HMENU, HINSTANCE,
                            LPVOID parameter) {
    if ((style & WS_CHILD) || parameter) {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return nullptr;
    }
    auto window = OpenWindow({className, title, style, {x, y, x + width, y + height}, parent, 0});
    return window ? window->handle : nullptr;
}

BOOL WINAPI DestroyWindow(HWND handle) {
    if (!BeginDestroying(handle))
        return FALSE;
    RemoveFromScreen(handle);
    DestroyOwnedWindows(handle);
    auto lock = LockWindows();
    std::vector<HWND> all = WithChildren(handle);
    lock.unlock();
    SendToAll(all, WM_DESTROY);
    std::reverse(all.begin(), all.end());
    for (HWND window : all)
        RemoveWindow(window);
    return TRUE;
}

LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_CLOSE:
        DestroyWindow(window);
        return 0;
    case WM_QUERYENDSESSION:
        return TRUE;
    case WM_SETTEXT:
        return StoreText(window, reinterpret_cast<const char*>(second));
    case WM_GETTEXT:
        return CopyText(window, first, reinterpret_cast<char*>(second));
    case WM_SETFONT:
        return StoreFont(window, reinterpret_cast<HFONT>(first));
    case WM_GETFONT:
        return reinterpret_cast<LRESULT>(FontOf(window));
    default:
        return 0;
    }
}
