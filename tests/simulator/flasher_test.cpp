// The simulated flasher accepts what the exchange allows and nothing else, and a reset brings up
// what the flash allows.

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

    ByteList Slice(std::uint32_t offset, std::uint32_t size = PieceSize) const {
        return {content_.begin() + offset, content_.begin() + offset + size};
    }

    // The pieces in the order of the wire.
    std::vector<ByteList> Pieces() const {
        std::vector<ByteList> pieces;
        for (std::uint32_t at = Rest; at < content_.size(); at += PieceSize)
            pieces.push_back(Slice(at));
        pieces.push_back(Slice(HeldBack));
        pieces.push_back(Slice(HeldBack + PieceSize));
        return pieces;
    }

    // Up to and with the first token 4.
    void Announce() {
        end_->Write("A");
        ASSERT_EQ(end_->Read(2), Token5);
        end_->Write(LittleEndian({static_cast<std::uint32_t>(content_.size()) - HeldBack}));
        ASSERT_EQ(end_->Read(2), Token4);
    }

    void SendPieces(const std::vector<ByteList>& pieces) {
        for (std::size_t sent = 0; sent < pieces.size(); ++sent) {
            end_->Write(pieces[sent]);
            if (sent + 1 < Pieces().size()) {
                ASSERT_EQ(end_->Read(2), Token4) << "after piece " << sent + 1;
            }
        }
    }

    void TransferAll() {
        Announce();
        SendPieces(Pieces());
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

TEST_F(FlasherTest, pieces_in_the_order_of_the_file_do_not_give_the_image) {
    Start();
    Announce();
    std::vector<ByteList> pieces;
    for (std::uint32_t at = HeldBack; at < content_.size(); at += PieceSize)
        pieces.push_back(Slice(at));
    SendPieces(pieces);
    cradle_->Handheld().ExpectLine("flasher: complete");
    EXPECT_FALSE(cradle_->FlashEquals(image_));
}

TEST_F(FlasherTest, a_wrong_start_byte_is_refused_and_the_right_one_still_taken) {
    Start();
    end_->Write("B");
    ExpectRefusal("flasher: no start byte: 0x42");
    end_->Write("A");
    EXPECT_EQ(end_->Read(2), Token5);
}

TEST_F(FlasherTest, only_a_size_that_fits_is_answered) {
    Start(); // 2 MB, of which the bootloader keeps 0x40000
    for (const std::uint32_t size : {0u, 0x20000u, 0x3FFFFu, 0x40000u, 0x40001u, 0x50000u, 0xC000u,
                                     0x1C0000u, 0x1E0000u, 0xFFFE0000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        end_->Write("A");
        ASSERT_EQ(end_->Read(2), Token5);
        end_->Write(LittleEndian({size}));
        if (size == 0x40000 || size == 0x1C0000)
            EXPECT_EQ(end_->Read(2), Token4);
        else
            ExpectRefusal("flasher: size");
        cradle_->Reset();
        ASSERT_EQ(cradle_->StatusOf("mode"), "normal");
        EnterFlasher();
    }
}

TEST_F(FlasherTest, a_byte_after_the_last_piece_is_refused) {
    Start();
    TransferAll();
    end_->Write(ByteList{0});
    ExpectRefusal("flasher: after the last piece: 0x0");
    EXPECT_TRUE(cradle_->FlashEquals(image_));
}

TEST_F(FlasherTest, bytes_at_the_end_that_was_not_chosen_are_refused) {
    Start();
    LinkEnd other(home_, "WCEUSBSH001");
    other.Write("A");
    ExpectRefusal("link: nobody listens: 0x41");
    TransferAll();
}

TEST_F(FlasherTest, a_reset_brings_up_what_the_flash_allows) {
    struct Case {
        std::size_t pieces;
        bool oneByteMore;
        bool navigatorKey;
        const char* mode;
    };
    constexpr Case Cases[] = {
        {0, true, false, "normal"},
        {1, false, false, "flasher"},
        {4, false, false, "flasher"},
        {4, false, true, "bootloader, shows its picture"},
        {4, true, false, "bootloader, shows its picture"},
        {5, false, false, "bootloader, shows its picture"},
        {6, false, false, "normal"},
    };
    for (const Case& one : Cases) {
        SCOPED_TRACE(std::to_string(one.pieces) + one.mode);
        cradle_.reset();
        std::filesystem::remove_all(home_.Device());
        Start();
        Announce();
        auto pieces = Pieces();
        const std::uint8_t next = one.pieces < pieces.size() ? pieces[one.pieces][0] : 0;
        pieces.resize(one.pieces);
        SendPieces(pieces);
        if (one.oneByteMore)
            end_->Write(ByteList{next});
        if (one.oneByteMore && one.pieces == 4)
            cradle_->Handheld().ExpectLine("the held-back block begins");
        if (one.pieces == 6)
            cradle_->Handheld().ExpectLine("flasher: complete");
        cradle_->Reset(one.navigatorKey);
        EXPECT_EQ(cradle_->StatusOf("mode"), one.mode);
    }
}

} // namespace
