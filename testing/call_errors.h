// Runs of the wizard in which one call of the system fails, and the runs behind them.
//
// A run goes to its last page, or to its end without one, whatever has failed. No success may have
// been claimed that is none, nothing that was on the disk may be lost, and the next runs, in which
// nothing fails, finish what the run was for.
#pragma once

#include "testing/preload/call_report.h"
#include "testing/trial.h"

#include <array>
#include <string>
#include <vector>

namespace test_support {

// What a run is for. All over the serial link.
enum class Errand { Upgrade, Resume, Backup, Restore };
inline constexpr std::array AllErrands = {Errand::Upgrade, Errand::Resume, Errand::Backup,
                                          Errand::Restore};

struct CallError {
    Errand errand = Errand::Upgrade;
    CallKind kind = CallKind::Open;
    unsigned number = 0; // of the calls of that kind, from 1; 0: none fails
    int how = 0;         // an error number, KilledAtCall or ShortCall
};

const char* NameOf(Errand errand);
// Such as "upgrade,open,17,EIO".
std::string Describe(const CallError& error);
// All that a call of that kind can do wrong.
std::vector<int> WaysToFail(CallKind kind);

using CallCounts = std::array<unsigned, CallKinds>;

class CallErrors {
public:
    CallErrors();
    struct Result {
        CallCounts calls; // of the run in which one was to fail
        bool met;         // whether there was such a call
        unsigned runs;    // of the wizard, in all
    };
    // Throws with everything that was printed where something is not as it should be. Any thread
    // may call it.
    Result Run(const CallError& error) const;

private:
    const PreparedHomes homes_;
    const TestHome largeHome_; // of a handheld whose ROM can be saved
};

} // namespace test_support
