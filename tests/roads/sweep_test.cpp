// Upgrades that are cut off anywhere, and finished by running the wizard again as its pages say.
// After each cut the page and the record are checked, and after the last run the flash.
//
// By hand, over more cuts: ROM_WIZARD_SWEEP=COUNT,SEED build/release/tests/roads_sweeps_test
// label: sweeps

#include "testing/extent.h"
#include "testing/sweep.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using namespace test_support;

#ifdef THREAD_SANITIZER
constexpr std::size_t UsualCuts = 40; // each takes several times as long
#else
constexpr std::size_t UsualCuts = 500; // 480 at the steps, the rest at random
#endif

TEST(Sweep, after_a_cut_anywhere_comes_the_right_page_and_the_next_run_upgrades) {
    const Extent extent = WantedExtent("ROM_WIZARD_SWEEP", {.count = UsualCuts, .first = 1});
    const std::vector<Cut> cuts = ChooseCuts(extent.count, extent.first);
    const SweepResult result = RunSweep(cuts);
    for (const std::string& failure : result.failures)
        ADD_FAILURE() << "seed " << extent.first << ": " << failure;
    std::printf(
        "%zu distinct cuts with seed %llu, %u runs of the wizard after them, %zu failures\n",
        cuts.size(), static_cast<unsigned long long>(extent.first), result.runs,
        result.failures.size());
    EXPECT_EQ(extent.count, cuts.size());
}

} // namespace
