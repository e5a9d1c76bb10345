// A page as lines of text, for displays that have nothing else.
#pragma once

#include "platform/windows/display.h"

#include <string>
#include <vector>

namespace platform {

// One line of a page, or several for a text that has several; UTF-8, safe to print.
struct PageLine {
    HWND control; // null: the percentage of the page's progress
    std::string text;
    enum { Plain, RedText, RedBehind } colour = Plain; // as the page has coloured it
};

std::string PageHeader(const PageView& page);

// Texts from top to bottom, then the interactive controls in the same order. The percentage
// is not among them.
std::vector<PageLine> PageLines(const PageView& page);

// The text nearest to a control on its row, on the right of it or the left. Null: none.
const ControlView* TextBeside(const PageView& page, const ControlView& control, bool right);

// The label of an interactive control: its own text or, where it has none, the one to its right.
std::string LabelOf(const PageView& page, const ControlView& control);

// "37%": the number in front of a "%" on the page or, without one, what the bar shows.
// Empty where the page has no progress bar.
std::string PercentageOf(const PageView& page);

// Interactive controls that are visible, in the order of PageLines.
std::vector<const ControlView*> InteractiveControls(const PageView& page);

// Without control characters, which a terminal would act on.
std::string Printable(const std::string& text);

} // namespace platform
