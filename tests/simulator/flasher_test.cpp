// The simulated flasher accepts what the exchange allows and nothing else, and its flash is
// compared to the byte.

#include "testing/cradle.h"
#include "testing/little_endian.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

using namespace test_support;

namespace {

constexpr std::uint32_t PieceSize = 0x20000;
constexpr std::uint32_t HeldBack = 0x40020; // in the file
constexpr std::uint32_t Rest = 0x80020;
const ByteList Token5 = {5, 0};
const ByteList Token4 = {4, 0};

// A handheld that has just been made the flasher's.
class FlasherTest : public testing::Test {
protected:
    void Start() {
        image_ = home_.AddLanguageFolder(); // 0xC0000 bytes travel: 4 pieces and the held-back ones
        content_ = ReadFileBytes(image_);
        cradle_.emplace(home_, CradleOptions{.withManager = false});
        EnterFlasher();
    }

    void EnterFlasher() {
        RapiClient rapi(home_);
        ASSERT_EQ(rapi.Push(u"\\Temp\\Harbel_Link.exe", Agent("Harbel_Link.exe")), 0u);
        ASSERT_EQ(rapi.Push(u"\\Temp\\harbel_line.nb", Agent("harbel_line.nb")), 0u);
        ASSERT_EQ(rapi.StartProgram(u"\\Temp\\Harbel_Link.exe", u"\x01 U"), 0u);
        EXPECT_TRUE(rapi.Ended());
        EXPECT_FALSE(std::filesystem::exists(home_.Home() / "cradle.sock"));
        end_.reset();
        end_.emplace(home_, "COM1");
    }

    ByteList Agent(const std::string& name) const {
        return ReadFileBytes(home_.Tree() / "English" / name);
    }

    // Up to and with the first token 4.
    void Announce() {
        end_->Write("A");
        ASSERT_EQ(end_->Read(2), Token5);
        end_->Write(LittleEndian({static_cast<std::uint32_t>(content_.size()) - HeldBack}));
        ASSERT_EQ(end_->Read(2), Token4);
    }

    // In the order of the wire.
    void TransferAll() {
        Announce();
        for (std::uint32_t sent = 0; sent < content_.size() - HeldBack; sent += PieceSize) {
            ASSERT_TRUE(sent == 0 || end_->Read(2) == Token4) << sent;
            const std::size_t at = Rest + sent;
            const std::uint8_t* const piece =
                content_.data() + (at < content_.size() ? at : HeldBack + at - content_.size());
            end_->Write(ByteList(piece, piece + PieceSize));
        }
        cradle_->Handheld().ExpectLine("flasher: complete");
    }

    void ExpectRefusal(const std::string& text) {
        cradle_->Handheld().ExpectLine("refused: " + text);
        EXPECT_FALSE(end_->HasBytes());
        EXPECT_NE(cradle_->Refused().find(text), std::string::npos);
    }

    TestHome home_;
    std::filesystem::path image_;
    ByteList content_;
    std::optional<Cradle> cradle_;
    std::optional<LinkEnd> end_;
};

TEST_F(FlasherTest, bytes_out_of_turn_are_refused) {
    Start();
    end_->Write("B");
    ExpectRefusal("flasher: no start byte: 0x42");
    LinkEnd other(home_, "WCEUSBSH001");
    other.Write("A");
    ExpectRefusal("link: nobody listens: 0x41");
    TransferAll();
    end_->Write(ByteList{0});
    ExpectRefusal("flasher: after the last piece: 0x0");
    EXPECT_TRUE(cradle_->FlashEquals(image_));
    for (const std::size_t at : {std::size_t{HeldBack}, std::size_t{Rest}, content_.size() - 1}) {
        auto changed = content_;
        changed[at] ^= 1;
        WriteFileBytes(image_, {changed.begin(), changed.end()});
        EXPECT_FALSE(cradle_->FlashEquals(image_)) << at;
    }
}

// A wizard that finds it in normal mode begins anew, and would never notice.
TEST_F(FlasherTest, a_reset_brings_up_what_the_flash_allows) {
    Start();
    Announce();
    end_->Write(ByteList{content_[Rest]});
    cradle_->Reset();
    ASSERT_EQ(cradle_->StatusOf("mode"), "normal");
    EnterFlasher();
    Announce();
    end_->Write(ByteList(&content_[Rest], &content_[Rest] + PieceSize));
    EXPECT_EQ(end_->Read(2), Token4);
    cradle_->Reset();
    EXPECT_EQ(cradle_->StatusOf("mode"), "flasher");
    cradle_->Reset(true);
    EXPECT_EQ(cradle_->StatusOf("mode"), "bootloader, shows its picture");
}

} // namespace
