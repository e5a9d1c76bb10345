// Writing an image file: the header to the byte, and no file that verifies before it is whole.

#include "images/image_writer.h"

#include "images/checksum.h"
#include "images/header.h"
#include "testing/image_file.h"
#include "testing/killed_child.h"
#include "testing/wizard_fixture.h"

#include <cerrno>
#include <csignal>
#include <vector>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int goodFlushes = -1; // until one fails; below 0: none fails

} // namespace

// Replaces the C library's: a disk whose cache cannot be written out.
extern "C" int fsync(int file) {
    if (goodFlushes == 0) {
        errno = EIO;
        return -1;
    }
    if (goodFlushes > 0)
        --goodFlushes;
    return static_cast<int>(syscall(SYS_fsync, file));
}

namespace {

using namespace test_support;

using Piece = std::vector<std::uint8_t>;

constexpr ImageIdentity Identity = {"AAAAAAAAA", "ENG", "1.14"};
constexpr char Old[] = "what somebody had there";

class ImageWriterTest : public WizardTest {
protected:
    void SetUp() override {
        WizardTest::SetUp();
        goodFlushes = -1;
        WriteFileBytes(path_, Old);
    }
    void TearDown() override { goodFlushes = -1; }

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

TEST_F(ImageWriterTest, killed_anywhere_it_leaves_the_old_file_or_one_that_does_not_verify) {
    const Piece piece(5000, 7);
    const std::string whole = FileOf({piece, piece}, Identity);
    ChildEnd end = ChildEnd::Killed;
    int old = 0, broken = 0, complete = 0;
    for (int stop = 0; end == ChildEnd::Killed; ++stop) {
        WriteFileBytes(path_, Old);
        end = RunKilledAtStop(stop, [&] {
            ImageWriter writer;
            return Create(writer) && writer.Append(piece, piece.size()) &&
                   writer.Append(piece, piece.size()) && writer.Finish(Identity);
        });
        if (end == ChildEnd::NotTraceable)
            GTEST_SKIP() << "this host does not let a process trace its child";
        ASSERT_NE(ChildEnd::Failed, end);
        const std::string found = Written();
        ASSERT_EQ(found == whole, Verifies()) << "killed at stop " << stop;
        ++(found == Old ? old : found == whole ? complete : broken);
    }
    EXPECT_GT(old, 0);
    EXPECT_GT(broken, 10);
    EXPECT_GT(complete, 1);
}

TEST_F(ImageWriterTest, a_flush_that_fails_is_a_failure_and_leaves_no_header) {
    for (const int good : {0, 1}) { // of the body, of the header
        ImageWriter writer;
        ASSERT_TRUE(Create(writer) && writer.Append(Piece{1, 2, 3}, 3));
        goodFlushes = good;
        EXPECT_FALSE(writer.Finish(Identity));
        EXPECT_FALSE(Verifies()) << good;
        EXPECT_EQ(std::string(32, '\0') + "\1\2\3", Written());
    }
}

TEST_F(ImageWriterTest, a_full_disk_is_a_failure_and_a_file_in_use_stays_as_it_is) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{100000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    ImageWriter writer;
    const Piece piece(0x10000, 1);
    EXPECT_TRUE(Create(writer) && writer.Append(piece, piece.size()));
    EXPECT_FALSE(writer.Append(piece, piece.size()));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(100000U, Written().size());
    ImageWriter second;
    EXPECT_FALSE(Create(second));
    EXPECT_EQ(100000U, Written().size());
}

} // namespace
