// Random bytes from the device at random moments: no crash, an end within the timers, and no
// success unless the device has received every piece. Then the wizard runs again, without the
// noise.
//
// By hand, with more seeds: ROM_WIZARD_NOISE=COUNT,FIRST build/release/tests/roads_sweeps_test
// label: sweeps

#include "testing/extent.h"
#include "testing/side_by_side.h"
#include "testing/trial.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

using namespace test_support;
using namespace test_support::pages;

#ifdef THREAD_SANITIZER
constexpr std::size_t UsualSeeds = 20; // each takes several times as long
#else
constexpr std::size_t UsualSeeds = 100;
#endif

TEST(Noise, never_passes_for_success_and_the_next_run_upgrades) {
    const Extent extent = WantedExtent("ROM_WIZARD_NOISE", {.count = UsualSeeds, .first = 1});
    const PreparedHomes homes;
    std::atomic<unsigned> successes = 0;
    const auto failures = SideBySide(extent.count, [&](std::size_t at) {
        const std::uint64_t seed = extent.first + at;
        // Resumed transfers mostly: the pages ahead of them hear nothing of the link.
        const auto start = static_cast<Start>(seed % 8 == 0 ? 0 : 1 + seed % 2);
        const auto link = static_cast<Link>(seed / 2 % 2);
        Trial trial(homes, homes.FolderOf(start, link), link);
        try {
            const int page = trial.Run({.faults = {"--noise", std::to_string(seed)}});
            successes += page == UpgradeDonePage;
            trial.Recover(page, 1);
        } catch (const std::exception& error) {
            throw std::runtime_error("seed " + std::to_string(seed) + ", " + NameOf(start) +
                                     " over " + NameOf(link) + ": " + error.what() + "\n" +
                                     trial.Transcript());
        }
    });
    for (const std::string& failure : failures)
        ADD_FAILURE() << failure;
    std::printf("%zu seeds from %llu, %u transfers succeeded in the noise, %zu failures\n",
                extent.count, static_cast<unsigned long long>(extent.first), successes.load(),
                failures.size());
}

} // namespace
