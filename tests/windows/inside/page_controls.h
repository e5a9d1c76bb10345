// What Windows reports about a page's controls, and how much space their texts need.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace page_test {

inline std::vector<HWND> ControlsOf(HWND page) {
    std::vector<HWND> controls;
    for (HWND one = GetWindow(page, GW_CHILD); one; one = GetWindow(one, GW_HWNDNEXT))
        controls.push_back(one);
    return controls;
}

inline bool IsOfClass(HWND window, const char* name) {
    char text[32] = "";
    GetClassNameA(window, text, sizeof(text));
    return lstrcmpiA(text, name) == 0;
}

inline std::string TextOf(HWND window) {
    char text[1024] = "";
    GetWindowTextA(window, text, sizeof(text));
    return text;
}

inline LOGFONTA FontOf(HWND control) {
    LOGFONTA font = {};
    GetObjectA(reinterpret_cast<HFONT>(SendMessageA(control, WM_GETFONT, 0, 0)), sizeof(font),
               &font);
    return font;
}

inline RECT RectOn(HWND page, HWND control) {
    RECT rect = {};
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

// The space of a text as a static control or a button of that style and width draws it.
inline SIZE TextSizeOf(HWND control, LONG width) {
    const auto style = static_cast<DWORD>(GetWindowLongA(control, GWL_STYLE));
    const bool isButton = IsOfClass(control, "Button");
    UINT format = DT_CALCRECT | DT_EXPANDTABS;
    format |= isButton || (style & SS_CENTERIMAGE) ? DT_SINGLELINE : DT_WORDBREAK;
    format |= !isButton && (style & SS_NOPREFIX) ? DT_NOPREFIX : 0;
    RECT size = {0, 0, width, 0};
    const HDC context = GetDC(control);
    const HGDIOBJ before =
        SelectObject(context, reinterpret_cast<HFONT>(SendMessageA(control, WM_GETFONT, 0, 0)));
    DrawTextA(context, TextOf(control).c_str(), -1, &size, format);
    SelectObject(context, before);
    ReleaseDC(control, context);
    return {size.right, size.bottom};
}

// The space of a push button's frame, or of another button's mark.
inline SIZE MarginsOf(HWND control) {
    if (!IsOfClass(control, "Button"))
        return {0, 0};
    const bool isPushed = (GetWindowLongA(control, GWL_STYLE) & BS_TYPEMASK) <= BS_DEFPUSHBUTTON;
    return isPushed ? SIZE{8, 6} : SIZE{GetSystemMetrics(SM_CXMENUCHECK) + 4, 0};
}

} // namespace page_test
