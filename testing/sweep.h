// Many interrupted upgrades, side by side.
#pragma once

#include "testing/trial.h"

#include <optional>
#include <string>
#include <vector>

namespace test_support {

enum class CutKind {
    Silent,         // no token after a step, though the bytes before it were read
    Dead,           // nothing is read any more after so many bytes
    Unplugged,      // the port hangs up after so many bytes
    Replugged,      // and the device comes back as another port
    HandheldKilled, // its process, once it is dead
    WizardKilled,   // the wizard's, at that moment
};

// One interruption of one transfer. Bytes are those that have come over the link; at the end of a
// step its token has been sent by then.
struct Cut {
    Start start = Start::Fresh;
    Link link = Link::Serial;
    CutKind kind = CutKind::Silent;
    std::string step{};         // for Silent
    std::uint64_t position = 0; // for all others, in bytes
    // Decides another cut in the run that comes after it; none where empty.
    std::optional<std::uint64_t> again{};

    bool operator==(const Cut&) const = default;
};

std::string Describe(const Cut& cut);

// Distinct cuts: at every step and inside every write of every transfer, 480 in all, then others at
// random; a sample of them where fewer are wanted. One in eight twice in a row. The order is the
// seed's.
std::vector<Cut> ChooseCuts(std::size_t count, std::uint64_t seed);

struct SweepResult {
    std::vector<std::string> failures; // with the cut and all that was printed
    unsigned runs = 0;                 // of the wizard, behind the cuts
};

// On several threads; returns when all are done.
SweepResult RunSweep(const std::vector<Cut>& cuts);

} // namespace test_support
