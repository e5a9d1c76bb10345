// Dialogs: made from templates, run in loops of their own, ended by a call from any thread.
//
// A modal dialog is over when it has been ended, when its window has gone, or when its thread gets
// a quit message, which then goes back to the queue, for the loop outside.

#include "platform/windows/controls.h"
#include "platform/windows/dialog_template.h"
#include "platform/windows/resources.h"
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
    std::size_t length = std::min(dialog.typeface.size(), sizeof(font.lfFaceName) - 1);
    std::memcpy(font.lfFaceName, dialog.typeface.data(), length);
    return CreateFontIndirectA(&font);
}

// What the caller asks for, in one piece.
struct DialogRequest {
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
    return {DialogClass, dialog.title, style, {x, y, x + size.cx, y + size.cy}, request.owner, 0};
}

WindowPlan PlanOfControl(const ControlTemplate& control, const Window& dialog) {
    LONG x = PixelsAcross(control.x), y = PixelsDown(control.y);
    RECT rect = {x, y, x + PixelsAcross(control.width), y + PixelsDown(control.height)};
    return {control.className, control.text, control.style | WS_CHILD, rect,
            dialog.handle,     control.id};
}

bool MakeControls(const DialogTemplate& dialog, Window& window, HFONT font) {
    for (const ControlTemplate& control : dialog.controls) {
        auto made = OpenWindow(PlanOfControl(control, window));
        if (!made)
            return false;
        if (KindOf(*made) == ControlKind::Other) {
            SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
            return false;
        }
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
    window.dialog->procedure = request.procedure;
    window.dialog->modal = request.modal;
    window.dialog->defaultId = DefaultButtonOf(dialog);
    window.dialog->ownFont = font;
}

void Initialise(const Window& window, const DialogRequest& request, HFONT font) {
    if (font)
        SendMessageA(window.handle, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SendMessageA(window.handle, WM_INITDIALOG, 0, request.parameter);
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
    if (bytes && !dialog)
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return dialog;
}

int NumericName(LPCSTR name) { return static_cast<WORD>(reinterpret_cast<std::uintptr_t>(name)); }

bool IsOver(const Window& dialog) {
    return dialog.dialog->ended || FindWindowByHandle(dialog.handle).get() != &dialog;
}

bool IsInUse(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    return !window || !(window->style & WS_DISABLED);
}

// What a button does, by its id; a disabled one does nothing.
void Command(HWND dialog, int id) {
    HWND control = GetDlgItem(dialog, id);
    if (IsInUse(control))
        SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), BN_CLICKED),
                     reinterpret_cast<LPARAM>(control));
}

void PostCancel(HWND dialog) {
    HWND control = GetDlgItem(dialog, IDCANCEL);
    if (IsInUse(control))
        PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                     reinterpret_cast<LPARAM>(control));
}

// The button that Enter presses: the one with the focus, else the default one of the dialog, else
// that of IDOK, which need not be there.
int IdOfEnter(const Window& dialog) {
    const auto focus = FindWindowByHandle(dialog.dialog->focus);
    if (focus && KindOf(*focus) == ControlKind::PushButton && !(focus->style & WS_DISABLED))
        return focus->id;
    return dialog.dialog->defaultId ? dialog.dialog->defaultId : IDOK;
}

// Enter, and Escape, which presses the button that cancels.
bool IsKeyOfDialog(HWND dialog, const MSG& message) {
    if (message.message != WM_KEYDOWN || message.hwnd != dialog ||
        (message.wParam != VK_ESCAPE && message.wParam != VK_RETURN))
        return false;
    int id = IDCANCEL;
    if (message.wParam == VK_RETURN) {
        auto lock = LockWindows();
        auto window = FindWindowByHandle(dialog);
        id = window ? IdOfEnter(*window) : IDOK;
    }
    Command(dialog, id);
    return true;
}

