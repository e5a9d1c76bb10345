// Dialogs: made from templates, run in loops of their own, ended from any thread.
//
// A modal dialog is over when it has been ended, when its window has gone, or when its thread gets
// a quit message, which then goes back to the queue, for the loop outside.

#include "platform/windows/dialog_template.h"
#include "platform/windows/resources.h"
#include "platform/windows/window_errors.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace platform {

namespace {

constexpr int DotsPerInch = 96;
constexpr int PointsPerInch = 72;

HFONT TemplateFont(const DialogTemplate& dialog) {
    if (!dialog.pointSize)
        return nullptr;
    LOGFONTA font = {};
    font.lfHeight = -(dialog.pointSize * DotsPerInch + PointsPerInch / 2) / PointsPerInch;
    font.lfWeight = dialog.weight;
    font.lfItalic = dialog.italic;
    font.lfCharSet = dialog.charSet;
    std::size_t length = std::min(dialog.typeface.size(), sizeof(font.lfFaceName) - 1);
    std::memcpy(font.lfFaceName, dialog.typeface.data(), length);
    return CreateFontIndirectA(&font);
}

// What the caller asks for, in one piece.
struct DialogRequest {
    HINSTANCE instance;
    int templateId;
    HWND owner;
    DLGPROC procedure;
    LPARAM parameter;
    bool modal;
};

WindowPlan PlanOfDialog(const DialogTemplate& dialog, const DialogRequest& request) {
    // Hidden until its procedure has set it up.
    DWORD style = dialog.style & ~static_cast<DWORD>(WS_VISIBLE);
    SIZE size = OuterSize(PixelsAcross(dialog.width), PixelsDown(dialog.height), style);
    LONG x = PixelsAcross(dialog.x), y = PixelsDown(dialog.y);
    if (dialog.style & DS_CENTER) {
        x = (GetSystemMetrics(SM_CXSCREEN) - size.cx) / 2;
        y = (GetSystemMetrics(SM_CYSCREEN) - size.cy) / 2;
    }
    return {DialogClass,
            dialog.title,
            style,
            dialog.exStyle,
            {x, y, x + size.cx, y + size.cy},
            request.owner,
            0,
            request.instance,
            nullptr};
}

WindowPlan PlanOfControl(const ControlTemplate& control, const Window& dialog) {
    LONG x = PixelsAcross(control.x), y = PixelsDown(control.y);
    RECT rect = {x, y, x + PixelsAcross(control.width), y + PixelsDown(control.height)};
    return {control.className, control.text, control.style | WS_CHILD, control.exStyle, rect,
            dialog.handle,     control.id,   dialog.instance,          nullptr};
}

bool MakeControls(const DialogTemplate& dialog, Window& window, HFONT font) {
    for (const ControlTemplate& control : dialog.controls) {
        auto made = OpenWindow(PlanOfControl(control, window));
        if (!made)
            return false;
        if (font)
            SendMessageA(made->handle, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    }
    return true;
}

int DefaultButtonOf(const DialogTemplate& dialog) {
    for (const ControlTemplate& control : dialog.controls)
        if (ToLowerAscii(control.className) == "button" &&
            (control.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON)
            return control.id;
    return 0;
}

void AttachDialog(Window& window, const DialogTemplate& dialog, const DialogRequest& request,
                  HFONT font) {
    auto lock = LockWindows();
    window.dialog = std::make_unique<DialogState>();
    window.dialog->templateId = request.templateId;
    window.dialog->modal = request.modal;
    window.dialog->defaultId = DefaultButtonOf(dialog);
    window.dialog->ownFont = font;
}

// The first control that the keyboard could reach.
HWND FirstControl(const Window& dialog) {
    auto lock = LockWindows();
    constexpr DWORD Wanted = WS_TABSTOP | WS_VISIBLE;
    for (HWND handle : dialog.children) {
        auto control = FindWindowByHandle(handle);
        if (control && (control->style & (Wanted | WS_DISABLED)) == Wanted)
            return handle;
    }
    return nullptr;
}

void Initialise(const Window& window, const DialogRequest& request, HFONT font) {
    SetWindowLongPtrA(window.handle, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(request.procedure));
    if (font)
        SendMessageA(window.handle, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    HWND first = FirstControl(window);
    if (SendMessageA(window.handle, WM_INITDIALOG, reinterpret_cast<WPARAM>(first),
                     request.parameter) &&
        first)
        SetFocus(first);
}

// The dialog after its WM_INITDIALOG, not shown yet; null where it cannot be made.
std::shared_ptr<Window> MakeDialog(const DialogTemplate& dialog, const DialogRequest& request) {
    auto window = OpenWindow(PlanOfDialog(dialog, request));
    if (!window)
        return nullptr;
    HFONT font = TemplateFont(dialog);
    AttachDialog(*window, dialog, request, font);
    if (!MakeControls(dialog, *window, font)) {
        DestroyWindow(window->handle);
        return nullptr;
    }
    Initialise(*window, request, font);
    return window;
}

std::optional<DialogTemplate> FindTemplate(LPCSTR name) {
    auto bytes = FindNamedResource(DialogResource, name);
    auto dialog = bytes ? ReadDialogTemplate(*bytes) : std::nullopt;
    if (!dialog)
        SetLastError(NoSuchResource);
    return dialog;
}

int NumericName(LPCSTR name) { return static_cast<WORD>(reinterpret_cast<std::uintptr_t>(name)); }

bool IsOver(const Window& dialog) {
    return dialog.dialog->ended || FindWindowByHandle(dialog.handle).get() != &dialog;
}

void RunModalLoop(const std::shared_ptr<Window>& dialog) {
    MSG message;
    for (;;) {
        switch (FetchMessage(message, [&] { return IsOver(*dialog); })) {
        case FetchResult::Quit:
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        case FetchResult::Message:
            if (!IsDialogMessageA(dialog->handle, &message))
                DispatchMessageA(&message);
            break;
        default:
            return;
        }
    }
}

INT_PTR ResultOf(const Window& dialog) {
    auto lock = LockWindows();
    return dialog.dialog->ended ? dialog.dialog->result : 0;
}

bool HasEnded(const Window& dialog) {
    auto lock = LockWindows();
    return IsOver(dialog);
}

// So that a display that prints a page once knows the colours of its texts.
void PaintControls(const Window& dialog) {
    auto lock = LockWindows();
    const std::vector<HWND> controls = dialog.children;
    lock.unlock();
    for (HWND control : controls)
        SendMessageA(control, WM_PAINT, 0, 0);
}

INT_PTR RunModally(const std::shared_ptr<Window>& dialog, HWND owner, bool ownerWasInUse) {
    if (!HasEnded(*dialog)) {
        PaintControls(*dialog);
        ShowWindow(dialog->handle, SW_SHOWNORMAL);
        RunModalLoop(dialog);
    }
    if (ownerWasInUse)
        EnableWindow(owner, TRUE);
    if (IsWindow(dialog->handle))
        DestroyWindow(dialog->handle);
    return ResultOf(*dialog);
}

DLGPROC ProcedureOf(HWND dialog) {
    return reinterpret_cast<DLGPROC>(GetWindowLongPtrA(dialog, DWLP_DLGPROC));
}

// Messages whose answer is what the dialog procedure returns.
bool AnswersDirectly(UINT message) {
    return message == WM_INITDIALOG || message == WM_CTLCOLORSTATIC || message == WM_CTLCOLORBTN ||
           message == WM_CTLCOLORDLG;
}

// What a button does, by its id; a disabled one does nothing.
void Command(HWND dialog, int id) {
    HWND control = GetDlgItem(dialog, id);
    if (!control || IsWindowEnabled(control))
        SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), BN_CLICKED),
                     reinterpret_cast<LPARAM>(control));
}

void PostCancel(HWND dialog) {
    HWND control = GetDlgItem(dialog, IDCANCEL);
    if (!control || IsWindowEnabled(control))
        PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                     reinterpret_cast<LPARAM>(control));
}

