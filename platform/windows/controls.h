// Window procedures of the controls that every program has.
#pragma once

#include <winuser.h>

namespace platform {

struct Window;

LRESULT CALLBACK StaticProcedure(HWND control, UINT message, WPARAM first, LPARAM second);
LRESULT CALLBACK ButtonProcedure(HWND control, UINT message, WPARAM first, LPARAM second);
LRESULT CALLBACK ProgressProcedure(HWND control, UINT message, WPARAM first, LPARAM second);

enum class ControlKind {
    Text,
    PushButton,
    CheckBox,
    RadioButton,
    Progress,
    Other // nothing that is covered
};

ControlKind KindOf(const Window& control);

// Whether a user can press, check or choose it.
bool IsInteractive(ControlKind kind);

} // namespace platform
