// Reading which trials are done, and adding to them.

#include "testing/slice.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include <sys/resource.h>

namespace test_support {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point EndOfSlice() {
    const char* minutes = std::getenv("ROM_WIZARD_SLICE_MINUTES");
    return minutes ? Clock::now() + std::chrono::minutes(std::atoi(minutes))
                   : Clock::time_point::max();
}

// Of this process and of those that it has waited for.
double ProcessorSeconds() {
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage = {};
        getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
    return seconds;
}

// A line that was cut off with its slice does not count; its trial is done again.
std::set<std::size_t> NumbersIn(const char* file) {
    std::set<std::size_t> numbers;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string verdict;
        std::size_t number = 0, slice = 0, wall = 0, processor = 0;
        words >> verdict >> number >> slice >> wall >> processor;
        if (words && (verdict == "passed" || verdict == "failed"))
            numbers.insert(number);
    }
    return numbers;
}

} // namespace

Slice::Slice(std::size_t first, std::size_t count)
    : begin_(Clock::now()), end_(EndOfSlice()), name_(std::time(nullptr)),
      file_(nullptr, std::fclose) {
    std::set<std::size_t> done;
    if (const char* name = std::getenv("ROM_WIZARD_SLICE_FILE")) {
        done = NumbersIn(name);
        file_.reset(std::fopen(name, "ae"));
        if (!file_)
            throw std::runtime_error(std::string("cannot write ") + name);
    }
    for (std::size_t number = first; number < first + count; ++number) {
        if (!done.contains(number))
            pending_.push_back(number);
    }
}

void Slice::Note(std::size_t number, bool passed) {
    ++done_;
    const std::lock_guard lock(lock_);
    if (!file_)
        return;
    std::fprintf(file_.get(), "%s %zu %lld %.0f %.0f\n", passed ? "passed" : "failed", number,
                 name_, std::chrono::duration<double>(Clock::now() - begin_).count(),
                 ProcessorSeconds());
    std::fflush(file_.get());
}

} // namespace test_support
