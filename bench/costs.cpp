// What a run of the wizard costs the PC.

#include "bench/costs.h"

#include <fstream>
#include <sstream>

#include <unistd.h>

namespace bench {

Costs CostsOf(pid_t process) {
    Costs costs{};
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream stat(folder + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double user = 0, system = 0;
    fields >> user >> system;
    costs.processorSeconds = (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:"))
            costs.peakKilobytes = std::stol(line.substr(6));
    }
    return costs;
}

void WaitForPage(test_support::WizardRun& wizard, int page) {
    while (wizard.NextPage() != page) {
    }
}

} // namespace bench
