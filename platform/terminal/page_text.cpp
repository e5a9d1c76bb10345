// Labels are joined with what they belong to here: side by side on a page, they would be lines far
// apart from each other in a list of all texts.

#include "platform/terminal/page_text.h"

#include "platform/terminal/wrapping.h"

#include <algorithm>

namespace platform {

namespace {

constexpr char Attention[] = "(!) "; // for red letters or red behind them

const ControlView* FindControl(const PageView& page, HWND handle) {
    const auto found = std::ranges::find(page.controls, handle, &ControlView::handle);
    return found == page.controls.end() ? nullptr : &*found;
}

bool Explains(const PageView& page, const ControlView& text) {
    return std::ranges::any_of(InteractiveControls(page), [&](const ControlView* control) {
        return ExplanationOf(page, *control) == &text;
    });
}

bool IsLabelOf(const ControlView& label, const std::string& text, const ControlView& other) {
    return text.ends_with(':') && label.rect.top == other.rect.top;
}

} // namespace

const ControlView* ExplanationOf(const PageView& page, const ControlView& control) {
    const bool takesOne = control.kind == ControlKind::PushButton || control.text.empty();
    return takesOne ? TextBeside(page, control, true) : nullptr;
}

std::vector<PageLine> PageTexts(const PageView& page) {
    std::vector<PageLine> texts;
    const ControlView* before = nullptr;
    for (const PageLine& line : PageLines(page)) {
        const ControlView* control = FindControl(page, line.control);
        if (!control || control->kind != ControlKind::Text || Explains(page, *control))
            continue;
        const std::string text = Reflowed(line.text);
        if (before && IsLabelOf(*before, texts.back().text, *control))
            texts.back().text += " " + text;
        else
            texts.push_back({line.control, line.colour ? Attention + text : text, line.colour});
        before = control;
    }
    return texts;
}

} // namespace platform
