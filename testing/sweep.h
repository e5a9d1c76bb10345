// Every interruption of an upgrade that is tried, and two in a row.
#pragma once

#include "testing/trial.h"

#include <map>
#include <mutex>
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
    HandheldReset,  // once it is dead, while the wizard still sends
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
};

// A cut, or two: the second in the run that goes on after the first.
struct CutTrial {
    Cut first;
    std::optional<Cut> second{};
};

std::string Describe(const CutTrial& trial);

// All that there are, each once, in an order that mixes starts, links and kinds and stays the same:
// a trial has its index for a number. Alone, a transfer is cut at every byte of its control data,
// and around all that is handed over at a time; in pairs it is around every step. Each by every
// kind.
std::vector<CutTrial> AllTrials();

// Any thread may run trials.
class Sweep {
public:
    // Cuts off, and finishes by running the wizard again as its pages say. Throws with all that was
    // printed where a page, the record or the flash is not what has to follow.
    void Run(const CutTrial& trial);

private:
    struct FirstCut {
        std::mutex lock;
        std::filesystem::path folder; // empty: not run yet
    };

    const std::filesystem::path& StateAfter(const Cut& cut, Start next);

    const PreparedHomes homes_;
    const TestHome kept_; // what the first cuts left
    std::mutex firstsLock_;
    std::map<std::string, FirstCut> firsts_;
};

} // namespace test_support
