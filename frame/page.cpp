// The engine behind all pages: opens a page from its row of data and answers its messages.
//
// What a page needs while it is up, its fonts, pictures and brush, belongs to the one call that
// shows it and not to the record: a worker may show a failure page while the main thread is still
// in ProgressPage, and neither may delete what the other one paints with.

#include "frame/page.h"

#include "frame/catalog.h"
#include "frame/page_resources.h"
#include "resources/resource.h"
#include "state/state.h"

#include <cstdio>
#include <utility>

namespace {

LPCSTR TemplateName(const Page& page) { return MAKEINTRESOURCEA(page.dialog); }

void SetTexts(HWND window, const Page& page) {
    if (page.hasTitle)
        SetWindowTextA(window, CatalogText(IDS_TITLE));
    for (const PageText& text : page.texts) {
        if (text.value)
            SetLabelledText(window, text.control, text.text, text.value);
        else if (text.text != 0)
            SetDlgItemTextA(window, text.control, CatalogText(text.text));
    }
}

// Said by the page, since Windows would give the focus to the first button in the template, which
// may be the one that leaves.
void GiveFirstFocus(HWND window, const Page& page) {
    // Of a page without a default button Windows may say IDOK, which is not there.
    const auto set = static_cast<DWORD>(SendMessageA(window, DM_GETDEFID, 0, 0));
    HWND button = HIWORD(set) == DC_HASDEFID ? GetDlgItem(window, LOWORD(set)) : nullptr;
    if (!button && page.results.size() == 1)
        button = GetDlgItem(window, page.results.front().command);
    if (button && !page.keepsFocus)
        SendMessageA(window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(button), TRUE);
}

void Open(HWND window, PageResources& resources) {
    const Page& page = resources.page;
    SetTexts(window, page);
    CentreWindow(window);
    ApplyFontsAndPictures(window, resources);
    GiveFirstFocus(window, page);
    if (page.open)
        page.open(window);
}

INT_PTR HandleCommand(HWND window, const Page& page, int command) {
    if (page.command && page.command(window, command))
        return TRUE;
    for (const PageResult& end : page.results) {
        if (end.command == command) {
            EndDialog(window, end.result);
            return TRUE;
        }
    }
    return FALSE;
}

INT_PTR Answer(HWND window, const PageResources& resources, UINT message, WPARAM first,
               LPARAM second) {
    const Page& page = resources.page;
    INT_PTR answer = FALSE;
    if (message == WM_COMMAND)
        return HandleCommand(window, page, LOWORD(first));
    if (page.message && page.message(window, message, first, second, &answer))
        return answer;
    switch (message) {
    case WM_SETFOCUS: // answered, the page has the focus itself
        return page.keepsFocus ? TRUE : FALSE;
    case WM_PAINT:
        return PaintPage(window, resources);
    case WM_CTLCOLORSTATIC:
        return ColourControl(reinterpret_cast<HDC>(first), reinterpret_cast<HWND>(second),
                             resources);
    default:
        return FALSE;
    }
}

INT_PTR CALLBACK PageProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrA(window, DWLP_USER, second);
        Open(window, *reinterpret_cast<PageResources*>(second));
        return FALSE; // the focus has been given
    }
    // Some messages come before WM_INITDIALOG, such as the one that sets the font.
    const auto* resources =
        reinterpret_cast<const PageResources*>(GetWindowLongPtrA(window, DWLP_USER));
    return resources ? Answer(window, *resources, message, first, second) : FALSE;
}

INT_PTR CALLBACK WaitingPageProc(HWND window, UINT message, WPARAM, LPARAM second) {
    if (message != WM_INITDIALOG)
        return FALSE;
    SetTexts(window, *reinterpret_cast<const Page*>(second));
    CentreWindow(window);
    return TRUE;
}

} // namespace

INT_PTR ShowPage(const Page& page) {
    if (State.Run.RunEnded)
        return PageNotShown;
    PageResources resources{page}; // outlives the window, which is gone when the call returns
    const INT_PTR result = DialogBoxParamA(State.Windows.AppInstance, TemplateName(page), nullptr,
                                           PageProc, reinterpret_cast<LPARAM>(&resources));
    ReleasePageResources(resources);
    return State.Run.RunEnded ? PageNotShown : result;
}

HWND OpenWaitingPage(const Page& page, HWND owner) {
    if (State.Run.RunEnded)
        return nullptr;
    const HWND window = CreateDialogParamA(State.Windows.AppInstance, TemplateName(page), owner,
                                           WaitingPageProc, reinterpret_cast<LPARAM>(&page));
    ShowWindow(window, SW_SHOW);
    // The thread goes on to work and serves no messages, so nothing else would paint the page.
    UpdateWindow(window);
    for (const PageText& text : page.texts)
        UpdateWindow(GetDlgItem(window, text.control));
    return window;
}

// Not by EndDialog, which would leave a dialog that does not block standing hidden.
void EndWaitingPage(HWND& page) {
    const HWND window = std::exchange(page, nullptr);
    if (window && !State.Run.MainWindowGone)
        DestroyWindow(window);
}

void CollapsePage(HWND page, bool repaint) {
    if (page)
        MoveWindow(page, 0, 0, 0, 0, repaint ? TRUE : FALSE);
}

void CentreWindow(HWND page) {
    RECT window = {};
    GetWindowRect(page, &window);
    const int width = static_cast<int>(window.right - window.left);
    const int height = static_cast<int>(window.bottom - window.top);
    MoveWindow(page, (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
               (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height, FALSE);
}

void SetLabelledText(HWND page, int control, unsigned label, const char* value) {
    char line[512];
    std::snprintf(line, sizeof(line), "%s %s", CatalogText(label), value);
    SetDlgItemTextA(page, control, line);
}
