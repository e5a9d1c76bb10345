// The output of a running handheld: a line on standard output for each thing done to it, at once,
// and a file in its folder with what it refused.
#pragma once

#include "simulator/host_files.h"

#include <utility>

namespace simulator {

class Report {
public:
    // `refusedFile` is appended to; `status` shows it.
    explicit Report(std::filesystem::path refusedFile) : refusedFile_(std::move(refusedFile)) {}

    void Print(const std::string& line) const;
    // Prints "refused: " and the line, and appends the line to the file.
    void PrintRefusal(const std::string& line) const;

private:
    std::filesystem::path refusedFile_;
};

} // namespace simulator
