// Static texts, buttons and progress bars: their messages, and what a click does.
//
// Check boxes and radio buttons of the automatic kind change their own state before their parent
// hears of the click; a radio button clears the others of its group, which reaches from one control
// with WS_GROUP to the next.

#include "platform/windows/controls.h"

#include "platform/windows/window_model.h"

#include <commctrl.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>

namespace platform {

namespace {

struct ClassKind {
    const char* className;
    DWORD mask, style;
    ControlKind kind;
};

// The first row that fits is the control's kind.
constexpr std::array<ClassKind, 12> Kinds = {{
    {"Button", BS_TYPEMASK, BS_PUSHBUTTON, ControlKind::PushButton},
    {"Button", BS_TYPEMASK, BS_DEFPUSHBUTTON, ControlKind::PushButton},
    {"Button", BS_TYPEMASK, BS_CHECKBOX, ControlKind::CheckBox},
    {"Button", BS_TYPEMASK, BS_AUTOCHECKBOX, ControlKind::CheckBox},
    {"Button", BS_TYPEMASK, BS_RADIOBUTTON, ControlKind::RadioButton},
    {"Button", BS_TYPEMASK, BS_AUTORADIOBUTTON, ControlKind::RadioButton},
    {"Button", BS_TYPEMASK, BS_GROUPBOX, ControlKind::GroupBox},
    {"Static", SS_TYPEMASK, SS_BITMAP, ControlKind::Picture},
    {"Static", SS_TYPEMASK, SS_ICON, ControlKind::Picture},
    {"Static", SS_TYPEMASK, SS_ETCHEDHORZ, ControlKind::Picture},
    {"Static", 0, 0, ControlKind::Text},
    {PROGRESS_CLASSA, 0, 0, ControlKind::Progress},
}};

// Runs `work` on the control under the lock.
template <class Work>
LRESULT With(HWND handle, Work work) {
    auto lock = LockWindows();
    auto control = FindWindowByHandle(handle);
    return control ? static_cast<LRESULT>(work(*control)) : 0;
}

LRESULT StoreFont(HWND handle, WPARAM font) {
    return With(handle, [&](Window& control) {
        control.font = reinterpret_cast<HFONT>(font);
        control.needsPaint = true;
        RefreshControl(control);
        return 0;
    });
}

// What all controls have in common.
LRESULT ControlProcedure(HWND handle, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case WM_SETFONT:
        return StoreFont(handle, first);
    case WM_GETFONT:
        return With(handle,
                    [](Window& control) { return reinterpret_cast<LRESULT>(control.font); });
    default:
        return DefWindowProcA(handle, message, first, second);
    }
}

void SetCheck(Window& control, UINT check) {
    if (control.check == check)
        return;
    control.check = check;
    RefreshControl(control);
}

// The other buttons of the control's group, in the order of creation.
std::vector<std::shared_ptr<Window>> RestOfGroup(const Window& control) {
    std::vector<std::shared_ptr<Window>> group;
    auto parent = FindWindowByHandle(control.parent);
    if (!parent)
        return group;
    bool found = false;
    for (HWND handle : parent->children) {
        auto sibling = FindWindowByHandle(handle);
        if (!sibling)
            continue;
        if (sibling->style & WS_GROUP) {
            if (found)
                break;
            group.clear();
        }
        if (sibling.get() == &control)
            found = true;
        else
            group.push_back(sibling);
    }
    return group;
}

void ChangeByClick(Window& control) {
    switch (control.style & BS_TYPEMASK) {
    case BS_AUTOCHECKBOX:
        SetCheck(control, control.check ? BST_UNCHECKED : BST_CHECKED);
        break;
    case BS_AUTORADIOBUTTON:
        for (auto& other : RestOfGroup(control))
            if (KindOf(*other) == ControlKind::RadioButton)
                SetCheck(*other, BST_UNCHECKED);
        SetCheck(control, BST_CHECKED);
        break;
    default:
        break;
    }
}

LRESULT Click(HWND handle) {
    auto lock = LockWindows();
    auto control = FindWindowByHandle(handle);
    if (!control || (control->style & WS_DISABLED))
        return 0;
    ChangeByClick(*control);
    HWND parent = control->parent;
    auto id = static_cast<WORD>(control->id);
    lock.unlock();
    SendMessageA(parent, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(handle));
    return 0;
}

// Check boxes, radio buttons and group boxes take their colours like texts.
UINT ColourRequest(HWND handle) {
    return static_cast<UINT>(With(handle, [](Window& control) {
        return KindOf(control) == ControlKind::PushButton ? WM_CTLCOLORBTN : WM_CTLCOLORSTATIC;
    }));
}

LRESULT SetRange(HWND handle, LONG lowest, LONG highest) {
    return With(handle, [&](Window& bar) {
        bar.progress.lowest = lowest;
        bar.progress.highest = std::max(lowest, highest);
        bar.progress.position = std::clamp(bar.progress.position, lowest, bar.progress.highest);
        RefreshControl(bar);
        return 0;
    });
}

LRESULT SetPosition(HWND handle, LONG position) {
    return With(handle, [&](Window& bar) {
        ProgressState& state = bar.progress;
        LONG old = std::exchange(state.position, std::clamp(position, state.lowest, state.highest));
        RefreshControl(bar);
        return old;
    });
}

} // namespace

LRESULT CALLBACK StaticProcedure(HWND control, UINT message, WPARAM first, LPARAM second) {
    if (message != WM_PAINT)
        return ControlProcedure(control, message, first, second);
    PaintControl(control, WM_CTLCOLORSTATIC);
    return 0;
}

LRESULT CALLBACK ButtonProcedure(HWND handle, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case BM_GETCHECK:
        return With(handle, [](Window& control) { return control.check; });
    case BM_SETCHECK:
        return With(handle, [&](Window& control) {
            SetCheck(control, first ? BST_CHECKED : BST_UNCHECKED);
            return 0;
        });
    case BM_CLICK:
        return Click(handle);
    case WM_PAINT:
        PaintControl(handle, ColourRequest(handle));
        return 0;
    default:
        return ControlProcedure(handle, message, first, second);
    }
}

LRESULT CALLBACK ProgressProcedure(HWND handle, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case PBM_SETRANGE:
        return SetRange(handle, LOWORD(second), HIWORD(second));
    case PBM_SETRANGE32:
        return SetRange(handle, static_cast<LONG>(first), static_cast<LONG>(second));
    case PBM_SETPOS:
        return SetPosition(handle, static_cast<LONG>(first));
    case PBM_GETPOS:
        return With(handle, [](Window& bar) { return bar.progress.position; });
    default:
        return ControlProcedure(handle, message, first, second);
    }
}

ControlKind KindOf(const Window& control) {
    for (const ClassKind& row : Kinds)
        if (control.className == row.className && (control.style & row.mask) == row.style)
            return row.kind;
    return ControlKind::Other;
}

bool IsInteractive(ControlKind kind) {
    return kind == ControlKind::PushButton || kind == ControlKind::CheckBox ||
           kind == ControlKind::RadioButton;
}

} // namespace platform

void WINAPI InitCommonControls() {}
