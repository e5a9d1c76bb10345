// Many pieces of work at a time, most of which wait for timers most of the time.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace test_support {

// Does work(0) to work(count - 1) on several threads. Returns the messages of what they threw.
std::vector<std::string> SideBySide(std::size_t count,
                                    const std::function<void(std::size_t)>& work);

} // namespace test_support
