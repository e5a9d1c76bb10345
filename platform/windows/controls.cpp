// Static texts, buttons and progress bars: their messages, and what a click does.
//
// Check boxes and radio buttons change their own state before their parent hears of the click; a
// radio button clears the others of its group, which reaches from one control with WS_GROUP to the
// next.

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
constexpr std::array<ClassKind, 6> Kinds = {{
    {"Button", BS_TYPEMASK, BS_PUSHBUTTON, ControlKind::PushButton},
    {"Button", BS_TYPEMASK, BS_DEFPUSHBUTTON, ControlKind::PushButton},
    {"Button", BS_TYPEMASK, BS_AUTOCHECKBOX, ControlKind::CheckBox},
    {"Button", BS_TYPEMASK, BS_AUTORADIOBUTTON, ControlKind::RadioButton},
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
    if (KindOf(control) == ControlKind::CheckBox)
        SetCheck(control, control.check ? BST_UNCHECKED : BST_CHECKED);
    if (KindOf(control) != ControlKind::RadioButton)
        return;
    for (auto& other : RestOfGroup(control))
        if (KindOf(*other) == ControlKind::RadioButton)
            SetCheck(*other, BST_UNCHECKED);
    SetCheck(control, BST_CHECKED);
}

LRESULT Click(HWND handle) {
    auto lock = LockWindows();
    auto control = FindWindowByHandle(handle);
    if (!control || (control->style & WS_DISABLED))
        return 0;
    ChangeByClick(*control);
    HWND parent = control->parent;
    if (const auto dialog = FindWindowByHandle(parent); dialog && dialog->dialog)
        dialog->dialog->focus = handle;
    auto id = static_cast<WORD>(control->id);
    lock.unlock();
    SendMessageA(parent, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(handle));
    return 0;
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
        return DefWindowProcA(control, message, first, second);
    PaintText(control);
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
    default:
        return DefWindowProcA(handle, message, first, second);
    }
}

LRESULT CALLBACK ProgressProcedure(HWND handle, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case PBM_SETRANGE32:
        return SetRange(handle, static_cast<LONG>(first), static_cast<LONG>(second));
    case PBM_SETPOS:
        return SetPosition(handle, static_cast<LONG>(first));
    case PBM_GETPOS:
        return With(handle, [](Window& bar) { return bar.progress.position; });
    default:
        return DefWindowProcA(handle, message, first, second);
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
