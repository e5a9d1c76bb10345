// Breaks text into lines of a terminal's width.
#pragma once

#include <cstddef>
#include <string>

namespace platform {

// The text with its lines broken at blanks, so that none is longer than `columns`, of which there
// are at least 20. A line that starts with blanks goes on under its first letter. A word that is
// longer than a line is broken anywhere. UTF-8; each character counts as one column.
std::string Wrapped(const std::string& text, std::size_t columns);

} // namespace platform
