// Looks at a page of another program for texts that are cut in the font of Windows. That no control
// lies over another one the desktop's tests see, of the same templates.
#pragma once

#include "resources/resource.h"

#include <windows.h>

#include <iterator>
#include <string>
#include <vector>

namespace page_test {

// The text of a window, in UTF-8.
inline std::string TextOf(HWND window) {
    wchar_t text[1024] = L"";
    GetWindowTextW(window, text, static_cast<int>(std::size(text)));
    char bytes[3 * std::size(text)] = "";
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof(bytes), nullptr, nullptr);
    return bytes;
}

inline bool IsButton(HWND control) {
    char name[32] = "";
    GetClassNameA(control, name, sizeof(name));
    return lstrcmpiA(name, "Button") == 0;
}

// The space of the text as a control of that style and width draws it. The fonts of another program
// cannot be asked for: it is the dialogs' own, in which headings take less than in theirs.
inline SIZE TextSizeOf(HWND control, LONG width) {
    const auto style = static_cast<DWORD>(GetWindowLongA(control, GWL_STYLE));
    UINT format = DT_CALCRECT | DT_EXPANDTABS;
    format |= IsButton(control) || (style & SS_CENTERIMAGE) ? DT_SINGLELINE : DT_WORDBREAK;
    format |= !IsButton(control) && (style & SS_NOPREFIX) ? DT_NOPREFIX : 0;
    wchar_t text[1024] = L"";
    GetWindowTextW(control, text, static_cast<int>(std::size(text)));
    RECT size = {0, 0, width, 0};
    const HDC context = CreateCompatibleDC(nullptr);
    const HFONT font = CreateFontA(-11, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, "Arial");
    const HGDIOBJ before = SelectObject(context, font);
    DrawTextW(context, text, -1, &size, format);
    SelectObject(context, before);
    DeleteObject(font);
    DeleteDC(context);
    return {size.right, size.bottom};
}

// The space of a push button's frame, or of another button's mark.
inline SIZE MarginsOf(HWND control) {
    if (!IsButton(control))
        return {0, 0};
    const bool isPushed = (GetWindowLongA(control, GWL_STYLE) & BS_TYPEMASK) <= BS_DEFPUSHBUTTON;
    return isPushed ? SIZE{8, 6} : SIZE{GetSystemMetrics(SM_CXMENUCHECK) + 4, 0};
}

inline bool IsCut(HWND control) {
    RECT area = {};
    GetClientRect(control, &area);
    const SIZE margins = MarginsOf(control), size = TextSizeOf(control, area.right);
    return size.cx > area.right - margins.cx || size.cy > area.bottom - margins.cy;
}

// Numbers and words of the texts that are cut. A page that goes meanwhile has none.
inline std::vector<std::string> CutTexts(HWND page) {
    std::vector<std::string> texts;
    for (HWND one = GetWindow(page, GW_CHILD); one; one = GetWindow(one, GW_HWNDNEXT)) {
        const int id = GetDlgCtrlID(one);
        if (id != IDC_CONNECTION_QUESTION && IsCut(one)) // one line of three
            texts.push_back(std::to_string(id) + " " + TextOf(one));
    }
    return IsWindow(page) ? texts : std::vector<std::string>{};
}

} // namespace page_test
