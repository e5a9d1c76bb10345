// Each call of the system that the wizard makes fails once, in runs of its own; what the user is
// told is then true, and the next run finishes.
//
// By hand: ROM_WIZARD_CALLS= for all, or the beginning of some, "upgrade,open" or
// "backup,write,17,EIO", for build/release/tests/roads_sweeps_test --gtest_filter='CallErrors.*'
// label: sweeps

#include "testing/call_errors.h"
#include "testing/side_by_side.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace test_support;

// Of each kind one in the middle, in every other errand; all of a kind of which a resumption or a
// backup has few, and the end of the process at each change of the record on the disk.
bool IsInSample(const CallError& error, unsigned calls, std::size_t way) {
    constexpr unsigned Few = 14;
    const std::size_t ways = WaysToFail(error.kind).size();
    const bool record = error.errand == Errand::Resume;
    const bool changes = error.kind == CallKind::Write || error.kind == CallKind::Rename;
    if ((calls * ways <= Few && (record || error.errand == Errand::Backup)) ||
        (changes && record && error.how == KilledAtCall))
        return error.number <= calls;
    const std::size_t turn =
        static_cast<std::size_t>(error.kind) + static_cast<std::size_t>(error.errand);
    return turn % 2 == 0 && error.number == calls / 2 && turn / 2 % ways == way;
}

// Those whose description begins with that text, from the first call of each kind to well behind
// the last one of a run without errors, since how often a run waits and reads differs; without a
// text the sample.
std::vector<CallError> Choose(Errand errand, const CallCounts& calls, const char* part) {
    std::vector<CallError> chosen;
    CallError error{errand};
    for (std::size_t kind = 0; kind < CallKinds; ++kind) {
        error.kind = static_cast<CallKind>(kind);
        const std::vector<int> ways = WaysToFail(error.kind);
        const unsigned last = calls[kind] + calls[kind] / 8 + std::min(calls[kind], 64u) + 2;
        for (error.number = 1; error.number <= last; ++error.number) {
            for (std::size_t way = 0; way < ways.size(); ++way) {
                error.how = ways[way];
                if (part ? Describe(error).starts_with(part) : IsInSample(error, calls[kind], way))
                    chosen.push_back(error);
            }
        }
    }
    return chosen;
}

TEST(CallErrors, leave_nothing_half_done_and_the_next_run_finishes) {
#ifdef THREAD_SANITIZER
    GTEST_SKIP() << "its own functions come ahead of a preloaded library's";
#endif
    const char* const setting = std::getenv("ROM_WIZARD_CALLS");
    const CallErrors errors;
    std::vector<CallError> walk;
    for (const Errand errand : AllErrands) {
        const CallCounts calls = errors.Run({errand}).calls;
        std::printf("%s, calls of each kind:", NameOf(errand));
        for (const unsigned count : calls)
            std::printf(" %u", count);
        std::printf("\n");
        const auto more = Choose(errand, calls, setting);
        walk.insert(walk.end(), more.begin(), more.end());
    }
    ASSERT_FALSE(walk.empty()) << "no such call, or the library was not preloaded";
    std::atomic<unsigned> runs = 0, met = 0, tried = 0;
    const auto failures = SideBySide(walk.size(), [&](std::size_t at) {
        const CallErrors::Result result = errors.Run(walk[at]);
        runs += result.runs;
        met += result.met;
        if (++tried % 100 == 0)
            std::fprintf(stderr, "%u of %zu\n", tried.load(), walk.size());
    });
    for (const std::string& failure : failures)
        ADD_FAILURE() << failure;
    std::printf("%zu errors, %u of them met, %u runs of the wizard, %zu failures\n", walk.size(),
                met.load(), runs.load(), failures.size());
}

} // namespace
