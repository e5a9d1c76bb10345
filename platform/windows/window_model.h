// The model of windows, threads' message queues and dialogs, shared by the sources that make up
// winuser.h and by the displays.
//
// One lock guards all of it. It is never held while a window procedure runs, so that a procedure
// may call anything; displays are called with changes while it is held, so that they see them in
// order.
#pragma once

#include "platform/base/clock.h"
#include "platform/windows/drawing.h"
#include "platform/windows/window_records.h"

#include <winuser.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform {

constexpr int CaptionHeight = 19; // pixels, as on a classic desktop
constexpr int DialogFrame = 3;

constexpr char DialogClass[] = "#32770";

struct ThreadQueue;

// What one thread has another do with a window, and waits for: a message, or a change. Finished
// with 0 where it cannot be served. Holds nothing of the sender, which may be terminated meanwhile.
struct SentWork {
    HWND window;
    std::function<LRESULT()> serve;
    std::shared_ptr<ThreadQueue> sender;
    LRESULT result = 0;
    bool done = false;
};

struct Timer {
    HWND window;
    UINT_PTR id;
    DWORD milliseconds;
    HostClock::time_point due;
};

// What one thread has to serve. Made on the thread's first use of windows, ended with the thread.
struct ThreadQueue {
    DWORD thread = 0;
    bool alive = true;
    std::condition_variable changed;
    std::deque<std::shared_ptr<SentWork>> sent;
    std::deque<MSG> posted;
    std::vector<Timer> timers;
    std::optional<int> quit; // exit code of a quit message that waits
    HCURSOR cursor = nullptr;
};

struct WindowClass {
    std::string name;
    WNDPROC procedure;
};

// What a dialog has beyond a window.
struct DialogState {
    DialogState() = default;
    DialogState(const DialogState&) = delete;
    DialogState& operator=(const DialogState&) = delete;
    ~DialogState(); // releases ownFont

    int templateId = 0;
    DLGPROC procedure = nullptr;
    LONG_PTR messageResult = 0; // DWLP_MSGRESULT
    LONG_PTR user = 0;          // DWLP_USER
    bool modal = false;
    bool ended = false;
    INT_PTR result = 0;
    int defaultId = 0;    // 0: the dialog has no default button
    HWND focus = nullptr; // the control that has the focus while the dialog is active, or none
    HFONT ownFont = nullptr;
    bool onScreen = false;     // the display shows it now
    bool wasShown = false;     // and has not been called with its end yet
    unsigned showOrder = 0;    // the newest page on screen has the highest
    unsigned leavingOrder = 0; // the newest one when LeavePage sent this page an Escape
};

struct ProgressState {
    LONG lowest = 0, highest = 100, position = 0;
};

struct Window {
    HWND handle = nullptr;
    std::string className;
    WNDPROC procedure = nullptr;
    std::shared_ptr<ThreadQueue> queue; // of the thread that opened it
    std::string text;                   // Windows-1252
    DWORD style = 0;                    // with WS_VISIBLE and WS_DISABLED as they are now
    RECT rect = {};        // frame included; of a child from the client area of its parent
    int id = 0;            // of a control, -1 for none of its own
    HWND parent = nullptr; // of a child; the owner of a top-level window
    std::vector<HWND> children;
    HFONT font = nullptr;
    bool needsPaint = false;
    bool dying = false; // inside DestroyWindow
    UINT check = BST_UNCHECKED;
    ProgressState progress;
    PaintResult painted = {};
    Descriptor shutdownBlock; // while the window gives a reason against a shutdown
    std::unique_ptr<DialogState> dialog;
    std::unique_ptr<OwnedWindowRecord> record; // of a top-level window

    bool IsChild() const { return style & WS_CHILD; }
};

// A file dialog that is up; it is on the stack of the thread that opened it.
struct ActiveFileDialog;

struct WindowModel {
    std::mutex lock;
    std::map<HWND, std::shared_ptr<Window>> windows;
    std::map<std::string, WindowClass> classes; // by name in lower case
    std::vector<std::shared_ptr<ThreadQueue>> queues;
    std::vector<ActiveFileDialog*> fileDialogs;
    std::uintptr_t lastChild = 0;
    unsigned lastShowOrder = 0;
};

using WindowLock = std::unique_lock<std::mutex>;

WindowModel& Model();
WindowLock LockWindows();

// The calling thread's queue. Not under the lock.
std::shared_ptr<ThreadQueue> CurrentQueue();

// The functions below are called under the lock, unless they say otherwise.

// Null where there is no such window in this process; the second sets the last error too.
std::shared_ptr<Window> FindWindowByHandle(HWND window);
std::shared_ptr<Window> RequireWindow(HWND window);

// Wakes every thread that waits for a message: a page or its input has changed.
void WakeAllThreads();

// Calls the window's procedure. Not under the lock, on the window's thread.
LRESULT CallWindowProcedure(HWND window, UINT message, WPARAM first, LPARAM second);

// Does the work on the window's own thread, when that serves messages, and gives what it gives;
// what is sent to the caller meanwhile is served. 0 where there is no such window, with the last
// error set, or where it or its thread ends first. Not under the lock.
LRESULT SendWork(HWND window, std::function<LRESULT()> serve);

// Forgets the messages and timers of a window that goes, and finishes what was sent to it.
void RemoveMessages(HWND window, ThreadQueue& queue);

// What FetchMessage has found; Stopped: `stop` has become true.
enum class FetchResult { Message, Quit, Stopped, Nothing };

// The next message of the calling thread, served in the order of Windows: sent messages first,
// then posted ones, quit, painting, timers. Blocks until there is one where `wait` is set. `stop`,
// which may be empty, is called under the lock. Not under the lock.
FetchResult FetchMessage(MSG& message, const std::function<bool()>& stop, bool wait = true);

bool IsVisibleWithParents(const Window& window);
RECT ScreenRect(const Window& window);
RECT ClientRect(const Window& window);
// Outer size for a client area, by the frame that the styles ask for.
SIZE OuterSize(LONG clientWidth, LONG clientHeight, DWORD style);

struct WindowPlan {
    std::string className, text;
    DWORD style;
    RECT rect;
    HWND parent;
    int id;
};

// Opens a window and sends it WM_CREATE; null when it refused or has gone. Not under the lock.
std::shared_ptr<Window> OpenWindow(const WindowPlan& plan);

// Removes what a thread leaves behind: its windows, and messages that wait for it. Not under the
// lock.
void EndThreadQueue(const std::shared_ptr<ThreadQueue>& queue);

// Shows a page or control that has changed on the display; see pages.cpp.
void RefreshPage(Window& page);
void RefreshControl(Window& control);
void EndPage(Window& page);
// The same for the cursor of all pages of a thread.
void RefreshCursor(const std::shared_ptr<ThreadQueue>& queue, bool waiting);

// Lets the display's next input reach the page or file dialog that it is meant for, where that
// belongs to this thread. True where there is now something to serve.
bool FeedInput(const std::shared_ptr<ThreadQueue>& queue);

// Asks the dialog for the colours of a text and keeps the answer. Not under the lock.
void PaintText(HWND control);

// The procedure of all dialogs.
LRESULT CALLBACK DialogProcedure(HWND dialog, UINT message, WPARAM first, LPARAM second);

std::string ToLowerAscii(const std::string& text);

} // namespace platform
