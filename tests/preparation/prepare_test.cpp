// The preparation by link, up to the open flash link, and where it ends before.
// label: threads

#include "preparation/prepare.h"

#include "images/header.h"
#include "link/stall.h"
#include "state/progress_record.h"
#include "testing/comes_true.h"
#include "testing/wizard_fixture.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

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

// Without the record nobody would know of an upgrade that breaks off from here on.
TEST_F(Preparation, leaves_activesync_alive_until_the_record_is_written) {
    Connect("2.00");
    const auto registry = Home().Home() / "registry.lock";
    const int lock = open(registry.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(0, flock(lock, LOCK_EX)); // as another process on a slow disk
    std::thread preparation(PrepareDevice);
    EXPECT_TRUE(test_support::ComesTrue([&] { // for the record, beside this test
        return std::ranges::count_if(std::filesystem::directory_iterator("/proc/self/fd"),
                                     [&](const auto& entry) {
                                         std::error_code gone;
                                         return read_symlink(entry.path(), gone) == registry;
                                     }) == 2;
    }));
    EXPECT_TRUE(FindWindowA(nullptr, "DccMan"));
    close(lock);
    preparation.join();
    EXPECT_TRUE(ReadProgressRecord());
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

// With the connection gone before the answer nobody knows whether the flasher runs: from here on
// the handheld may be rewritten, so the record must be there.
TEST_F(Preparation, start_leaves_a_record_and_an_open_link_unless_it_has_surely_failed) {
    const struct {
        std::vector<std::string> faults;
        bool runs, counts;
    } starts[] = {
        {{"--refuse-program", "Harbel_Link.exe"}, false, false},
        {{"--drop-rapi-at", "RegSetValue"}, false, false}, // ahead of the start
        {{"--drop-rapi-at", "CreateProcess"}, false, true},
        {{"--drop-rapi-at", "CreateProcess", "--drop-rapi-halfway"}, true, true},
    };
    for (const auto& start : starts) {
        Connect("2.00", {.run = start.faults});
        PrepareDevice();
        EXPECT_EQ(start.runs ? "flasher" : "normal", Device().StatusOf("mode"));
        EXPECT_EQ(start.counts, ReadProgressRecord());
        EXPECT_EQ(start.counts, State.Link.LinkHandle != nullptr);
        EXPECT_EQ(!start.counts, FindWindowA(nullptr, "DccMan") != nullptr); // ActiveSync
        TearDownTransfer();
        DestroyWindow(State.Windows.MainWindow);
    }
    State.Windows.MainWindow = nullptr;
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
