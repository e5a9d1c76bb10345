// A part of a long run of numbered trials: what it has done is in a file as soon as it is done, so
// that the next part goes on from there, however this one ended.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

namespace test_support {

// ROM_WIZARD_SLICE_FILE names the file: a line each, "passed" or "failed", the trial's number, and
// of the slice its begin, in seconds of the epoch, with the seconds and those of the processor that
// it has taken by then. Without it nothing is remembered. ROM_WIZARD_SLICE_MINUTES limits it.
class Slice {
public:
    // Of so many numbers from `first` on. Throws where the file cannot be read or written.
    Slice(std::size_t first, std::size_t count);

    const std::vector<std::size_t>& Pending() const {
        return pending_;
    } // neither passed nor failed
    bool IsOver() const { return std::chrono::steady_clock::now() >= end_; }
    // Any thread.
    void Note(std::size_t number, bool passed);
    std::size_t Done() const { return done_; } // in this slice

private:
    const std::chrono::steady_clock::time_point begin_, end_;
    const long long name_; // when it began
    std::vector<std::size_t> pending_;
    std::mutex lock_; // of the file
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    std::atomic<std::size_t> done_ = 0;
};

} // namespace test_support