// Runs `work` on the dialog under the lock; 0 where the window is no dialog.
template <class Work>
LRESULT With(HWND handle, Work work) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    return window && window->dialog ? static_cast<LRESULT>(work(*window)) : 0;
}

LRESULT DefaultButton(HWND dialog) {
    return With(dialog, [](Window& window) -> LRESULT {
        int id = window.dialog->defaultId;
        return id ? MAKELONG(id, DC_HASDEFID) : 0;
    });
}

// What a dialog does with a message that its procedure left alone.
LRESULT DefaultOfDialog(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_CLOSE:
        PostCancel(dialog);
        return 0;
    case WM_SETFONT:
        return With(dialog, [&](Window& window) {
            window.font = reinterpret_cast<HFONT>(first);
            return 0;
        });
    case WM_GETFONT:
        return With(dialog, [](Window& window) { return reinterpret_cast<LRESULT>(window.font); });
    case DM_GETDEFID:
        return DefaultButton(dialog);
    case DM_SETDEFID:
        return With(dialog, [&](Window& window) {
            window.dialog->defaultId = static_cast<int>(first);
            return TRUE;
        });
    default:
        return DefWindowProcA(dialog, message, first, second);
    }
}

bool BelongsTo(HWND window, HWND dialog) {
    auto lock = LockWindows();
    auto found = FindWindowByHandle(window);
    return window == dialog || (found && found->IsChild() && found->parent == dialog);
}

} // namespace

