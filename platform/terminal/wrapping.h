// Breaks text into lines of a terminal's width.
#pragma once

#include <cstddef>
#include <string>

namespace platform {

// Columns of the terminal on standard output, as it is now: a window may be resized at any time.
// 80 where it does not say.
std::size_t TerminalColumns();

// Characters of UTF-8; each counts as one column.
std::size_t ColumnsOf(const std::string& text);

// A text that was laid out for a page's width, as paragraphs: lines that were broken in the middle
// of a sentence are joined, an item of a numbered list is one line (" 1. Text"), and blanks that
// pushed a word to its column are one blank. Empty lines stay. UTF-8.
std::string Reflowed(const std::string& text);

// The text with its lines broken at blanks, so that none is longer than `columns`, of which there
// are at least 20. A line that starts with blanks or the number of an item goes on under its first
// letter, and none further to the left than `indent`. No break comes before a sign of punctuation.
// A word that is longer than a line is broken anywhere.
std::string Wrapped(const std::string& text, std::size_t columns, std::size_t indent = 0);

} // namespace platform
