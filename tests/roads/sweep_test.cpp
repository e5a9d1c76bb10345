// Upgrades that are cut off anywhere, once or twice, and finished by running the wizard again as
// its pages say. After each cut the page and the record are checked, and after the last run the
// flash.
//
// ROM_WIZARD_SWEEP=COUNT,FIRST chooses so many trials from that number on. All of them, in slices
// of an hour: scripts/sweep
// label: sweeps

#include "testing/extent.h"
#include "testing/side_by_side.h"
#include "testing/sweep.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

using namespace test_support;

#ifdef THREAD_SANITIZER
constexpr std::size_t UsualTrials = 40; // each takes several times as long
#else
constexpr std::size_t UsualTrials = 100;
#endif

// A file of numbers in place of COUNT,FIRST. When it is removed, no more of them are begun.
const char* const ListFile = std::getenv("ROM_WIZARD_SWEEP_LIST");

std::vector<std::size_t> WantedTrials(std::size_t all) {
    std::vector<std::size_t> numbers;
    if (ListFile) {
        std::ifstream list(ListFile);
        for (std::size_t number = 0; list >> number && number < all;)
            numbers.push_back(number);
        return numbers;
    }
    const Extent extent = WantedExtent("ROM_WIZARD_SWEEP", {.count = UsualTrials, .first = 0});
    for (std::size_t number = extent.first; number < all && numbers.size() < extent.count; ++number)
        numbers.push_back(number);
    return numbers;
}

TEST(Sweep, after_a_cut_anywhere_comes_the_right_page_and_the_next_run_upgrades) {
    const std::vector<CutTrial> all = AllTrials();
    const std::vector<std::size_t> wanted = WantedTrials(all.size());
    ASSERT_FALSE(wanted.empty());
    std::printf("%zu of %zu trials\n", wanted.size(), all.size());
    Sweep sweep;
    SideBySide(wanted.size(), [&](std::size_t at) {
        if (ListFile && !std::filesystem::exists(ListFile))
            return;
        const char* verdict = "passed";
        try {
            sweep.Run(all[wanted[at]]);
        } catch (const std::exception& error) {
            verdict = "failed";
            ADD_FAILURE() << Describe(all[wanted[at]]) << ": " << error.what()
                          << "again, alone: scripts/sweep --trial " << wanted[at];
        }
        std::printf("\n%s %zu\n", verdict, wanted[at]); // on a line of its own
        std::fflush(stdout);
    });
}

} // namespace
