// From the model to the display and back: which pages are on screen, what has changed on them, and
// to which page input goes.
//
// Input is read by the thread of the newest page on screen that has controls, and only when that
// thread has nothing else to serve. So a line typed ahead waits until the page it is meant for is
// shown, and two threads with a page each never share one line.

#include "platform/windows/pages.h"

#include "platform/base/text.h"

#include <windows.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <utility>

namespace platform {

namespace {

// Without the marks of underlined letters; "&&" is an ampersand.
std::string WithoutMarks(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '&' && ++i >= text.size())
            break;
        plain.push_back(text[i]);
    }
    return plain;
}

bool KeepsMarks(const Window& control) {
    return KindOf(control) == ControlKind::Text && (control.style & SS_NOPREFIX);
}

bool IsDefaultButton(const Window& control, const DialogState& dialog) {
    return KindOf(control) == ControlKind::PushButton && dialog.defaultId != 0 &&
           control.id == dialog.defaultId;
}

TextAlignment AlignmentOf(const Window& control) {
    switch (control.style & SS_TYPEMASK) {
    case SS_CENTER:
        return TextAlignment::Centre;
    case SS_RIGHT:
        return TextAlignment::Right;
    default:
        return TextAlignment::Left;
    }
}

// A static text shows no more lines than its height takes, but one at least. A line that is broken
// at the width counts as one here: only the display knows its letters.
std::string TextThatShows(const Window& control, const LOGFONTA& font) {
    std::string text =
        Utf8FromAnsi(KeepsMarks(control) ? control.text : WithoutMarks(control.text));
    const LONG lineHeight = LineHeight(font);
    if (KindOf(control) != ControlKind::Text || lineHeight <= 0)
        return text;
    const LONG height = control.rect.bottom - control.rect.top;
    std::size_t end = text.find('\n');
    for (LONG bottom = 2 * lineHeight; bottom <= height && end != std::string::npos;
         bottom += lineHeight)
        end = text.find('\n', end + 1);
    const bool wholeBreak = end != std::string::npos && end > 0 && text[end - 1] == '\r';
    return text.substr(0, wholeBreak ? end - 1 : end);
}

ControlView ViewOfControl(const Window& control, const DialogState& dialog) {
    ControlView view = {};
    view.handle = control.handle;
    view.id = control.id;
    view.kind = KindOf(control);
    view.rect = control.rect;
    view.visible = control.style & WS_VISIBLE;
    view.enabled = !(control.style & WS_DISABLED);
    view.checked = control.check != BST_UNCHECKED;
    view.isDefault = IsDefaultButton(control, dialog);
    view.hasFocus = control.handle == dialog.focus;
    view.lowest = control.progress.lowest;
    view.highest = control.progress.highest;
    view.position = control.progress.position;
    view.painted = control.painted;
    view.alignment = AlignmentOf(control);
    view.centredDown = control.style & SS_CENTERIMAGE;
    FontDescription(control.font, &view.font);
    view.text = TextThatShows(control, view.font);
    return view;
}

bool HasArea(const RECT& rect) { return rect.right > rect.left && rect.bottom > rect.top; }

bool HasInteractiveControls(const Window& page) {
    return std::any_of(page.children.begin(), page.children.end(), [](HWND handle) {
        auto control = FindWindowByHandle(handle);
        return control && (control->style & WS_VISIBLE) && IsInteractive(KindOf(*control));
    });
}

// What gets the input: a page, a file dialog, or neither.
struct InputTarget {
    unsigned showOrder = 0;
    std::shared_ptr<Window> page;
    ActiveFileDialog* fileDialog = nullptr;
};

InputTarget FindInputTarget() {
    InputTarget target;
    for (auto& [handle, window] : Model().windows)
        if (window->dialog && window->dialog->onScreen &&
            window->dialog->showOrder > target.showOrder && HasInteractiveControls(*window))
            target = {window->dialog->showOrder, window, nullptr};
    for (ActiveFileDialog* fileDialog : Model().fileDialogs)
        if (fileDialog->showOrder > target.showOrder)
            target = {fileDialog->showOrder, nullptr, fileDialog};
    return target;
}

MSG MessageOf(const PageAction& action, HWND page) {
    MSG message = {};
    if (action.kind == PageAction::Click) {
        message.hwnd = action.control;
        message.message = BM_CLICK;
    } else {
        message.hwnd = page;
        message.message = WM_KEYDOWN;
        message.wParam = action.kind == PageAction::Enter ? VK_RETURN : VK_ESCAPE;
    }
    return message;
}

