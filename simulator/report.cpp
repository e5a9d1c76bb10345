// The output of a running handheld.

#include "simulator/report.h"

#include <cstdio>
#include <fstream>

namespace simulator {

void Report::Print(const std::string& line) const {
    // A reader that has gone away is no reason to stop: the handheld goes on running.
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

void Report::PrintRefusal(const std::string& line) const {
    // The file first, so that it has the line when somebody reads the output.
    std::ofstream(refusedFile_, std::ios::app) << line << '\n';
    Print("refused: " + line);
}

} // namespace simulator
