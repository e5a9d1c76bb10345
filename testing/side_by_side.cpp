// Worker threads that share a list of work and collect its failures.

#include "testing/side_by_side.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

namespace test_support {

namespace {

constexpr std::size_t Workers = 64; // they mostly wait

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
    for (std::size_t started = 0; started < Workers; ++started)
        workers.emplace_back(worker);
    workers.clear();
    return failures;
}

} // namespace test_support