void RunModalLoop(const std::shared_ptr<Window>& dialog) {
    MSG message;
    for (;;) {
        switch (FetchMessage(message, [&] { return IsOver(*dialog); })) {
        case FetchResult::Quit:
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        case FetchResult::Message:
            if (!IsKeyOfDialog(dialog->handle, message))
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
        ShowWindow(dialog->handle, SW_SHOW);
        RunModalLoop(dialog);
    }
    if (ownerWasInUse)
        EnableWindow(owner, TRUE);
    if (IsWindow(dialog->handle))
        DestroyWindow(dialog->handle);
    return ResultOf(*dialog);
}

// Messages whose answer is what the dialog procedure returns.
bool AnswersDirectly(UINT message) {
    return message == WM_INITDIALOG || message == WM_CTLCOLORSTATIC;
}

LRESULT DefaultIdOf(HWND handle) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    const int id = window ? window->dialog->defaultId : 0;
    return id ? MAKELONG(id, DC_HASDEFID) : 0;
}

void GiveFocus(HWND handle, HWND control) {
    auto lock = LockWindows();
    if (auto window = FindWindowByHandle(handle))
        window->dialog->focus = control;
}

// What a dialog does with a message that its procedure left alone.
LRESULT DefaultOfDialog(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_CLOSE:
        PostCancel(dialog);
        return 0;
    case DM_GETDEFID:
        return DefaultIdOf(dialog);
    case WM_NEXTDLGCTL:
        GiveFocus(dialog, reinterpret_cast<HWND>(first));
        return 0;
    default:
        return DefWindowProcA(dialog, message, first, second);
    }
}

// On the dialog's own thread.
bool EndOwnDialog(HWND handle, INT_PTR result) {
    auto lock = LockWindows();
    auto window = FindWindowByHandle(handle);
    if (!window || !window->dialog)
        return false;
    window->style &= ~static_cast<DWORD>(WS_VISIBLE);
    if (window->dialog->modal && !window->dialog->ended) {
        window->dialog->ended = true;
        window->dialog->result = result;
    }
    EndPage(*window);
    WakeAllThreads();
    return true;
}

} // namespace

LRESULT CALLBACK DialogProcedure(HWND handle, UINT message, WPARAM first, LPARAM second) {
    std::shared_ptr<Window> window;
    {
        auto lock = LockWindows();
        window = FindWindowByHandle(handle);
        if (window && window->dialog)
            window->dialog->messageResult = 0;
    }
    if (!window || !window->dialog) // while it is being made
        return DefWindowProcA(handle, message, first, second);
    const DialogState& dialog = *window->dialog;
    const INT_PTR answer = dialog.procedure(handle, message, first, second);
    if (answer)
        return AnswersDirectly(message) ? answer : dialog.messageResult;
    return message == WM_INITDIALOG ? 0 : DefaultOfDialog(handle, message, first, second);
}

DialogState::~DialogState() {
    if (ownFont)
        DeleteObject(ownFont);
}

} // namespace platform

using namespace platform;

INT_PTR WINAPI DialogBoxParamA(HINSTANCE, LPCSTR templateName, HWND owner, DLGPROC procedure,
                               LPARAM parameter) {
    auto dialog = FindTemplate(templateName);
    if (!dialog)
        return -1;
    if (owner && !IsWindow(owner)) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    bool ownerWasInUse = owner && !EnableWindow(owner, FALSE);
    DialogRequest request = {NumericName(templateName), owner, procedure, parameter, true};
    auto window = MakeDialog(*dialog, request);
    if (window)
        return RunModally(window, owner, ownerWasInUse);
    if (ownerWasInUse)
        EnableWindow(owner, TRUE);
    return -1;
}

HWND WINAPI CreateDialogParamA(HINSTANCE, LPCSTR templateName, HWND owner, DLGPROC procedure,
                               LPARAM parameter) {
    auto dialog = FindTemplate(templateName);
    if (!dialog)
        return nullptr;
    DialogRequest request = {NumericName(templateName), owner, procedure, parameter, false};
    auto window = MakeDialog(*dialog, request);
    if (!window || !IsWindow(window->handle))
        return nullptr;
    if (dialog->style & WS_VISIBLE)
        ShowWindow(window->handle, SW_SHOW);
    return window->handle;
}

BOOL WINAPI EndDialog(HWND handle, INT_PTR result) {
    return SendWork(handle, [=] { return EndOwnDialog(handle, result); }) != 0;
}