// Once, however often the user asks for it while a thread serves nothing.
void PostOnce(std::deque<MSG>& posted, const MSG& message) {
    const bool waits = std::any_of(posted.begin(), posted.end(), [&](const MSG& other) {
        return other.hwnd == message.hwnd && other.message == message.message &&
               other.wParam == message.wParam;
    });
    if (!waits)
        posted.push_back(message);
}

bool PostClose() {
    bool posted = false;
    for (auto& [handle, window] : Model().windows) {
        if (window->IsChild() || window->parent || window->dialog || window->dying)
            continue;
        MSG message = {};
        message.hwnd = handle;
        message.message = WM_CLOSE;
        PostOnce(window->queue->posted, message);
        posted = true;
    }
    WakeAllThreads();
    return posted;
}

} // namespace

PageView ViewOf(const Window& page) {
    PageView view = {};
    view.handle = page.handle;
    view.id = page.dialog->templateId;
    if ((page.style & WS_CAPTION) == WS_CAPTION)
        view.title = Utf8FromAnsi(page.text);
    view.rect = page.rect;
    RECT client = ClientRect(page);
    view.clientSize = {client.right, client.bottom};
    for (HWND handle : page.children)
        if (auto control = FindWindowByHandle(handle))
            view.controls.push_back(ViewOfControl(*control, *page.dialog));
    view.pictures = page.painted.pictures;
    return view;
}

void RefreshPage(Window& page) {
    if (!page.dialog || page.dying)
        return;
    DialogState& dialog = *page.dialog;
    bool onScreen = (page.style & WS_VISIBLE) && HasArea(page.rect);
    if (onScreen == dialog.onScreen)
        return;
    dialog.onScreen = onScreen;
    if (onScreen) {
        dialog.showOrder = ++Model().lastShowOrder;
        dialog.wasShown = true;
        ActiveDisplay().ShowPage(ViewOf(page));
    } else {
        ActiveDisplay().HidePage(ViewOf(page));
    }
    WakeAllThreads();
}

void RefreshControl(Window& control) {
    auto page = FindWindowByHandle(control.parent);
    if (!page || !page->dialog || !page->dialog->onScreen)
        return;
    ActiveDisplay().UpdateControl(ViewOf(*page), ViewOfControl(control, *page->dialog));
    WakeAllThreads();
}

void EndPage(Window& page) {
    if (!page.dialog || !page.dialog->wasShown)
        return;
    page.dialog->onScreen = page.dialog->wasShown = false;
    ActiveDisplay().EndPage(ViewOf(page));
    WakeAllThreads();
}

void RefreshCursor(const std::shared_ptr<ThreadQueue>& queue, bool waiting) {
    for (auto& [handle, window] : Model().windows)
        if (window->queue == queue && window->dialog && window->dialog->onScreen)
            ActiveDisplay().UpdateCursor(handle, waiting);
}

bool FeedInput(const std::shared_ptr<ThreadQueue>& queue) {
    InputTarget target = FindInputTarget();
    if (target.fileDialog && target.fileDialog->queue == queue && !target.fileDialog->answer) {
        target.fileDialog->answer = ActiveDisplay().NextAnswer();
        return target.fileDialog->answer.has_value();
    }
    if (!target.page || target.page->queue != queue)
        return false;
    // The thread has served the Escape, and nothing has been opened or has come back by it.
    if (std::exchange(target.page->dialog->leavingOrder, 0) == Model().lastShowOrder && PostClose())
        return true;
    auto action = ActiveDisplay().NextAction(ViewOf(*target.page));
    if (action)
        queue->posted.push_back(MessageOf(*action, target.page->handle));
    return action.has_value();
}

bool LeavePage() {
    const auto lock = LockWindows();
    const InputTarget target = FindInputTarget();
    if (target.fileDialog) {
        target.fileDialog->answer = FileAnswer{true, {}};
    } else if (target.page) {
        target.page->dialog->leavingOrder = Model().lastShowOrder;
        PostOnce(target.page->queue->posted,
                 MessageOf({PageAction::Escape, nullptr}, target.page->handle));
    } else {
        return PostClose();
    }
    WakeAllThreads();
    return true;
}

bool CloseProgram() {
    const auto lock = LockWindows();
    return PostClose();
}

} // namespace platform
