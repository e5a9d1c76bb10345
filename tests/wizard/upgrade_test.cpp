// The whole road of an upgrade over the serial link: the wizard as a process, the handheld as
// another, a real tty between them.
// label: threads

#include "tests/wizard/road.h"

#include <cstdint>
#include <vector>

namespace {

using namespace road;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t HeldBack = 0x40020;
constexpr std::size_t Rest = 0x80020;

// What must come over the wire for an image: start byte, size, the rest, the held-back block.
Bytes WireBytes(const Bytes& image) {
    const auto size = static_cast<std::uint32_t>(image.size() - HeldBack);
    Bytes wire = {0x41};
    for (int shift = 0; shift < 32; shift += 8)
        wire.push_back(static_cast<std::uint8_t>(size >> shift));
    const auto at = [&](std::size_t place) {
        return image.begin() + static_cast<std::ptrdiff_t>(place);
    };
    wire.insert(wire.end(), at(Rest), image.end());
    wire.insert(wire.end(), at(HeldBack), at(Rest));
    return wire;
}

struct FullSize {
    const char *link, *folder, *language, *duration;
};

class FullSizeUpgrade : public testing::TestWithParam<FullSize> {};

TEST_P(FullSizeUpgrade, goes_out_in_the_wire_order_to_the_last_byte) {
    const FullSize& one = GetParam();
    TestHome home;
    const auto image =
        home.AddLanguageFolder({.folder = one.folder, .language = one.language, .size = 0xF80020});
    const std::string log = home.Path("wire").string();
    Cradle cradle(home, {.language = one.language, .flashMegabytes = 16, .run = {"--log", log}});
    WizardRun wizard(home);
    GoToTransfer(wizard, one.link);
    EXPECT_TRUE(HasProgressRecord(home));
    wizard.ExpectLine(one.duration);
    FinishUpgrade(wizard, one.link == Usb ? FinishUsbPage : FinishPage);
    EXPECT_EQ(0, wizard.Wait());
    cradle.Handheld().ExpectLine(": complete");

    const Bytes wire = test_support::ReadFileBytes(log);
    EXPECT_EQ(1u + 4u + 0xF40000u, wire.size());
    EXPECT_TRUE(wire == WireBytes(test_support::ReadFileBytes(image)));
    EXPECT_EQ("", cradle.Refused());
    EXPECT_TRUE(cradle.FlashEquals(image));
    EXPECT_FALSE(HasProgressRecord(home));

    EXPECT_NE(std::string::npos, wizard.Process().Transcript().find("98%"));
    cradle.Reset();
    EXPECT_EQ("2.00", cradle.StatusOf("version").substr(0, 4));
}

INSTANTIATE_TEST_SUITE_P(Upgrade, FullSizeUpgrade,
                         testing::Values(FullSize{Serial, "English", "ENG", "30 minutes"},
                                         FullSize{Usb, "French", "FRE", "4 minutes"},
                                         FullSize{Serial, "Japanese", "JPN", "60 minutes"},
                                         FullSize{Usb, "SChinese", "CHS", "8 minutes"}),
                         [](const auto& one) {
                             return std::string(one.param.language) +
                                    (one.param.link == Usb ? "_usb" : "_serial");
                         });

TEST(Upgrade, the_handheld_is_prepared_for_the_late_layout) {
    TestHome home;
    home.AddLanguageFolder();
    Cradle cradle(home);
    WizardRun wizard(home);
    GoToTransfer(wizard);
    FinishUpgrade(wizard);
    EXPECT_EQ(0, wizard.Wait());

    EXPECT_EQ(2u, cradle.Attributes("Temp/Harbel_Link.exe") & 2u); // hidden
    EXPECT_EQ(test_support::ReadFileBytes(home.Tree() / "English/harbel_line.nb"),
              test_support::ReadFileBytes(cradle.File("Temp/harbel_line.nb")));
    EXPECT_FALSE(std::filesystem::exists(cradle.File("Temp/harbel_bus.nb")));

    const std::string disk = "Drivers\\NvnDisk";
    const std::string power = "ControlPanel\\Power";
    EXPECT_EQ(0xB2000000u, cradle.RegistryValue(disk, "WindowBase").value().Number());
    EXPECT_EQ(0x2000000u, cradle.RegistryValue(disk, "Size").value().Number());
    EXPECT_EQ(u"Norvan DISK", cradle.RegistryValue(disk, "Folder").value().Text());
    EXPECT_EQ(24u, cradle.RegistryValue(disk, "Folder").value().data.size());
    EXPECT_EQ(0u, cradle.RegistryValue(disk, "DisableInt").value().Number());
    EXPECT_EQ(0u, cradle.RegistryValue(disk, "OnBoard").value().Number());
    EXPECT_EQ(u"NVNDSK.DLL", cradle.RegistryValue(disk, "Dll").value().Text());
    EXPECT_EQ(8u, cradle.RegistryValue(disk, "Index").value().Number());
    EXPECT_EQ(1u, cradle.RegistryValue(power, "Group").value().Number());
    EXPECT_EQ(u"\\windows\\ctlpnl.exe MyCpl,5",
              cradle.RegistryValue(power, "Redirect").value().Text());
}

TEST(Upgrade, the_early_layout_has_no_storage_key) {
    TestHome home;
    home.AddLanguageFolder({.version = "1.40"});
    Cradle cradle(home);
    WizardRun wizard(home);
    GoToTransfer(wizard);
    FinishUpgrade(wizard);
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_FALSE(cradle.HasRegistryKey("Drivers\\NvnDisk"));
    EXPECT_EQ(u"\\windows\\ctlpnl.exe powerg.cpl",
              cradle.RegistryValue("ControlPanel\\Power", "Redirect").value().Text());
}

TEST(Upgrade, a_restore_writes_the_file_that_the_user_picks) {
    TestHome home;
    home.AddLanguageFolder();
    const auto picked =
        home.MakeImage({.folder = "saved", .file = "old rom.nbf", .version = "1.87", .seed = 7});
    Cradle cradle(home);
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    wizard.Send("1036");
    wizard.ExpectLine("== open ==");
    wizard.Send("no such file.nbf");
    wizard.ExpectLine("== open ==");
    wizard.Send(picked.string());
    wizard.ExpectPage(BusyPage); // a picked file is verified too
    ConfirmUpgrade(wizard);
    wizard.ExpectPage(PreparePage);
    wizard.ExpectPage(ProgressPage);
    FinishUpgrade(wizard);
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_TRUE(cradle.FlashEquals(picked));
}

TEST(Upgrade, files_of_the_module_list_are_gone_and_others_are_not) {
    TestHome home;
    home.AddLanguageFolder();
    std::ofstream(home.Tree() / "English/module.dat", std::ios::binary)
        << "first.dll\r\nno such file.exe\r\nlast.dll\r\n$\r\nkept.dll\r\n";
    Cradle cradle(home);
    for (const char* name : {"first.dll", "last.dll", "kept.dll"})
        std::ofstream(cradle.File(std::string("Windows/") + name)) << "x";
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    EXPECT_EQ(0, wizard.Finish());
    EXPECT_FALSE(std::filesystem::exists(cradle.File("Windows/first.dll")));
    EXPECT_FALSE(std::filesystem::exists(cradle.File("Windows/last.dll")));
    EXPECT_TRUE(std::filesystem::exists(cradle.File("Windows/kept.dll")));
}

TEST(Upgrade, activesync_is_ended_for_the_transfer_and_back_after_it) {
    TestHome home;
    home.AddLanguageFolder();
    Cradle cradle(home);
    WizardRun wizard(home);
    GoToTransfer(wizard);
    EXPECT_EQ(128 + 9, cradle.Manager().Wait());
    wizard.Answer(UpgradeDonePage, "esc"); // leaves without starting it, and without another page
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(UpgradeDonePage, wizard.Pages().back());
    EXPECT_FALSE(HasProgressRecord(home));
}

TEST(Upgrade, a_second_start_ends_at_once_and_leaves_the_first_alone) {
    TestHome home;
    home.AddLanguageFolder();
    Cradle cradle(home);
    WizardRun first(home);
    first.ExpectPage(UpgradeNoticePage);
    WizardRun second(home);
    EXPECT_EQ(0, second.Wait());
    EXPECT_TRUE(second.Pages().empty());
    first.Send("1181");
    first.ExpectPage(WelcomePage);
    EXPECT_EQ(0, first.Finish());
}

} // namespace
