// Reads what a run of the wizard costs the PC from the system.

#include "bench/costs.h"

#include <ctime>
#include <fstream>
#include <string>

namespace bench {

Costs CostsOf(pid_t process) {
    Costs costs{};
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &time) == 0)
        costs.processorSeconds =
            static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            costs.peakKilobytes = std::stol(line.substr(6));
    }
    return costs;
}

// Line by line: a paced transfer takes longer than a test waits for a page, but not for a percent.
void WaitForPage(test_support::WizardRun& wizard, int page) {
    const std::string opening = "== " + std::to_string(page) + " ==";
    const auto any = [](const std::string&) { return true; };
    while (!wizard.Process().ExpectLine(any, "of any kind").starts_with(opening)) {
    }
}

} // namespace bench
