// The simulated bootloader keeps to its dialogue and refuses every other one.

#include "testing/cradle.h"
#include "testing/little_endian.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

using namespace test_support;

namespace {

constexpr std::uint32_t BlockSize = 0x40000;

class BootloaderTest : public testing::Test {
protected:
    void Start() {
        cradle_.emplace(home_, CradleOptions{.run = {"--bootloader"}, .withManager = false});
        end_.emplace(home_, "COM1");
        ASSERT_EQ(cradle_->StatusOf("mode"), "bootloader, shows its picture");
    }

    // The first steps of the dialogue.
    void Greet(int steps = 3) {
        if (steps > 0) {
            end_->Write("l\r");
            end_->ReadUntil("download\r\n");
        }
        if (steps > 1) {
            end_->Write("B000FF\n");
            ASSERT_EQ(end_->Read(1), ByteList{1});
        }
        if (steps > 2) {
            end_->Write(LittleEndian({0x40000, 0xF40000}));
            ASSERT_EQ(end_->Read(1), ByteList{2});
        }
    }

    TestHome home_;
    std::optional<Cradle> cradle_;
    std::optional<LinkEnd> end_;
};

TEST_F(BootloaderTest, what_does_not_fit_the_dialogue_is_refused) {
    const struct {
        int steps; // before it
        ByteList bytes;
        const char* refusal;
    } rows[] = {
        {0, {'x', '\r'}, "unexpected: 0x78 0xD"},
        {1, {'B', '0', '0', '0', 'F', 'E', '\n'}, "unexpected: 0x42"},
        {2, LittleEndian({0x40000, 0xF80000}), "image record 0x40000, 0xF80000"},
        {3, LittleEndian({0, BlockSize, 0}), "block record"},
        {3, LittleEndian({0x80000, BlockSize, 0}), "block record"},
        {3, LittleEndian({0x40000, 0x20000, 0}), "block record"},
        {3, LittleEndian({0x40000, BlockSize, 1}), "block record"},
    };
    Start();
    for (const auto& [steps, bytes, refusal] : rows) {
        Greet(steps);
        end_->Write(bytes);
        cradle_->Handheld().ExpectLine(std::string("refused: bootloader: ") + refusal);
        EXPECT_FALSE(end_->HasBytes());
        cradle_->Reset(true);
    }
    LinkEnd usb(home_, "WCEUSBSH001");
    usb.Write("l\r");
    cradle_->Handheld().ExpectLine("refused: bootloader: bytes at the USB end: 0x6C 0xD");
    EXPECT_FALSE(usb.HasBytes());
    Greet();
}

// Noise on the cable can be met again.
TEST_F(BootloaderTest, noise_of_the_same_seed_is_the_same) {
    Start();
    const auto noise = [&](const std::string& seed) {
        cradle_->RestartHandheld({"--bootloader", "--noise", seed});
        LinkEnd end(home_, "COM1");
        // More than the largest step between two bursts; byte by byte would be as good.
        for (int block = 0; block < 600; ++block)
            end.Write(ByteList(4096, 'x'));
        std::vector<std::string> lines = cradle_->Handheld().Lines();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("fault"); });
        return lines;
    };
    const auto first = noise("7");
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(first, noise("7"));
    EXPECT_NE(first, noise("8"));
}

} // namespace
