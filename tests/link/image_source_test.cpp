// The image as a transfer reads it: what may be sent of a file that is odd, or that changes.

#include "link/image_source.h"

#include "link/transfer_buffers.h"
#include "link/wire.h"
#include "testing/wizard_fixture.h"

#include <vector>

namespace {

class ImageSource : public WizardTest {
protected:
    void SetUp() override {
        WizardTest::SetUp();
        path_ = Folder() / "image.nbf";
        SetText(State.Paths.ImagePath, WindowsPathOf(path_));
    }
    void TearDown() override { AbandonTransfer(); }

    // Sparse, so that gigabytes are cheap.
    std::uint32_t Open(std::uintmax_t size) {
        AbandonTransfer(); // closes the one before
        WriteFileBytes(path_, "x");
        std::filesystem::resize_file(path_, size);
        return OpenTransferImage(MinImageFileSize);
    }
    bool Read(std::uint32_t size) {
        piece_.assign(size, 'p');
        return ReadPiece({piece_.data(), size});
    }

    std::filesystem::path path_;
    std::vector<std::uint8_t> piece_;
};

TEST_F(ImageSource, opens_a_file_from_the_smallest_to_the_largest_size_that_can_be_announced) {
    EXPECT_EQ(0U, Open(0x8001F));
    EXPECT_EQ(0x80020U, Open(0x80020));
    EXPECT_EQ(0xFFFFFFFEU, Open(0xFFFFFFFE));
    EXPECT_EQ(0U, Open(0xFFFFFFFF)); // the value of a failure
    EXPECT_EQ(0U, Open(0x100080020));
    std::filesystem::remove(path_);
    EXPECT_EQ(0U, OpenTransferImage(MinImageFileSize));
}

TEST_F(ImageSource, keeps_writers_away_while_it_is_sent) {
    Open(0x80020);
    EXPECT_EQ(INVALID_HANDLE_VALUE,
              CreateFileA(State.Paths.ImagePath, GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

TEST_F(ImageSource, is_filled_up_behind_the_end_of_the_file_and_nowhere_else) {
    Open(0x80021);
    EXPECT_TRUE(Read(0x80020));
    EXPECT_EQ(0, piece_.back());
    EXPECT_TRUE(Read(4));
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0xFF, 0xFF, 0xFF}), piece_);
    EXPECT_TRUE(Read(2));
    EXPECT_EQ((std::vector<std::uint8_t>{0xFF, 0xFF}), piece_);

    Open(0x80020);
    EXPECT_TRUE(Read(0x40000));
    std::filesystem::resize_file(path_, 0x60000); // by a host program, which ignores locks
    EXPECT_FALSE(Read(0x40000));
}

} // namespace
