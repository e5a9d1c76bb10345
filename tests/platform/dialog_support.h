// Dialogs of dialogs_test.rc whose procedure is a function of the test. Also on Windows.
#pragma once

#include "tests/platform/any_host.h"

#include <functional>

namespace dialog_support {

// What a dialog does with a message and its first word; the rest is left to the system.
using Behaviour = std::function<INT_PTR(HWND, UINT, WPARAM)>;

inline INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG)
        SetWindowLongPtrA(dialog, DWLP_USER, second);
    const auto user = GetWindowLongPtrA(dialog, DWLP_USER);
    const auto* behaviour = reinterpret_cast<const Behaviour*>(user);
    return behaviour ? (*behaviour)(dialog, message, first) : FALSE;
}

inline INT_PTR Show(int id, const Behaviour& behaviour, HWND owner = nullptr) {
    return DialogBoxParamA(nullptr, MAKEINTRESOURCEA(id), owner, Procedure,
                           reinterpret_cast<LPARAM>(&behaviour));
}

// Does one thing in the loop of the dialog; Windows may show it only later.
inline Behaviour Once(const std::function<void(HWND)>& body) {
    return [body](HWND dialog, UINT message, WPARAM) -> INT_PTR {
        if (message == WM_INITDIALOG)
            PostMessageA(dialog, WM_APP, 0, 0);
        if (message == WM_APP)
            body(dialog);
        return FALSE;
    };
}

} // namespace dialog_support
