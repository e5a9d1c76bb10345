// What a handheld tells: one line on standard output for each thing done to it, at once, and a
// record in its folder of what it refused.
#pragma once

#include "simulator/host_files.h"

namespace simulator {

class Report {
public:
    // `refusedFile` is appended to; `status` shows it.
    explicit Report(std::filesystem::path refusedFile) : refusedFile_(std::move(refusedFile)) {}

    void Say(const std::string& line) const;
    // "refused: " and the line, also kept.
    void Refuse(const std::string& line) const;

private:
    std::filesystem::path refusedFile_;
};

} // namespace simulator
