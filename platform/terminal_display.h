// The display for a console, an ssh session, a script: pages as lines on standard output, a line of
// standard input for each thing that the user does. README.md of this folder tells its language.
#pragma once

namespace platform {

class Display;

// There is one, for there is one standard input.
Display& TerminalDisplay();

} // namespace platform
