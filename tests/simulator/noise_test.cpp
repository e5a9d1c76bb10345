// Noise on the cable can be met again.

#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

using namespace test_support;

TEST(Noise, of_the_same_seed_is_the_same) {
    const TestHome home;
    Cradle cradle(home, {.run = {"--bootloader"}, .withManager = false}); // needs no preparation
    const auto noise = [&](const std::string& seed) {
        cradle.RestartHandheld({"--bootloader", "--noise", seed});
        LinkEnd end(home, "COM1");
        // More than the largest step between two bursts; byte by byte would be as good.
        for (int block = 0; block < 600; ++block)
            end.Write(ByteList(4096, 'x'));
        std::vector<std::string> lines = cradle.Handheld().Lines();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("fault"); });
        return lines;
    };
    const auto first = noise("7");
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(first, noise("7"));
    EXPECT_NE(first, noise("8"));
}
