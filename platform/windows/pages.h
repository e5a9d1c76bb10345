// Pages as a display sees them, and which page or file dialog gets its input.
#pragma once

#include "platform/windows/display.h"
#include "platform/windows/window_model.h"

namespace platform {

// A file dialog that is up. It is on the stack of the thread that opened it.
struct ActiveFileDialog {
    std::shared_ptr<ThreadQueue> queue;
    unsigned showOrder; // beside the pages': the newest of both gets the input
    std::optional<FileAnswer> answer;
};

// Under the lock.
PageView ViewOf(const Window& page);

// What Ctrl-C does: the page or file dialog that takes input gets an Escape. Where the
// page is still the same after serving that, or none takes input, the program is closed. False
// where there is nothing to leave or close. Not under the lock.
bool LeavePage();

// Posts WM_CLOSE to the program's main window: every top-level one that has no owner and is no
// dialog. False where there is none. Not under the lock.
bool CloseProgram();

} // namespace platform
