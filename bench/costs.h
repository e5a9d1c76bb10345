// What a run of the wizard costs the PC, and the wait for one of its pages.
#pragma once

#include "testing/wizard_run.h"

namespace bench {

struct Costs {
    double processorSeconds;
    long peakKilobytes; // VmHWM
};

// Of a process that runs, up to now.
Costs CostsOf(pid_t process);

// Until the page opens. Throws after a minute without a line of output, or when the output ends.
void WaitForPage(test_support::WizardRun& wizard, int page);

} // namespace bench
