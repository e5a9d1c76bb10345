// Controls of a dialog by their ids.

#include "platform/windows/window_model.h"

#include <windows.h>

#include <string>

using namespace platform;

HWND WINAPI GetDlgItem(HWND dialog, int id) {
    auto lock = LockWindows();
    auto window = RequireWindow(dialog);
    if (!window)
        return nullptr;
    for (HWND handle : window->children)
        if (auto control = FindWindowByHandle(handle); control && control->id == id)
            return handle;
    SetLastError(ERROR_CONTROL_ID_NOT_FOUND);
    return nullptr;
}

int WINAPI GetDlgCtrlID(HWND handle) {
    auto lock = LockWindows();
    auto control = RequireWindow(handle);
    return control ? control->id : 0;
}

LRESULT WINAPI SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM first, LPARAM second) {
    HWND control = GetDlgItem(dialog, id);
    return control ? SendMessageA(control, message, first, second) : 0;
}

BOOL WINAPI SetDlgItemTextA(HWND dialog, int id, LPCSTR text) {
    HWND control = GetDlgItem(dialog, id);
    return control ? SetWindowTextA(control, text) : FALSE;
}

UINT WINAPI GetDlgItemTextA(HWND dialog, int id, LPSTR buffer, int capacity) {
    if (buffer && capacity > 0)
        buffer[0] = '\0';
    HWND control = GetDlgItem(dialog, id);
    return control ? static_cast<UINT>(GetWindowTextA(control, buffer, capacity)) : 0;
}

BOOL WINAPI SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned) {
    if (isSigned) {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        return FALSE;
    }
    return SetDlgItemTextA(dialog, id, std::to_string(value).c_str());
}

BOOL WINAPI CheckDlgButton(HWND dialog, int id, UINT check) {
    HWND control = GetDlgItem(dialog, id);
    if (!control)
        return FALSE;
    SendMessageA(control, BM_SETCHECK, check, 0);
    return TRUE;
}

UINT WINAPI IsDlgButtonChecked(HWND dialog, int id) {
    return static_cast<UINT>(SendDlgItemMessageA(dialog, id, BM_GETCHECK, 0, 0));
}
