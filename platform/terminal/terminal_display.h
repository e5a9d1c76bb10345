// The display for a console, an ssh session, a script: pages on standard output, a line of standard
// input for each thing that the user does. On a terminal it is that of interactive_display.h; what
// follows is for a program that reads the pages, and stays as it is.
//
//   == 158 == Choice       a page opens: number and title
//   What connects it?      its texts from top to bottom
//   (x) [1151] Serial      a radio button or check box with its state, and the number to type
//   [-] Next               not available now
//   37%                    progress, when it changes
//   -- 158 --              the page has left the screen
//   == open ==             a file is wanted (or == save ==): a path; an empty line cancels
//
// A line of input is a control's number, an empty line for Enter, or `esc`. At the end of input a
// page is left by Escape or, where that does nothing, by its first button. Progress is passed over
// while nobody reads, so that the program is not held up.
#pragma once

namespace platform {

class Display;

// There is one, for there is one standard input.
Display& TerminalDisplay();

} // namespace platform
