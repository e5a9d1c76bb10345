// An upgrade through the real wizard, measured: what the handheld noted, what it cost the PC.
#pragma once

#include "bench/costs.h"

#include "testing/cradle.h"
#include "testing/wizard_run.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace bench {

struct Times {
    std::map<std::string, double> tokens;          // by step, in seconds
    std::vector<std::pair<double, double>> pieces; // first and last byte
    double Phase() const { return pieces.back().second - pieces.front().first; }
};

struct UpgradeOptions {
    std::uint32_t imageSize;
    std::vector<std::string> handheld{}; // options of its run, such as a pacing
    std::string clock = "40";
    bool usb = false;
};

// Leads the wizard to the page behind the transfer; the handheld and its tty are there until the
// object goes.
class UpgradeRun {
public:
    explicit UpgradeRun(const UpgradeOptions& options);

    const Times& TheTimes() const { return times_; }
    const Costs& Before() const { return before_; } // the transfer
    const Costs& After() const { return after_; }
    const test_support::TestHome& Home() const { return home_; }
    // Ends the wizard, which frees the port.
    void EndWizard();

private:
    test_support::TestHome home_;
    std::unique_ptr<test_support::Cradle> cradle_;
    std::unique_ptr<test_support::WizardRun> wizard_;
    Times times_;
    Costs before_{}, after_{};
};

} // namespace bench
