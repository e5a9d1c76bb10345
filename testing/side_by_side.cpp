// Worker threads that share a list of work and collect its failures.

#include "testing/side_by_side.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <thread>

namespace test_support {

namespace {

// They mostly wait. The more there are, the more of them may want the processor at a time.
std::size_t Workers() {
    const char* setting = std::getenv("ROM_WIZARD_WORKERS");
    const std::size_t workers = setting ? std::strtoul(setting, nullptr, 10) : 64;
    return std::max<std::size_t>(workers, 1); // without any nothing would be tried, and all be well
}

} // namespace

std::vector<std::string> SideBySide(std::size_t count,
                                    const std::function<void(std::size_t)>& work) {
    std::vector<std::string> failures;
    std::mutex failuresLock;
    std::atomic<std::size_t> next = 0;
    const auto worker = [&] {
        for (std::size_t at = next++; at < count; at = next++) {
            try {
                work(at);
            } catch (const std::exception& error) {
                const std::lock_guard lock(failuresLock);
                failures.emplace_back(error.what());
            }
        }
    };
    std::vector<std::jthread> workers;
    for (std::size_t started = std::min(count, Workers()); started > 0; --started)
        workers.emplace_back(worker);
    workers.clear();
    return failures;
}

} // namespace test_support
