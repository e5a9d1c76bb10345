// What a run of the wizard costs the PC.
#pragma once

#include "testing/wizard_run.h"

namespace bench {

struct Costs {
    double processorSeconds;
    long peakKilobytes; // VmHWM
};

// Of a process that runs, up to now.
Costs CostsOf(pid_t process);

void WaitForPage(test_support::WizardRun& wizard, int page);

} // namespace bench
