// A page as lines of text.
//
// Texts may come from outside (a device's own name for itself), so control characters are removed
// before anything reaches a terminal.

#include "platform/windows/page_lines.h"

#include <algorithm>
#include <cstdint>
#include <tuple>

namespace platform {

namespace {

bool IsText(const ControlView& control) {
    return control.visible && control.kind == ControlKind::Text;
}

bool ComesBefore(const ControlView* one, const ControlView* other) {
    return std::tie(one->rect.top, one->rect.left) < std::tie(other->rect.top, other->rect.left);
}

template <class Wanted>
std::vector<const ControlView*> FromTopToBottom(const PageView& page, Wanted wanted) {
    std::vector<const ControlView*> controls;
    for (const ControlView& control : page.controls)
        if (wanted(control))
            controls.push_back(&control);
    std::stable_sort(controls.begin(), controls.end(), ComesBefore);
    return controls;
}

bool OnOneRow(const ControlView& one, const ControlView& other) {
    return one.rect.top < other.rect.bottom && other.rect.top < one.rect.bottom;
}

bool IsPercentSign(const ControlView& control) { return IsText(control) && control.text == "%"; }

bool HasBar(const PageView& page) {
    return std::any_of(page.controls.begin(), page.controls.end(), [](const ControlView& control) {
        return control.visible && control.kind == ControlKind::Progress;
    });
}

// The number in front of a percent sign, on a page with a bar.
const ControlView* PercentFigure(const PageView& page) {
    if (!HasBar(page))
        return nullptr;
    for (const ControlView& control : page.controls)
        if (IsPercentSign(control))
            return TextBeside(page, control, false);
    return nullptr;
}

std::string BarPercentage(const ControlView& bar) {
    std::int64_t whole = std::int64_t{bar.highest} - bar.lowest;
    std::int64_t done = std::int64_t{bar.position} - bar.lowest;
    return std::to_string(whole > 0 ? done * 100 / whole : 0) + "%";
}

PageLine TextLine(const ControlView& text, const std::string& printed) {
    constexpr COLORREF Red = RGB(255, 0, 0);
    PageLine line = {text.handle, printed};
    if (text.painted.textColour == Red)
        line.colour = PageLine::RedText;
    else if (text.painted.background == Red)
        line.colour = PageLine::RedBehind;
    return line;
}

std::string TrimEnd(std::string text) {
    text.erase(text.find_last_not_of(" \n\t") + 1);
    return text;
}

std::string TrimStart(const std::string& text) {
    auto start = text.find_first_not_of(" \n\t");
    return start == std::string::npos ? "" : text.substr(start);
}

std::string ControlLine(const PageView& page, const ControlView& control) {
    std::string mark;
    if (control.kind == ControlKind::RadioButton)
        mark = control.checked ? "(x) " : "( ) ";
    else if (control.kind == ControlKind::CheckBox)
        mark = control.checked ? "[x] " : "[ ] ";
    std::string number = control.enabled ? std::to_string(control.id) : "-";
    std::string label = Printable(LabelOf(page, control));
    std::replace(label.begin(), label.end(), '\n', ' ');
    return TrimEnd(mark + "[" + number + "] " + label);
}

} // namespace

const ControlView* TextBeside(const PageView& page, const ControlView& control, bool right) {
    const ControlView* nearest = nullptr;
    LONG nearestGap = 0;
    for (const ControlView& text : page.controls) {
        LONG gap =
            right ? text.rect.left - control.rect.right : control.rect.left - text.rect.right;
        // Neighbours may overlap by a little: what counts is on which side the text starts.
        bool beside =
            right ? text.rect.left > control.rect.left : text.rect.left < control.rect.left;
        if (&text == &control || !IsText(text) || !OnOneRow(text, control) || !beside)
            continue;
        if (!nearest || gap < nearestGap) {
            nearest = &text;
            nearestGap = gap;
        }
    }
    return nearest;
}

std::string LabelOf(const PageView& page, const ControlView& control) {
    if (!control.text.empty())
        return control.text;
    const ControlView* text = TextBeside(page, control, true);
    return text ? text->text : "";
}

std::string Printable(const std::string& text) {
    std::string safe;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        bool next = i + 1 < text.size();
        // U+0080 to U+009F, in UTF-8 behind the byte C2, are control characters too.
        if (byte == 0xC2 && next && static_cast<unsigned char>(text[i + 1]) < 0xA0)
            ++i;
        else if (byte == '\n' || byte == '\t' || (byte >= 0x20 && byte != 0x7F))
            safe.push_back(text[i]);
    }
    return safe;
}

std::string PageHeader(const PageView& page) {
    return TrimEnd("== " + std::to_string(page.id) + " == " + TrimStart(Printable(page.title)));
}

std::vector<const ControlView*> InteractiveControls(const PageView& page) {
    return FromTopToBottom(page, [](const ControlView& control) {
        return control.visible && IsInteractive(control.kind);
    });
}

std::vector<PageLine> PageLines(const PageView& page) {
    std::vector<PageLine> lines;
    const ControlView* figure = PercentFigure(page);
    for (const ControlView* text : FromTopToBottom(page, IsText)) {
        std::string printed = TrimEnd(Printable(text->text));
        if (text != figure && !(figure && IsPercentSign(*text)) && !printed.empty())
            lines.push_back(TextLine(*text, printed));
    }
    for (const ControlView* control : InteractiveControls(page))
        lines.push_back({control->handle, ControlLine(page, *control)});
    return lines;
}

std::string PercentageOf(const PageView& page) {
    if (const ControlView* figure = PercentFigure(page))
        return TrimEnd(Printable(figure->text)) + "%";
    for (const ControlView& control : page.controls)
        if (control.visible && control.kind == ControlKind::Progress)
            return BarPercentage(control);
    return {};
}

} // namespace platform
