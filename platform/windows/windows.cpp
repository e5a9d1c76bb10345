// Opening, destroying and default handling of windows, and the one model of them all.

#include "platform/windows/controls.h"
#include "platform/windows/window_errors.h"
#include "platform/windows/window_model.h"

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
    model.classes["static"] = {"Static", StaticProcedure, 0};
    model.classes["button"] = {"Button", ButtonProcedure, 0};
    model.classes["msctls_progress32"] = {"msctls_progress32", ProgressProcedure, 0};
    model.classes[DialogClass] = {DialogClass, DefDlgProcA, DLGWINDOWEXTRA};
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
    SetLastError(NoSuchWindowClass);
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
    window->exStyle = plan.exStyle;
    window->rect = plan.rect;
    window->id = plan.id;
    window->instance = plan.instance;
    window->parent = plan.parent;
    window->extra.resize(static_cast<std::size_t>(windowClass.extraBytes));
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

CREATESTRUCTA Describe(const WindowPlan& plan) {
    CREATESTRUCTA create = {};
    create.lpCreateParams = plan.parameter;
    create.hInstance = plan.instance;
    create.hMenu = reinterpret_cast<HMENU>(plan.id);
    create.hwndParent = plan.parent;
    create.x = plan.rect.left;
    create.y = plan.rect.top;
    create.cx = plan.rect.right - plan.rect.left;
    create.cy = plan.rect.bottom - plan.rect.top;
    create.style = static_cast<LONG>(plan.style);
    create.dwExStyle = plan.exStyle;
    create.lpszName = plan.text.c_str();
    create.lpszClass = plan.className.c_str();
    return create;
}

bool AcceptsCreation(HWND window, const WindowPlan& plan) {
    CREATESTRUCTA create = Describe(plan);
    auto second = reinterpret_cast<LPARAM>(&create);
    if (!CallWindowProcedure(window, WM_NCCREATE, 0, second))
        return false;
    return CallWindowProcedure(window, WM_CREATE, 0, second) != -1;
}

// Those of other threads are closed by a message to their own thread.
void DestroyOwnedWindows(HWND owner) {
    auto lock = LockWindows();
    std::vector<HWND> owned;
    for (auto& [handle, window] : Model().windows)
        if (window->parent == owner && !window->IsChild())
            owned.push_back(handle);
    lock.unlock();
    for (HWND window : owned)
        if (!DestroyWindow(window))
            PostMessageA(window, WM_CLOSE, 0, 0);
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
    ThreadQueue& queue = *window->queue;
    std::erase_if(queue.posted, [&](const MSG& message) { return message.hwnd == handle; });
    std::erase_if(queue.timers, [&](const Timer& timer) { return timer.window == handle; });
    if (queue.focus == handle)
        queue.focus = nullptr;
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
        SetLastError(AccessDenied);
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

LRESULT TextLength(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    return window ? static_cast<LRESULT>(window->text.size()) : 0;
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
        SetLastError(NoSuchWindow);
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
    bool accepted = AcceptsCreation(window->handle, plan);
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
        IS_INTRESOURCE(windowClass->lpszClassName) || windowClass->cbWndExtra < 0) {
        SetLastError(InvalidParameter);
        return 0;
    }
    std::string name = windowClass->lpszClassName;
    auto lock = LockWindows();
    auto& classes = Model().classes;
    if (!classes
             .emplace(ToLowerAscii(name),
                      WindowClass{name, windowClass->lpfnWndProc, windowClass->cbWndExtra})
             .second) {
        SetLastError(ClassAlreadyExists);
        return 0;
    }
    return static_cast<ATOM>(FirstAtom + classes.size());
}

HWND WINAPI CreateWindowExA(DWORD exStyle, LPCSTR className, LPCSTR title, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter) {
    if (IS_INTRESOURCE(className)) {
        SetLastError(NoSuchWindowClass);
        return nullptr;
    }
    int left = x == CW_USEDEFAULT ? 0 : x;
    int top = y == CW_USEDEFAULT ? 0 : y;
    WindowPlan plan = {
        className, title ? title : "", style, exStyle, {}, parent, reinterpret_cast<LONG_PTR>(menu),
        instance,  parameter};
    plan.rect = {left, top, left + (width == CW_USEDEFAULT ? 0 : width),
                 top + (height == CW_USEDEFAULT ? 0 : height)};
    auto window = OpenWindow(plan);
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
    SendToAll(all, WM_NCDESTROY);
    std::reverse(all.begin(), all.end());
    for (HWND window : all)
        RemoveWindow(window);
    return TRUE;
}

LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_NCCREATE:
        return TRUE;
    case WM_CLOSE:
        DestroyWindow(window);
        return 0;
    case WM_SETTEXT:
        return StoreText(window, reinterpret_cast<const char*>(second));
    case WM_GETTEXT:
        return CopyText(window, first, reinterpret_cast<char*>(second));
    case WM_GETTEXTLENGTH:
        return TextLength(window);
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
        return reinterpret_cast<LRESULT>(GetStockObject(LTGRAY_BRUSH));
    default:
        return 0;
    }
}
