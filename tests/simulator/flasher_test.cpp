// The simulated flasher accepts what the exchange allows and nothing else, and a reset brings up
// what the flash allows.

#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <utility>

using namespace test_support;

namespace {

constexpr std::uint32_t PieceSize = 0x20000;
constexpr std::uint32_t Header = 32;
constexpr std::uint32_t HeldBack = 0x40020; // in the file
constexpr std::uint32_t Rest = 0x80020;
const ByteList Token5 = {5, 0};
const ByteList Token4 = {4, 0};

struct Link {
    const char* port;
    const char16_t* flasher;
    const char16_t* commandLine;
};
constexpr Link Serial = {"COM1", u"\\Temp\\harbel_line.nb", u"\x01 U"};
constexpr Link Usb = {"WCEUSBSH001", u"\\Temp\\harbel_bus.nb", u"\x02 U"};

// A handheld that has just been made the flasher's.
class FlasherTest : public testing::Test {
protected:
    void Start(const CradleOptions& options = {}, const Link& link = Serial) {
        image_ = home_.AddLanguageFolder(); // 0xC0000 bytes travel: 4 pieces and the held-back ones
        content_ = ReadFileBytes(image_);
        CradleOptions alone = options;
        alone.withManager = false;
        cradle_.emplace(home_, alone);
        EnterFlasher(link);
    }

