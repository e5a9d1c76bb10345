// The line of a transfer's progress on a terminal.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace platform {

// Reckons the time left from what has gone so far. For one page, on one thread at a time.
class ProgressLine {
public:
    // "[#####.....]  37 %  encore 12 min", shorter than `columns`; no time before some of the work
    // has been done. `percentage` as of PercentageOf; what is no number is given back as it is.
    std::string Line(const std::string& percentage, std::size_t columns,
                     std::chrono::steady_clock::time_point now);

private:
    std::chrono::steady_clock::time_point start_;
    std::optional<int> first_; // the percentage at the start
};

} // namespace platform
