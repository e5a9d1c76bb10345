// The texts of a page in the order in which a person reads them.
#pragma once

#include "platform/windows/display.h"
#include "platform/windows/page_lines.h"

#include <string>
#include <vector>

namespace platform {

// From top to bottom, each reflowed (wrapping.h): a label that ends with a colon and what stands
// beside it are one line, and texts that explain a choice are left out. What a colour alone would
// say has a sign in front of it.
std::vector<PageLine> PageTexts(const PageView& page);

// The text that stands to the right of a choice and says what it does. Null: none.
const ControlView* ExplanationOf(const PageView& page, const ControlView& control);

} // namespace platform
