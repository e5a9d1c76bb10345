// How the wizard asks a handheld what it is. What it makes of the files' content is for
// tests/fuzz/asset_data.cpp.

#include "device/identity.h"

#include "testing/wizard_fixture.h"

namespace {

class Identity : public HandheldTest {
protected:
    // As a run before this one has left them.
    void SetUp() override {
        HandheldTest::SetUp();
        SetText(State.Handheld.DeviceModel, "OLDMODEL");
        SetText(State.Handheld.DeviceVersionText, "9.99");
        SetText(State.Handheld.DeviceLanguage, "OLD");
        State.Handheld.FlashSizeMB = 99;
    }
};

TEST_F(Identity, is_unknown_when_the_program_does_not_start_or_the_handheld_has_gone) {
    Connect({.run = {"--refuse-program", "Morvikor.exe"}});
    EXPECT_FALSE(ReadAssetData());
    Connect({.run = {"--drop-rapi-at", "nvnAssetData"}});
    EXPECT_FALSE(ReadAssetData());
    EXPECT_STREQ("OLDMODEL", State.Handheld.DeviceModel);
}

TEST_F(Identity, flash_size_comes_from_a_probe_that_is_pushed_under_its_listed_name) {
    Connect({.flashMegabytes = 4});
    std::filesystem::rename(Folder() / "Tesselor.exe", Folder() / "TESSELOR.exe");
    WriteFileBytes(Device().File("Temp/Tesselor.exe"), "an old one");
    EXPECT_TRUE(ReadFlashSize());
    EXPECT_EQ(4, State.Handheld.FlashSizeMB);
    EXPECT_TRUE(IsOnDevice("Temp/TESSELOR.exe"));
    EXPECT_EQ(0x22U, Device().Attributes("Temp/TESSELOR.exe") | 0x20U);
    EXPECT_FALSE(IsOnDevice("Temp/type.dat"));
    // Not shared, so that it does not open while the probe still writes it.
    Device().Handheld().ExpectLine("CreateFile \\temp\\type.dat  access 0x80000000, share 0,");
}

TEST_F(Identity, flash_size_is_unknown_without_a_probe_or_an_answer) {
    Connect();
    std::filesystem::remove(Folder() / "Tesselor.exe");
    EXPECT_FALSE(ReadFlashSize());
    Device().Handheld().ExpectLine("RAPI CreateProcess");
    Device().Handheld().ExpectLine("RAPI connection ended");
    Connect({.run = {"--no-type-file"}});
    const DWORD start = GetTickCount();
    EXPECT_FALSE(ReadFlashSize());
    EXPECT_GE(GetTickCount() - start, 60000U);
    EXPECT_EQ(99, State.Handheld.FlashSizeMB);
}

} // namespace
