// Windows, messages, timers, dialogs and their controls, and the resources they are made from.
//
// Covered: top-level windows and dialogs with static texts, buttons (push, default, check, radio)
// and progress bars. A window's procedure runs on the thread that opened the window, in that
// thread's message loop, in a modal dialog, or while it waits inside a call that sends. Every call
// may be made from any thread, except where it says otherwise. Those that send to the window's
// thread return when that has served them: SendMessageA, all that get or set a text, a state of a
// button or a bar, UpdateWindow, ShowWindow, MoveWindow, EnableWindow, EndDialog. Top-level windows
// of other processes can be found, walked and asked for title, owner and process; messages do not
// reach them.
#pragma once

#include <windef.h>
#include <wingdi.h>
#include <winres.h>

typedef LRESULT(CALLBACK* WNDPROC)(HWND, UINT, WPARAM, LPARAM);
typedef INT_PTR(CALLBACK* DLGPROC)(HWND, UINT, WPARAM, LPARAM);
typedef VOID(CALLBACK* TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);

#define MAKEINTRESOURCEA(id)                                                                       \
    (reinterpret_cast<LPSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(id))))
#define IS_INTRESOURCE(name) ((reinterpret_cast<ULONG_PTR>(name) >> 16) == 0)
#define MAKEWPARAM(low, high) (static_cast<WPARAM>(static_cast<DWORD>(MAKELONG(low, high))))
#define MAKELPARAM(low, high) (static_cast<LPARAM>(static_cast<DWORD>(MAKELONG(low, high))))

// Messages
#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_SETFOCUS 0x0007
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUERYENDSESSION 0x0011 // an answer of 0 refuses the end of the session
#define WM_QUIT 0x0012
#define WM_ENDSESSION 0x0016 // first parameter: whether it ends, and the process with it
#define WM_SETCURSOR 0x0020
#define WM_NEXTDLGCTL 0x0028 // the focus of a dialog to a control; second parameter: TRUE
#define WM_SETFONT 0x0030
#define WM_GETFONT 0x0031
#define WM_KEYDOWN 0x0100
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_TIMER 0x0113
#define WM_CTLCOLORSTATIC 0x0138
#define WM_MOUSEMOVE 0x0200
#define WM_USER 0x0400
#define WM_APP 0x8000

#define DM_GETDEFID WM_USER // low word: the default button's id; high: DC_HASDEFID, or all 0
#define DC_HASDEFID 0x534B
#define BM_GETCHECK 0x00F0
#define BM_SETCHECK 0x00F1
#define BM_CLICK 0x00F5
#define BN_CLICKED 0
#define BST_UNCHECKED 0x0000
#define BST_CHECKED 0x0001
#define HTCLIENT 1
#define VK_RETURN 0x0D
#define VK_ESCAPE 0x1B
#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001

#define CS_VREDRAW 0x0001
#define CS_HREDRAW 0x0002

#define SW_HIDE 0
#define SW_SHOWMAXIMIZED 3
#define SW_SHOW 5
#define SW_SHOWDEFAULT 10

#define GW_HWNDNEXT 2

#define DWLP_MSGRESULT 0
#define DWLP_USER (DWLP_MSGRESULT + sizeof(LRESULT) + sizeof(DLGPROC))

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1

#define COLOR_SCROLLBAR 0
#define COLOR_WINDOW 5
#define COLOR_WINDOWTEXT 8
#define COLOR_BTNFACE 15

#define IDC_ARROW MAKEINTRESOURCEA(32512)
#define IDC_WAIT MAKEINTRESOURCEA(32514)

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; // 0: nobody keeps it
    POINT pt;
};
typedef MSG* LPMSG;

struct WNDCLASSEXA {
    UINT cbSize;
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra, cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCSTR lpszMenuName, lpszClassName;
    HICON hIconSm;
};

struct PAINTSTRUCT {
    HDC hdc;
    BOOL fErase;
    RECT rcPaint; // always the whole client area
    BOOL fRestore, fIncUpdate;
    BYTE rgbReserved[32];
};
typedef PAINTSTRUCT* LPPAINTSTRUCT;

// The program's entry: called by the layer's own `main` on a thread of its own.
int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR commandLine, int showCommand);

