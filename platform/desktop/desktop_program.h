// A program on a desktop.
#pragma once

#include <functional>

namespace platform {

// Whether the pages go to the desktop: ROM_WIZARD_DISPLAY names it or, where that is not set, the
// session has one.
bool DesktopIsWanted();

// Brings the desktop's display up on the calling thread, which must be the process's first, runs
// `program` on another one, and gives its result. `words` live as long as the process. Without a
// desktop the toolkit prints a line and ends the process.
int RunOnDesktop(int count, char** words, const std::function<int()>& program);

} // namespace platform
