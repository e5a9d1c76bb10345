// Painting: what a window's procedure draws between BeginPaint and EndPaint is kept with the
// window, and so are the colours that a dialog gives to a text.

#include "platform/windows/pages.h"

#include <windows.h>

#include <utility>

namespace platform {

void PaintText(HWND handle) {
    auto lock = LockWindows();
    auto control = FindWindowByHandle(handle);
    if (!control)
        return;
    HWND parent = control->parent;
    lock.unlock();
    HDC context = OpenPaintContext();
    SendMessageA(parent, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(context),
                 reinterpret_cast<LPARAM>(handle));
    PaintResult painted = ClosePaintContext(context);
    lock.lock();
    control->painted = std::move(painted);
    RefreshControl(*control);
}

} // namespace platform

using namespace platform;

HDC WINAPI BeginPaint(HWND handle, LPPAINTSTRUCT paint) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window || !paint)
        return nullptr;
    window->needsPaint = false;
    *paint = {};
    paint->hdc = OpenPaintContext();
    paint->rcPaint = ClientRect(*window);
    return paint->hdc;
}

BOOL WINAPI EndPaint(HWND handle, const PAINTSTRUCT* paint) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!paint)
        return FALSE;
    PaintResult painted = ClosePaintContext(paint->hdc);
    if (!window)
        return FALSE;
    window->painted = std::move(painted);
    if (window->dialog && window->dialog->onScreen)
        ActiveDisplay().UpdatePictures(ViewOf(*window));
    return TRUE;
}

BOOL WINAPI UpdateWindow(HWND handle) {
    auto lock = LockWindows();
    auto window = RequireWindow(handle);
    if (!window)
        return FALSE;
    bool due = window->needsPaint && IsVisibleWithParents(*window);
    window->needsPaint = window->needsPaint && !due;
    lock.unlock();
    if (due)
        SendMessageA(handle, WM_PAINT, 0, 0);
    return TRUE;
}
