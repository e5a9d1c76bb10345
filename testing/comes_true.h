// Waiting for a condition, with an end.
#pragma once

#include <chrono>
#include <thread>

namespace test_support {

// Whether the condition comes true within a minute, which is far more than a busy machine needs.
template <class Condition>
bool ComesTrue(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace test_support
