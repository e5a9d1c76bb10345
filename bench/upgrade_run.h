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

constexpr std::uint32_t PieceSize = 0x20000;

// The size of an image file of so many pieces, which are all of it that travels.
constexpr std::uint32_t ImageFileSize(std::uint32_t pieces) { return 0x40020 + pieces * PieceSize; }

struct Times {
    std::map<std::string, double> tokens;          // by step, in seconds
    std::vector<std::pair<double, double>> pieces; // times of first and last byte, in seconds
    // From the first byte of the first piece to the last byte of the last one, in seconds.
    double DataPhase() const { return pieces.back().second - pieces.front().first; }
};

struct UpgradeOptions {
    std::uint32_t imageSize;
    std::vector<std::string> handheld{}; // options of its run, such as a pacing
    std::string clock = "40";
    bool usb = false;
};

// Leads the wizard to the page behind the transfer; the handheld and its tty are there as long as
// the object.
class UpgradeRun {
public:
    explicit UpgradeRun(const UpgradeOptions& options);

    const Times& RecordedTimes() const { return times_; }
    // Of the wizard, when the progress page opens and when the page after the transfer does.
    const Costs& Before() const { return before_; }
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
