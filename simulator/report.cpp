// What a handheld tells.

#include "simulator/report.h"

#include <cstdio>
#include <fstream>

namespace simulator {

void Report::Say(const std::string& line) const {
    // A reader that has gone away is no reason to stop: the handheld lives on in its cradle.
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

void Report::Refuse(const std::string& line) const {
    // Who reads the line finds it in the folder.
    std::ofstream(refusedFile_, std::ios::app) << line << '\n';
    Say("refused: " + line);
}

} // namespace simulator
