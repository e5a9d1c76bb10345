// Whether a thread requires the machine to stay awake (SetThreadExecutionState), for the rest of
// the layer.
#pragma once

#include <functional>

namespace platform {

// Runs the action where no thread requires the system, and gives whether it did. No thread comes to
// require it meanwhile, so the action must not wait for one that might. Any thread.
bool UnlessSystemRequired(const std::function<void()>& action);

} // namespace platform
