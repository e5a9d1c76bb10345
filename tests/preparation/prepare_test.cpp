// The preparation by link, up to the open flash link, and where it ends before.
// label: threads

#include "preparation/prepare.h"

#include "images/header.h"
#include "link/stall.h"
#include "state/progress_record.h"
#include "testing/wizard_fixture.h"

#include <csignal>

namespace {

constexpr char Disk[] = "Drivers\\NvnDisk";

class Preparation : public HandheldTest {
protected:
    void Connect(const char* version, const test_support::CradleOptions& options = {}) {
        HandheldTest::Connect(options);
        State.Image.ImageVersion = VersionNumber(version);
        State.Run.UpgradeUnderway = true;
        State.Windows.MainWindow = OpenPlainWindow("wizard");
        SetText(State.Paths.ImagePath, "Z:\\image.nbf");
        SetText(State.Paths.SerialPortName, "COM1:");
        DeleteProgressRecord();
    }

    void TearDown() override {
        TearDownTransfer();
        if (State.Windows.MainWindow)
            DestroyWindow(State.Windows.MainWindow);
        State.Windows.MainWindow = nullptr;
        HandheldTest::TearDown();
    }

    void ExpectSame(const std::string& name) {
        EXPECT_EQ(test_support::ReadFileBytes(Folder() / name),
                  test_support::ReadFileBytes(Device().File("Temp/" + name)));
    }
};

TEST_F(Preparation, of_an_early_image_removes_the_disk_and_hands_over_to_the_serial_link) {
    Connect("1.40");
    WriteFileBytes(Device().File("Temp/harbel_line.nb"), "old");
    WriteFileBytes(Device().File("Temp/Harbel_Link.exe"), "old");
    WriteFileBytes(Device().File("Temp/harbel_bus.nb"), "of the other link");
    PrepareDevice();
    EXPECT_FALSE(Device().HasRegistryKey(Disk));
    ExpectSame("Harbel_Link.exe");
    ExpectSame("harbel_line.nb");
    EXPECT_EQ("of the other link", OnDevice("Temp/harbel_bus.nb"));
    EXPECT_EQ("flasher", Device().StatusOf("mode"));
    EXPECT_EQ("", Device().Refused());
    EXPECT_TRUE(ReadProgressRecord());
    EXPECT_EQ(128 + SIGKILL, Device().Manager().Wait());
    EXPECT_TRUE(State.Link.LinkHandle);
    EXPECT_TRUE(State.Link.ReceiveCameUp);
}

TEST_F(Preparation, of_a_late_image_sets_up_the_disk_and_hands_over_to_usb) {
    State.Run.SerialLinkSelected = false;
    Connect("1.60");
    PrepareDevice();
    EXPECT_EQ(0xB2000000U, Device().RegistryValue(Disk, "WindowBase")->Number());
    ExpectSame("harbel_bus.nb");
    EXPECT_FALSE(IsOnDevice("Temp/harbel_line.nb"));
    EXPECT_EQ("flasher", Device().StatusOf("mode"));
}

TEST_F(Preparation, menu_setting_that_is_missing_or_too_long_to_read_is_left_alone) {
    for (const std::size_t size : {0UL, 101UL}) {
        Connect("2.00", {.run = {"--refuse-program", "Harbel_Link.exe"}});
        CeRegDeleteKey(CeLocalMachine, u"ControlPanel\\Menus");
        const std::string data(size, 'x');
        CeKey key = 0;
        std::uint32_t disposition = 0;
        CeRegCreateKeyEx(CeLocalMachine, u"ControlPanel\\Menus", &key, &disposition);
        if (size > 0)
            CeRegSetValueEx(key, u"CoolMenu", 3, data.data(), static_cast<std::uint32_t>(size));
        CeRegCloseKey(key);
        PrepareDevice();
        const auto value = Device().RegistryValue("ControlPanel\\Menus", "CoolMenu");
        EXPECT_EQ(size, value ? value->data.size() : 0);
    }
}

TEST_F(Preparation, flasher_that_does_not_start_leaves_no_record_and_no_open_link) {
    Connect("2.00", {.run = {"--refuse-program", "Harbel_Link.exe"}});
    PrepareDevice();
    EXPECT_FALSE(ReadProgressRecord());
    EXPECT_FALSE(State.Link.LinkHandle);
    EXPECT_EQ("normal", Device().StatusOf("mode"));
    EXPECT_TRUE(FindWindowA(nullptr, "DccMan")); // nobody was ended
}

// With the connection gone before the answer nobody knows whether the flasher runs: from here on
// the handheld may be rewritten, so the record must be there.
TEST_F(Preparation, start_without_an_answer_counts_as_a_start) {
    for (const bool carriedOut : {true, false}) {
        std::vector<std::string> faults = {"--drop-rapi-at", "CreateProcess"};
        if (carriedOut)
            faults.push_back("--drop-rapi-halfway");
        Connect("2.00", {.run = faults});
        PrepareDevice();
        EXPECT_EQ(carriedOut ? "flasher" : "normal", Device().StatusOf("mode"));
        EXPECT_TRUE(ReadProgressRecord());
        EXPECT_TRUE(State.Link.LinkHandle);
        TearDownTransfer();
        DestroyWindow(State.Windows.MainWindow);
    }
    State.Windows.MainWindow = nullptr;
}

// Gone before the start, it leaves nothing that could run.
TEST_F(Preparation, connection_lost_before_the_start_is_a_failed_start) {
    Connect("2.00", {.run = {"--drop-rapi-at", "RegSetValue"}});
    PrepareDevice();
    EXPECT_EQ("normal", Device().StatusOf("mode"));
    EXPECT_FALSE(ReadProgressRecord());
    EXPECT_FALSE(State.Link.LinkHandle);
}

TEST_F(Preparation, without_a_folder_or_an_upgrade_under_way_changes_nothing) {
    Connect("1.40");
    SetText(State.Paths.LanguageFolder, "Klingon");
    PrepareDevice();
    SetText(State.Paths.LanguageFolder, "English");
    State.Run.UpgradeUnderway = false;
    PrepareDevice();
    EXPECT_TRUE(Device().HasRegistryKey(Disk));
    EXPECT_EQ(2U, Device().RegistryValue("ControlPanel\\Power", "Group")->Number());
    EXPECT_FALSE(IsOnDevice("Temp/Harbel_Link.exe"));
    EXPECT_FALSE(ReadProgressRecord());
}

} // namespace
