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
#include <set>

namespace {

using namespace test_support;

// Those of an errand that begin with that text, from the first call of each kind to some behind the
// last one of a run without errors; a walk by hand has to come past the end.
std::vector<CallError> Walk(Errand errand, const CallCounts& calls, const std::string& part) {
    std::vector<CallError> walk;
    CallError error{errand};
    for (std::size_t kind = 0; kind < CallKinds; ++kind) {
        error.kind = static_cast<CallKind>(kind);
        for (error.number = 1; error.number <= calls[kind] + calls[kind] / 8 + 2; ++error.number) {
            for (const int how : WaysToFail(error.kind)) {
                error.how = how;
                if (Describe(error).starts_with(part))
                    walk.push_back(error);
            }
        }
    }
    return walk;
}

// The first two of each kind, one in the middle and the last one, each in one of its ways.
std::vector<CallError> Sample(Errand errand, const CallCounts& calls) {
    std::vector<CallError> sample;
    std::size_t turn = static_cast<std::size_t>(errand);
    for (std::size_t kind = 0; kind < CallKinds; ++kind) {
        const std::vector<int> ways = WaysToFail(static_cast<CallKind>(kind));
        for (const unsigned number : std::set{1U, 2U, calls[kind] / 2, calls[kind]}) {
            if (number > 0 && number <= calls[kind] && !ways.empty())
                sample.push_back(
                    {errand, static_cast<CallKind>(kind), number, ways[turn++ % ways.size()]});
        }
    }
    return sample;
}

std::vector<CallError> Choose(const CallErrors& errors, const char* part) {
    std::vector<CallError> all;
    for (const Errand errand : AllErrands) {
        const CallCounts calls = errors.Run({errand}).calls;
        std::printf("%s, calls of each kind:", NameOf(errand));
        for (const unsigned count : calls)
            std::printf(" %u", count);
        std::printf("\n");
        const auto more = part ? Walk(errand, calls, part) : Sample(errand, calls);
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

TEST(CallErrors, leave_nothing_half_done_and_the_next_run_finishes) {
#ifdef THREAD_SANITIZER
    GTEST_SKIP() << "its own functions come ahead of a preloaded library's";
#endif
    const char* const setting = std::getenv("ROM_WIZARD_CALLS");
    const CallErrors errors;
    const std::vector<CallError> walk = Choose(errors, setting);
    std::atomic<unsigned> runs = 0, met = 0, tried = 0;
    const auto failures = SideBySide(walk.size(), [&](std::size_t at) {
        const auto print = [&](const std::string& failure) {
            if (++tried % 100 == 0 || !failure.empty())
                std::fprintf(stderr, "%u of %zu %s\n", tried.load(), walk.size(),
                             failure.substr(0, failure.find('\n')).c_str());
        };
        try {
            const CallErrors::Result result = errors.Run(walk[at]);
            runs += result.runs;
            met += result.met;
            print("");
        } catch (const std::exception& failure) {
            print(failure.what());
            throw;
        }
    });
    for (const std::string& failure : failures)
        ADD_FAILURE() << failure;
    std::printf("%zu errors, %u of them met, %u runs of the wizard, %zu failures\n", walk.size(),
                met.load(), runs.load(), failures.size());
}

} // namespace
