// Upgrades that are cut off anywhere, once or twice, and finished by running the wizard again as
// its pages say. After each cut the page and the record are checked, and after the last run the
// flash.
//
// ROM_WIZARD_SWEEP=COUNT,FIRST chooses so many trials from that number on; one alone is run again
// by ROM_WIZARD_SWEEP=1,NUMBER. All of them, in slices of an hour: scripts/sweep
// label: sweeps

#include "testing/extent.h"
#include "testing/side_by_side.h"
#include "testing/slice.h"
#include "testing/sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

namespace {

using namespace test_support;

#ifdef THREAD_SANITIZER
constexpr std::size_t UsualTrials = 40; // each takes several times as long
#else
constexpr std::size_t UsualTrials = 100;
#endif

TEST(Sweep, after_a_cut_anywhere_comes_the_right_page_and_the_next_run_upgrades) {
    const std::vector<CutTrial> all = AllTrials();
    const Extent extent = WantedExtent("ROM_WIZARD_SWEEP", {.count = UsualTrials, .first = 0});
    ASSERT_LT(extent.first, all.size());
    Slice slice(extent.first, std::min(extent.count, all.size() - extent.first));
    std::printf("all trials: %zu\nto be run: %zu\n", all.size(), slice.Pending().size());
    std::fflush(stdout);
    Sweep sweep;
    SideBySide(slice.Pending().size(), [&](std::size_t at) {
        const std::size_t number = slice.Pending()[at];
        if (slice.IsOver())
            return;
        try {
            sweep.Run(all[number]);
            slice.Note(number, true);
        } catch (const std::exception& error) {
            slice.Note(number, false);
            ADD_FAILURE() << Describe(all[number]) << ": " << error.what()
                          << "this one alone: ROM_WIZARD_SWEEP=1," << number << " "
                          << std::filesystem::read_symlink("/proc/self/exe").string()
                          << " --gtest_filter='Sweep.*'";
        }
    });
    std::printf("%zu distinct trials\n", slice.Done());
}

} // namespace