// Windows. A failure gives null or FALSE and sets the last error, ERROR_INVALID_WINDOW_HANDLE
// where the handle is at fault.

ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* windowClass);
// Top-level windows; controls come with their dialog. WM_CREATE is sent inside, without a record of
// the creation. Null too when the window has gone by the end of it.
HWND WINAPI CreateWindowExA(DWORD exStyle, LPCSTR className, LPCSTR title, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter);
// On the window's own thread only, else ERROR_ACCESS_DENIED. Destroys owned windows too.
BOOL WINAPI DestroyWindow(HWND window);
LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM first, LPARAM second);
// Newest first, without regard to case, also windows of other processes; null matches any.
HWND WINAPI FindWindowA(LPCSTR className, LPCSTR title);
BOOL WINAPI IsWindow(HWND window);
BOOL WINAPI IsWindowVisible(HWND window);         // parents included
BOOL WINAPI ShowWindow(HWND window, int command); // gives whether it was visible
BOOL WINAPI UpdateWindow(HWND window);            // WM_PAINT now, if the window needs painting
BOOL WINAPI MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint);
BOOL WINAPI EnableWindow(HWND window, BOOL enable); // gives whether it was disabled
BOOL WINAPI SetWindowTextA(HWND window, LPCSTR text);
// Copies at most capacity - 1 characters; gives their number. 0 as well for an empty text.
int WINAPI GetWindowTextA(HWND window, LPSTR buffer, int capacity);
BOOL WINAPI GetWindowRect(HWND window, LPRECT rect); // screen pixels, frame included
HWND WINAPI GetParent(HWND window);                  // the owner of a top-level popup
// GW_HWNDNEXT: top-level windows of all processes are ordered by age, the newest on top.
HWND WINAPI GetWindow(HWND window, UINT command);
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD process);
// DWLP_USER and DWLP_MSGRESULT of a dialog, which are 0 until they are set.
LONG_PTR WINAPI SetWindowLongPtrA(HWND window, int index, LONG_PTR value);
LONG_PTR WINAPI GetWindowLongPtrA(HWND window, int index);

// Messages.

// No filter: the three last arguments must be null and 0, else -1. 0 for the quit message.
BOOL WINAPI GetMessageA(LPMSG message, HWND window, UINT lowest, UINT highest);
// No filter either, and never waits. With PM_NOREMOVE serves what was sent, and gives FALSE.
BOOL WINAPI PeekMessageA(LPMSG message, HWND window, UINT lowest, UINT highest, UINT remove);
BOOL WINAPI TranslateMessage(const MSG* message); // no characters here: FALSE
LRESULT WINAPI DispatchMessageA(const MSG* message);
BOOL WINAPI PostMessageA(HWND window, UINT message, WPARAM first, LPARAM second);
// Blocks until the window's thread has served the message; serves messages sent to the caller
// meanwhile. 0 when the window or its thread ends first.
LRESULT WINAPI SendMessageA(HWND window, UINT message, WPARAM first, LPARAM second);
VOID WINAPI PostQuitMessage(int exitCode); // to the calling thread

// WM_TIMER on the window's thread every so many milliseconds, at least 10; `callback` is null. The
// same id again restarts it. Nothing of a killed timer arrives after KillTimer.
UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC callback);
BOOL WINAPI KillTimer(HWND window, UINT_PTR id);

// Dialogs.

// The result is that of EndDialog; -1 where the dialog cannot be made; 0 where a quit message or
// its destruction ended it. The quit message stays for the outer loop.
INT_PTR WINAPI DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner,
                               DLGPROC procedure, LPARAM parameter);
HWND WINAPI CreateDialogParamA(HINSTANCE instance, LPCSTR templateName, HWND owner,
                               DLGPROC procedure, LPARAM parameter);
// A dialog of CreateDialogParamA only leaves the screen.
BOOL WINAPI EndDialog(HWND dialog, INT_PTR result);
HWND WINAPI GetDlgItem(HWND dialog, int id);
int WINAPI GetDlgCtrlID(HWND control);
BOOL WINAPI SetDlgItemTextA(HWND dialog, int id, LPCSTR text);
UINT WINAPI GetDlgItemTextA(HWND dialog, int id, LPSTR buffer, int capacity);
BOOL WINAPI SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned); // unsigned alone
LRESULT WINAPI SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM first, LPARAM second);
BOOL WINAPI CheckDlgButton(HWND dialog, int id, UINT check);
UINT WINAPI IsDlgButtonChecked(HWND dialog, int id);

// Painting, and the system's colours and metrics.

HDC WINAPI BeginPaint(HWND window, LPPAINTSTRUCT paint);
BOOL WINAPI EndPaint(HWND window, const PAINTSTRUCT* paint);
DWORD WINAPI GetSysColor(int index);
int WINAPI GetSystemMetrics(int index);
HCURSOR WINAPI SetCursor(HCURSOR cursor); // gives the previous one of this thread

// Resources of the program, or the system's own where the instance is null. Names are those of
// MAKEINTRESOURCEA.

// Windows-1252, cut to capacity - 1 characters and terminated; gives the number of characters, 0
// when there is no such string.
int WINAPI LoadStringA(HINSTANCE instance, UINT id, LPSTR buffer, int capacity);
HBITMAP WINAPI LoadBitmapA(HINSTANCE instance, LPCSTR name); // the caller deletes it
HICON WINAPI LoadIconA(HINSTANCE instance, LPCSTR name);     // shared, not to be deleted
HCURSOR WINAPI LoadCursorA(HINSTANCE instance, LPCSTR name);
