// A handheld in its cradle, from `ready` to the signal that ends it.
#pragma once

#include "simulator/device_state.h"
#include "simulator/faults.h"

namespace simulator {

struct RunOptions {
    std::uint32_t baud = 0;    // of the serial end; 0: not paced
    std::uint32_t usbBaud = 0; // of the USB end
    bool navigatorKey = false; // held down at power-on
    std::optional<bool> externalPower;
    std::string logFile, timesFile; // empty: none
    Faults faults;
};

// Powers the handheld on and runs it until SIGTERM or SIGINT. Throws a Failure, also where another
// process runs it already.
void RunHandheld(const StateFolder& folder, const RunOptions& options);

// Resets it, as its process if one runs it, and waits until that is done. The navigator key brings
// the bootloader up. Throws a Failure.
void ResetHandheld(const StateFolder& folder, bool navigatorKey);

} // namespace simulator
