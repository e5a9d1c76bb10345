// Writing an image file: the header to the byte, and no file that verifies before it is whole.

#include "images/image_writer.h"

#include "images/checksum.h"
#include "images/header.h"
#include "testing/image_file.h"
#include "testing/wizard_fixture.h"

#include <vector>

namespace {

using namespace test_support;

using Piece = std::vector<std::uint8_t>;

constexpr ImageIdentity Identity = {"AAAAAAAAA", "ENG", "1.14"};

class ImageWriterTest : public WizardTest {
protected:
    bool Create(ImageWriter& writer) const { return writer.Create(WindowsPathOf(path_).c_str()); }
    std::string Written() const { return ReadBytes(path_); }

    // The file of these pieces, the wizard's own reader having passed it.
    std::string FileOf(const std::vector<Piece>& pieces, const ImageIdentity& identity) const {
        ImageWriter writer;
        bool good = Create(writer);
        for (const Piece& piece : pieces)
            good = good && writer.Append(piece, piece.size());
        EXPECT_TRUE(good && writer.Finish(identity));
        EXPECT_TRUE(Verifies());
        return Written();
    }

    // As the wizard judges it.
    bool Verifies() const {
        const std::string path = WindowsPathOf(path_);
        if (!LoadImageHeader(path.c_str(), &State.Image))
            return false;
        const auto sum = SumImage(OpenForReading(path.c_str()).Get());
        return sum && ParseChecksumText(State.Image.ImageChecksumText) == sum;
    }

    const std::filesystem::path path_ = Folder() / "backup.nbf";
};

TEST_F(ImageWriterTest, the_header_has_32_bytes_whatever_the_sum) {
    EXPECT_EQ("AAAAAAAAA-ENG-1.14-567----------abc", FileOf({{'a'}, {'b', 'c'}}, Identity));
    // The header's 18 bytes add up to 1089.
    const std::pair<unsigned, const char*> sums[] = {{0, "0------------"},
                                                     {0xABC, "abc----------"},
                                                     {0xFFFF, "ffff---------"},
                                                     {1, "1------------"}};
    for (const auto& [sum, text] : sums) {
        const unsigned missing = (sum + 0x10000 - 1089) & 0xFFFF;
        Piece piece(missing / 0xFF, 0xFF);
        piece.push_back(static_cast<std::uint8_t>(missing % 0xFF));
        EXPECT_EQ(std::string("AAAAAAAAA-ENG-1.14-") + text,
                  FileOf({piece}, Identity).substr(0, 32));
    }
}

TEST_F(ImageWriterTest, texts_of_another_length_move_nothing) {
    EXPECT_EQ(HeaderFor("TOLK------JP--1---", "\1"),
              FileOf({{1}}, {"TOLK", "JP", "1"}).substr(0, 32));
    EXPECT_EQ(HeaderFor("TOLKP1000-ENG-1.14", "\1"),
              FileOf({{1}}, {"TOLKP1000X", "ENGLISH", "1.14.00"}).substr(0, 32));
}

// A block of one value adds up to nothing, so a sum alone would not notice that it is missing.
TEST_F(ImageWriterTest, a_piece_that_came_short_makes_a_file_of_full_length_that_does_not_verify) {
    constexpr std::size_t Size = 0x40000;
    for (const int fill : {0x00, 0xFF, 0x5A}) {
        for (const std::size_t received : {std::size_t{0}, Size / 2, Size - 1}) {
            ImageWriter writer;
            const Piece piece(Size, static_cast<std::uint8_t>(fill));
            ASSERT_TRUE(Create(writer) && writer.Append(piece, Size) &&
                        writer.Append(piece, received) && writer.Finish(Identity));
            EXPECT_FALSE(Verifies()) << fill << ", received " << received;
            EXPECT_FALSE(IsWholeImage(Written()));
            EXPECT_EQ(32 + 2 * Size, Written().size());
        }
    }
}

} // namespace
