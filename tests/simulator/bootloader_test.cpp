// The simulated bootloader keeps to its dialogue and refuses every other one.

#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

using namespace test_support;

namespace {

constexpr std::uint32_t BlockSize = 0x40000;

class BootloaderTest : public testing::Test {
protected:
    void Start(const std::vector<std::string>& options = {}) {
        std::vector<std::string> run = options;
        run.push_back("--bootloader");
        cradle_.emplace(home_, CradleOptions{.run = run, .withManager = false});
        end_.emplace(home_, "COM1");
        ASSERT_EQ(cradle_->StatusOf("mode"), "bootloader, shows its picture");
    }

    static ByteList Numbers(std::initializer_list<std::uint32_t> numbers) {
        ByteList bytes;
        for (const std::uint32_t number : numbers) {
            for (int shift = 0; shift < 32; shift += 8)
                bytes.push_back(static_cast<std::uint8_t>(number >> shift));
        }
        return bytes;
    }

    void Greet() {
        end_->Write("l\r");
        end_->ReadUntil("download\r\n");
        end_->Write("B000FF\n");
        ASSERT_EQ(end_->Read(1), ByteList{1});
        end_->Write(Numbers({0x40000, 0xF40000}));
        ASSERT_EQ(end_->Read(1), ByteList{2});
    }

    void SendBlock(std::uint32_t offset, const ByteList& block) {
        end_->Write(Numbers({offset, BlockSize, 0}));
        end_->Write(block);
    }

    void ExpectRefusal(const std::string& text) {
        cradle_->Handheld().ExpectLine("refused: bootloader: " + text);
        EXPECT_FALSE(end_->HasBytes());
    }

    TestHome home_;
    std::optional<Cradle> cradle_;
    std::optional<LinkEnd> end_;
};

TEST_F(BootloaderTest, a_whole_image_in_file_order_makes_it_the_new_version) {
    const auto image = home_.AddLanguageFolder({.size = 0x200020}); // as large as the flash
    const ByteList content = ReadFileBytes(image);
    Start();
    Greet();
    for (std::uint32_t offset = 0x40000; offset < 0x200000; offset += BlockSize) {
        const auto begin = content.begin() + offset + 32;
        SendBlock(offset, {begin, begin + BlockSize});
        ASSERT_EQ(end_->Read(1), ByteList{2}) << offset; // also behind the last one
    }
    SendBlock(0x200000, ByteList(BlockSize, 0xFF));
    cradle_->Handheld().ExpectLine("bootloader: closing block at 0x200000");
    EXPECT_FALSE(end_->HasBytes());
    EXPECT_TRUE(cradle_->FlashEquals(image));
    EXPECT_EQ(cradle_->Refused(), "");
    cradle_->Reset();
    EXPECT_EQ(cradle_->StatusOf("version"), "2.00.00");
    EXPECT_EQ(cradle_->StatusOf("mode"), "normal");
}

TEST_F(BootloaderTest, a_dialogue_that_breaks_off_leaves_the_bootloader_until_it_is_done) {
    Start();
    Greet();
    SendBlock(0x40000, ByteList(BlockSize, 7));
    ASSERT_EQ(end_->Read(1), ByteList{2});
    cradle_->Reset();
    EXPECT_EQ(cradle_->StatusOf("mode"), "bootloader, shows its picture");
    Greet(); // from the beginning
}

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
    end_->Write(Numbers({0x40000, 0xF80000}));
    ExpectRefusal("image record 0x40000, 0xF80000");

    const ByteList records[] = {Numbers({0, BlockSize, 0}), Numbers({0x80000, BlockSize, 0}),
                                Numbers({0x40000, 0x20000, 0}), Numbers({0x40000, BlockSize, 1})};
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
