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

    void Greet() {
        end_->Write("l\r");
        end_->ReadUntil("download\r\n");
        end_->Write("B000FF\n");
        ASSERT_EQ(end_->Read(1), ByteList{1});
        end_->Write(LittleEndian({0x40000, 0xF40000}));
        ASSERT_EQ(end_->Read(1), ByteList{2});
    }

    void ExpectRefusal(const std::string& text) {
        cradle_->Handheld().ExpectLine("refused: bootloader: " + text);
        EXPECT_FALSE(end_->HasBytes());
    }

    TestHome home_;
    std::optional<Cradle> cradle_;
    std::optional<LinkEnd> end_;
};

TEST_F(BootloaderTest, what_does_not_fit_the_dialogue_is_refused) {
    Start();
    end_->Write("x\r");
    ExpectRefusal("unexpected: 0x78 0xD");

    cradle_->Reset(true);
    end_->Write("l\r");
    end_->ReadUntil("download\r\n");
    end_->Write("B000FE\n");
    ExpectRefusal("unexpected: 0x42");

    cradle_->Reset(true);
    end_->Write("l\r");
    end_->ReadUntil("download\r\n");
    end_->Write("B000FF\n");
    end_->Read(1);
    end_->Write(LittleEndian({0x40000, 0xF80000}));
    ExpectRefusal("image record 0x40000, 0xF80000");

    const ByteList records[] = {
        LittleEndian({0, BlockSize, 0}), LittleEndian({0x80000, BlockSize, 0}),
        LittleEndian({0x40000, 0x20000, 0}), LittleEndian({0x40000, BlockSize, 1})};
    for (const ByteList& record : records) {
        cradle_->Reset(true);
        Greet();
        end_->Write(record);
        ExpectRefusal("block record");
    }
}

TEST_F(BootloaderTest, bytes_at_the_usb_end_are_refused) {
    Start();
    LinkEnd usb(home_, "WCEUSBSH001");
    usb.Write("l\r");
    cradle_->Handheld().ExpectLine("refused: bootloader: bytes at the USB end: 0x6C 0xD");
    EXPECT_FALSE(usb.HasBytes());
    Greet();
}

} // namespace
