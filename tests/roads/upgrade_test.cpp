// Whole upgrades over both links: the wizard as a process, the handheld as another, a real tty
// between them.
// label: threads

#include "testing/comes_true.h"
#include "testing/image_file.h"
#include "tests/roads/road.h"

#include <vector>

namespace {

using namespace road;

void ExpectFullSizeOverTheWire(const char* link, const ImageOptions& options,
                               const char* duration) {
    TestHome home;
    const auto image = home.AddLanguageFolder(options);
    const std::string log = home.Path("wire").string();
    Cradle cradle(home,
                  {.language = options.language, .flashMegabytes = 16, .run = {"--log", log}});
    WizardRun wizard(home);
    GoToTransfer(wizard, link);
    EXPECT_TRUE(HasProgressRecord(home));
    wizard.ExpectLine(duration);
    FinishUpgrade(wizard, link == Usb ? FinishUsbPage : FinishPage);
    cradle.Handheld().ExpectLine(": complete");

    const std::string wire = test_support::ReadBytes(log);
    EXPECT_EQ(1u + 4u + 0xF40000u, wire.size());
    EXPECT_TRUE(wire == test_support::FlasherWire(test_support::ReadBytes(image)));
    EXPECT_EQ("", cradle.Refused());
    EXPECT_TRUE(cradle.FlashEquals(image));
    EXPECT_FALSE(HasProgressRecord(home));

    EXPECT_NE(std::string::npos, wizard.Process().Transcript().find("98%"));
    cradle.Reset();
    EXPECT_EQ("2.00", cradle.StatusOf("version").substr(0, 4));
}

TEST(Upgrade, over_serial_goes_out_in_the_wire_order_to_the_last_byte) {
    ExpectFullSizeOverTheWire(Serial, {.size = 0xF80020}, "30 minutes");
}
TEST(Upgrade, over_usb_goes_out_in_the_wire_order_to_the_last_byte) {
    ExpectFullSizeOverTheWire(Usb, {.folder = "SChinese", .language = "CHS", .size = 0xF80020},
                              "8 minutes");
}

// The readme is opened first, with the program that Windows has registered, else with one of that
// name, which the test puts on the PATH. Beside a program of that name in the tree it stays closed.
TEST(Upgrade, the_clock_is_set_on_every_way_out_of_the_last_page) {
    const struct {
        std::vector<const char*> lines;
        std::vector<const char*> programs;
        const char* opener; // of them; empty: none
    } ways[] = {{{""}, {"bin", "registered"}, "registered"},
                {{""}, {"bin"}, "bin"},
                {{""}, {"bin", "tree/English"}, ""},
                {{"1134", "1"}, {"bin"}, ""},
                {{"esc"}, {"bin"}, ""}};
    for (const auto& way : ways) {
        TestHome home;
        const auto image = home.AddLanguageFolder({.size = 0x80020}); // the smallest
        const auto opened = home.Path("opened");
        for (const char* folder : way.programs) {
            const auto program = home.Path(folder) / "wordpad.exe";
            test_support::WriteFileBytes(program,
                                         "#!/bin/sh\nprintf '%s %s %s' \"$0\" \"$1\" \"$PWD\" >'" +
                                             opened.string() + ".new'\nmv '" + opened.string() +
                                             ".new' '" + opened.string() + "'\n");
            std::filesystem::permissions(program, std::filesystem::perms::all);
        }
        Cradle cradle(home);
        AppendToRegistry(home,
                         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\"
                         "App Paths\\wordpad.exe]\n@=\"\\\"%PROGRAMS%\\\\wordpad.exe\\\"\"\n");
        WizardRun wizard(home,
                         {{"PATH", home.Path("bin").string() + ":/usr/bin:/bin"},
                          {"PROGRAMS", test_support::WindowsPathOf(home.Path("registered"))}});
        GoToTransfer(wizard);
        wizard.Answer(UpgradeDonePage, "1181");
        cradle.Handheld().ExpectLine(": complete");
        EXPECT_TRUE(cradle.FlashEquals(image));
        cradle.Reset();
        cradle.AwaitConnection(); // through the ActiveSync that the wizard has started again
        EXPECT_EQ("never set", cradle.StatusOf("clock"));
        wizard.ExpectPage(FinishPage);
        for (const char* line : way.lines)
            wizard.Send(line);
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_NE("never set", cradle.StatusOf("clock"));
        const auto isOpened = [&] { return std::filesystem::exists(opened); };
        EXPECT_TRUE(*way.opener ? test_support::ComesTrue(isOpened) : !isOpened());
        EXPECT_EQ(*way.opener ? (home.Path(way.opener) / "wordpad.exe readme.doc ").string() +
                                    (home.Tree() / "English").string()
                              : "",
                  test_support::ReadBytes(opened));
    }
}

TEST(Upgrade, activesync_is_ended_for_the_transfer_and_its_port_is_the_one_in_the_registry) {
    auto&& [home, image, cradle] = PcWithHandheld({.run = {"--listens-after", "15000"}});
    MoveToSecondPort(home);
    WizardRun wizard(home);
    GoToTransfer(wizard);
    EXPECT_EQ(128 + 9, cradle.Manager().Wait());
    ExpectQuit(wizard, UpgradeDonePage, "esc"); // does not start it again, nor show another page
    EXPECT_FALSE(HasProgressRecord(home));
}

TEST(Upgrade, a_second_start_ends_at_once_and_leaves_the_first_alone) {
    auto&& [home, image, cradle] = PcWithHandheld();
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