    void EnterFlasher(const Link& link) {
        RapiClient rapi(home_);
        const std::u16string_view name = link.flasher;
        const std::string bare(name.begin() + 6, name.end());
        ASSERT_EQ(rapi.Push(u"\\Temp\\Harbel_Link.exe", Agent("Harbel_Link.exe")), 0u);
        ASSERT_EQ(rapi.Push(name, Agent(bare)), 0u);
        ASSERT_EQ(rapi.StartProgram(u"\\Temp\\Harbel_Link.exe", link.commandLine), 0u);
        EXPECT_TRUE(rapi.Ended());
        EXPECT_FALSE(std::filesystem::exists(home_.Home() / "cradle.sock"));
        end_.reset();
        end_.emplace(home_, link.port);
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

    static ByteList SizeField(std::uint32_t size) {
        return {static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(size >> 8),
                static_cast<std::uint8_t>(size >> 16), static_cast<std::uint8_t>(size >> 24)};
    }

    // Up to and with the first token 4.
    void Announce() {
        end_->Write("A");
        ASSERT_EQ(end_->Read(2), Token5);
        end_->Write(SizeField(static_cast<std::uint32_t>(content_.size()) - HeldBack));
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

TEST_F(FlasherTest, a_whole_transfer_and_a_reset_make_it_the_new_version) {
    for (const Link& link : {Serial, Usb}) {
        SCOPED_TRACE(link.port);
        cradle_.reset();
        std::filesystem::remove_all(home_.Device());
        const auto log = home_.Path("log");
        Start({.run = {"--log", log.string()}}, link);
        const ByteList before = ReadFileBytes(home_.Device() / "flash.bin");
        TransferAll();
        EXPECT_FALSE(end_->HasBytes());

        ByteList sent = {'A', 0x00, 0x00, 0x0C, 0x00};
        for (const ByteList& piece : Pieces())
            sent.insert(sent.end(), piece.begin(), piece.end());
        EXPECT_TRUE(ReadFileBytes(log) == sent);

        const ByteList after = ReadFileBytes(home_.Device() / "flash.bin");
        const auto payloadEnd = static_cast<std::ptrdiff_t>(content_.size() - Header);
        EXPECT_TRUE(std::equal(after.begin(), after.begin() + 0x40000, before.begin()));
        EXPECT_TRUE(std::equal(after.begin() + 0x40000, after.begin() + payloadEnd,
                               content_.begin() + HeldBack));
        EXPECT_TRUE(
            std::equal(after.begin() + payloadEnd, after.end(), before.begin() + payloadEnd));
        EXPECT_TRUE(cradle_->FlashEquals(image_));

        EXPECT_EQ(cradle_->StatusOf("mode"), "flasher");
        cradle_->Reset();
        EXPECT_EQ(cradle_->StatusOf("version"), "2.00.00");
        EXPECT_EQ(cradle_->StatusOf("mode"), "normal");
        EXPECT_EQ(cradle_->Refused(), "");
        RapiClient rapi(home_);
        EXPECT_EQ(rapi.Call(rapi_wire::Operation::Hello).result, 1u);
    }
}

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
    for (const std::uint32_t size : {0u, 0x20000u, 0x3FFFFu, 0x40001u, 0x50000u, 0x1E0000u,
                                     0x0000C000u, 0xFFFE0000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(size);
        end_->Write("A");
        ASSERT_EQ(end_->Read(2), Token5);
        end_->Write(SizeField(size));
        ExpectRefusal("flasher: size");
        cradle_->Reset();
        ASSERT_EQ(cradle_->StatusOf("mode"), "normal");
        EnterFlasher(Serial);
    }
    for (const std::uint32_t size : {0x40000u, 0x1C0000u}) {
        SCOPED_TRACE(size);
        end_->Write("A");
        ASSERT_EQ(end_->Read(2), Token5);
        end_->Write(SizeField(size));
        EXPECT_EQ(end_->Read(2), Token4);
        cradle_->Reset();
        EnterFlasher(Serial);
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

TEST_F(FlasherTest, a_transfer_that_was_killed_is_taken_up_by_the_flasher_at_either_end) {
    Start();
    Announce();
    auto pieces = Pieces();
    pieces.resize(2);
    SendPieces(pieces);
    end_->Write(Slice(Rest, 5000));
    cradle_->Handheld().Signal(SIGKILL);
    cradle_->RestartHandheld();
    EXPECT_EQ(cradle_->StatusOf("mode"), "flasher");
    // A new transfer that breaks off at once does not make the flash whole again.
    end_.emplace(home_, "COM1");
    Announce();
    cradle_->Reset();
    EXPECT_EQ(cradle_->StatusOf("mode"), "flasher");
    end_.emplace(home_, "WCEUSBSH001");
    TransferAll();
    EXPECT_TRUE(cradle_->FlashEquals(image_));
    cradle_->Reset();
    EXPECT_EQ(cradle_->StatusOf("version"), "2.00.00");
}

TEST_F(FlasherTest, a_token_is_sent_with_the_fault_of_its_step) {
    const std::pair<const char*, ByteList> cases[] = {
        {"--stray-at", {0x7E, 4, 0}}, {"--burst-at", {4, 0, 4, 0}}, {"--split-at", {4, 0}}};
    for (const auto& [fault, bytes] : cases) {
        SCOPED_TRACE(fault);
        cradle_.reset();
        std::filesystem::remove_all(home_.Device());
        Start({.run = {fault, "1"}});
        Announce();
        end_->Write(Pieces()[0]);
        EXPECT_EQ(end_->Read(bytes.size()), bytes);
        end_->Write(Pieces()[1]);
        EXPECT_EQ(end_->Read(2), Token4);
    }
}

TEST_F(FlasherTest, silence_begins_at_its_step_and_ends_with_a_reset) {
    Start({.run = {"--silent-at", "2"}});
    Announce();
    end_->Write(Pieces()[0]);
    EXPECT_EQ(end_->Read(2), Token4);
    end_->Write(Pieces()[1]);
    cradle_->Handheld().ExpectLine("fault: silent at 2");
    EXPECT_FALSE(end_->HasBytes());
    cradle_->Reset();
    TransferAll();
}

TEST_F(FlasherTest, a_deaf_handheld_reads_nothing_and_then_all_that_has_come) {
    Start({.run = {"--deaf-at", "1", "--deaf-for", "4000"}});
    Announce();
    end_->Write(Pieces()[0]);
    EXPECT_EQ(end_->Read(2), Token4);
    end_->Write(Pieces()[1]);
    cradle_->Handheld().ExpectLine("fault: deaf no more");
    cradle_->Handheld().ExpectLine("flasher: piece 2 of 6");
    EXPECT_EQ(end_->Read(2), Token4);
}

TEST_F(FlasherTest, a_dead_handheld_has_read_exactly_the_bytes_before_its_death) {
    const auto log = home_.Path("log");
    Start({.run = {"--dies-at", "1000", "--log", log.string()}});
    Announce();
    end_->Write(Slice(Rest, 3000));
    cradle_->Handheld().ExpectLine("fault: dead after 1000 bytes");
    EXPECT_EQ(ReadFileBytes(log).size(), 1000u);
    cradle_->Reset();
    EXPECT_EQ(cradle_->StatusOf("mode"), "normal");
    EnterFlasher(Serial);
    TransferAll();
}

TEST_F(FlasherTest, a_paced_wire_is_never_faster_than_its_baud_rate) {
    constexpr long long Baud = 4000000;
    const auto times = home_.Path("times");
    Start({.run = {"--baud", std::to_string(Baud), "--times", times.string()}});
    TransferAll();
    std::ifstream lines(times);
    int pieces = 0;
    long long sent = 0;
    for (std::string kind, step; lines >> kind;) {
        long long first = 0, last = 0;
        if (kind == "token") {
            lines >> step >> sent;
            continue;
        }
        if (kind == "piece")
            lines >> step;
        lines >> first >> last;
        EXPECT_GE(first, sent) << kind << step;
        const long long bytes = kind == "piece" ? PieceSize : 4;
        EXPECT_GE(last - first, bytes * 10 * 1000000000 / Baud - 1000) << kind << step;
        pieces += kind == "piece";
    }
    EXPECT_EQ(pieces, 6);
}

} // namespace