DialogState::~DialogState() {
    if (ownFont)
        DeleteObject(ownFont);
}

} // namespace platform

using namespace platform;

INT_PTR WINAPI DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner,
                               DLGPROC procedure, LPARAM parameter) {
    auto dialog = FindTemplate(templateName);
    if (!dialog)
        return -1;
    if (owner && !IsWindow(owner)) {
        SetLastError(NoSuchWindow);
        return 0;
    }
    bool ownerWasInUse = owner && !EnableWindow(owner, FALSE);
    DialogRequest request = {instance, NumericName(templateName), owner, procedure, parameter,
                             true};
    auto window = MakeDialog(*dialog, request);
    if (window)
        return RunModally(window, owner, ownerWasInUse);
    if (ownerWasInUse)
        EnableWindow(owner, TRUE);
    return -1;
}

HWND WINAPI CreateDialogParamA(HINSTANCE instance, LPCSTR templateName, HWND owner,
                               DLGPROC procedure, LPARAM parameter) {
    auto dialog = FindTemplate(templateName);
    if (!dialog)
        return nullptr;
    DialogRequest request = {instance, NumericName(templateName), owner, procedure, parameter,
                             false};
    auto window = MakeDialog(*dialog, request);
    if (!window || !IsWindow(window->handle))
        return nullptr;
    if (dialog->style & WS_VISIBLE)
        ShowWindow(window->handle, SW_SHOWNORMAL);
    return window->handle;
}

BOOL WINAPI EndDialog(HWND handle, INT_PTR result) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window || !window->dialog)
        return FALSE;
    window->style &= ~static_cast<DWORD>(WS_VISIBLE);
    if (window->dialog->modal && !window->dialog->ended) {
        window->dialog->ended = true;
        window->dialog->result = result;
    }
    EndPage(*window);
    WakeAllThreads();
    return TRUE;
}

BOOL WINAPI IsDialogMessageA(HWND dialog, LPMSG message) {
    if (!message || !BelongsTo(message->hwnd, dialog))
        return FALSE;
    if (message->message == WM_KEYDOWN && message->wParam == VK_ESCAPE) {
        Command(dialog, IDCANCEL);
        return TRUE;
    }
    if (message->message == WM_KEYDOWN && message->wParam == VK_RETURN) {
        LRESULT answer = SendMessageA(dialog, DM_GETDEFID, 0, 0);
        Command(dialog, HIWORD(answer) == DC_HASDEFID ? LOWORD(answer) : IDOK);
        return TRUE;
    }
    DispatchMessageA(message);
    return TRUE;
}

LRESULT WINAPI DefDlgProcA(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    DLGPROC procedure = ProcedureOf(dialog);
    if (procedure) {
        SetWindowLongPtrA(dialog, DWLP_MSGRESULT, 0);
        INT_PTR answer = procedure(dialog, message, first, second);
        if (answer)
            return AnswersDirectly(message) ? answer : GetWindowLongPtrA(dialog, DWLP_MSGRESULT);
        if (message == WM_INITDIALOG)
            return 0;
    }
    return DefaultOfDialog(dialog, message, first, second);
}
