// The check of whole images, during which the handheld reports its flash size.

#include "pages/image_steps.h"

#include "images/header.h"
#include "testing/wizard_fixture.h"

namespace {

class VerifyImageTest : public HandheldTest {
protected:
    void Connect(const test_support::CradleOptions& options = {}) {
        HandheldTest::Connect(options);
        WriteFileBytes(Folder() / "module.dat", "none.dll\r\n$");
        path_ = Home().MakeImage({.size = 0x80020 + 4099});
        SetText(State.Paths.ImagePath, WindowsPathOf(path_));
    }

    std::string Image() { return ReadBytes(path_); }

    Verification VerdictOn(const std::string& image) {
        WriteFileBytes(path_, image);
        EXPECT_TRUE(ReadImageHeader(State.Paths.ImagePath));
        return VerifyImage(nullptr);
    }

    std::filesystem::path path_;
};

TEST_F(VerifyImageTest, passes_a_good_image_and_learns_the_flash_size) {
    Connect({.flashMegabytes = 3});
    State.Handheld.FlashSizeMB = 0;
    EXPECT_EQ(Verification::Passed, VerdictOn(Image()));
    EXPECT_EQ(3, State.Handheld.FlashSizeMB);
    EXPECT_FALSE(IsOnDevice("Temp/type.dat")); // or the next check would read the old answer
    EXPECT_TRUE(IsOnDevice("Temp/Tesselor.exe"));
    EXPECT_EQ(Verification::Passed, VerdictOn(Image()));
}

TEST_F(VerifyImageTest, covers_every_byte_but_those_from_18_to_31) {
    Connect();
    const std::string image = Image();
    for (const std::size_t offset : {0UL, 17UL, 32UL, 0x40020UL, 0x60000UL, image.size() - 1}) {
        std::string damaged = image;
        damaged[offset] = static_cast<char>(damaged[offset] ^ 1);
        EXPECT_EQ(Verification::Mismatch, VerdictOn(damaged)) << offset;
    }
    std::string decorated = image;
    decorated[18] = 'x';
    decorated[25] = 'y';
    decorated[31] = 'z';
    EXPECT_EQ(Verification::Passed, VerdictOn(decorated));
}

TEST_F(VerifyImageTest, passes_no_image_whose_checksum_is_no_number) {
    Connect();
    EXPECT_EQ(Verification::Passed, VerdictOn("AAAAAAAAA-ENG-1.14-567----------abc"));
    EXPECT_EQ(Verification::Mismatch, VerdictOn("AAAAAAAAA-ENG-1.14-g567---------abc"));
}

TEST_F(VerifyImageTest, ends_the_run_when_the_probe_does_not_start_or_never_answers) {
    for (const std::vector<std::string>& fault :
         {std::vector<std::string>{"--refuse-program", "Tesselor.exe"}, {"--no-type-file"}}) {
        Connect({.run = fault});
        EXPECT_EQ(Verification::Ended, VerdictOn(Image()));
    }
}

TEST_F(VerifyImageTest, ends_the_run_when_the_image_or_the_module_list_cannot_be_opened) {
    Connect();
    std::filesystem::remove(Folder() / "module.dat");
    EXPECT_EQ(Verification::Ended, VerdictOn(Image()));
    std::filesystem::remove(path_);
    EXPECT_EQ(Verification::Ended, VerifyImage(nullptr));
    EXPECT_FALSE(IsOnDevice("Temp/Tesselor.exe"));
}

} // namespace
