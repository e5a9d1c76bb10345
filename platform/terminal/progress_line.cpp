// A bar, the percentage and the time left.

#include "platform/terminal/progress_line.h"

#include "platform/terminal/choices.h"
#include "platform/terminal/wrapping.h"
#include "platform/windows/sentences.h"

#include <algorithm>

namespace platform {

namespace {

constexpr int Whole = 100;
constexpr std::size_t MinBar = 5, MaxBar = 50;
constexpr std::size_t TimeColumns = 16; // "  encore 120 min"

// Rounded up: a user who waits is not told that nothing is left.
std::string TimeText(std::chrono::steady_clock::duration left) {
    using namespace std::chrono;
    const bool seconds = left < 1min;
    const auto amount = seconds ? ceil<std::chrono::seconds>(left).count()
                                : ceil<std::chrono::minutes>(left).count();
    return InLanguageOfPages(
        {Phrase::TimeLeft, std::to_string(amount) + (seconds ? " s" : " min")});
}

std::string Bar(int percent, std::size_t columns) {
    const std::size_t full = columns * static_cast<std::size_t>(percent) / Whole;
    return "[" + std::string(full, '#') + std::string(columns - full, '.') + "]";
}

} // namespace

std::string ProgressLine::Line(const std::string& percentage, std::size_t columns,
                               std::chrono::steady_clock::time_point now) {
    const auto number = NumberIn(percentage.substr(0, percentage.find('%')));
    if (!number || *number < 0 || *number > Whole)
        return percentage;
    if (!first_) {
        first_ = *number;
        start_ = now;
    }
    const std::string digits = std::to_string(*number);
    std::string line = " " + std::string(3 - digits.size(), ' ') + digits + " %";
    const std::size_t others = ColumnsOf(line) + TimeColumns + 3; // brackets, the last column
    line = Bar(*number, std::clamp(columns > others ? columns - others : 0, MinBar, MaxBar)) + line;
    const int done = *number - *first_;
    if (done > 0 && *number < Whole)
        line += "  " + TimeText((now - start_) * (Whole - *number) / done);
    return line;
}

} // namespace platform
