// The display for a person at a terminal: pages as paragraphs that fit the window, choices by the
// first letters of their words, in the language of the pages.
//
//   What connects it?            title, then texts from top to bottom
//   [u]  ( ) USB                 a choice: what is typed for it, its state, its words
//   [su] Next (Enter)            Enter alone takes this one
//
// A line of input is a beginning of a choice's words, the number of its control, an empty line for
// Enter, or `esc`. Where Enter alone may end the run, it is asked for once more.
#pragma once

namespace platform {

class Display;
class LineReader;

// There is one. `input` is read by it alone and outlives it; `typed` tells whether a person types
// there, and not a script.
Display& InteractiveDisplay(LineReader& input, bool typed);

} // namespace platform
