// The desktop's display, which is a module beside the program, so that a PC without a toolkit needs
// none: it is loaded where a session has a desktop.
#pragma once

namespace platform {

using Program = int();

// Brings the desktop's display up on the calling thread, which must be the process's first, runs
// `program` on another one, and gives its result. `words` live as long as the process. Without a
// desktop the toolkit prints a line and ends the process.
using RunOnDesktopFunction = int(int count, char** words, Program* program);

// To run with, where the desktop is wanted: ROM_WIZARD_DISPLAY names it or, where that is not set,
// the session has one. Null: the terminal is. A module that cannot be loaded is told in a line;
// where the desktop was named, that ends the program with 2.
RunOnDesktopFunction* WantedDesktop();

} // namespace platform
