// Pages as a display sees them, and where its input goes.
#pragma once

#include "platform/display.h"
#include "platform/window_system.h"

namespace platform {

// A file dialog that is up. It lies on the stack of the thread that asks.
struct OpenQuestion {
    std::shared_ptr<ThreadQueue> queue;
    unsigned showOrder; // beside the pages': the newest of both gets the input
    std::optional<FileAnswer> answer;
};

// Under the lock.
PageView ViewOf(const Window& page);

} // namespace platform
