// Every end of a run: each failure shows its page, with the record, the handheld and the exit code
// as they must be, and no page comes after it.
// label: threads

#include "tests/roads/road.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace road;
namespace fs = std::filesystem;

// The run ends with this page, and the connection to the handheld is given up before it.
void ExpectQuitWithoutConnection(WizardRun& wizard, Cradle& cradle, int page) {
    wizard.ExpectPage(page);
    cradle.Handheld().ExpectLine("RAPI connection ended");
    wizard.Send("2");
    EXPECT_EQ(0, wizard.Wait());
}

void GoToIdentification(WizardRun& wizard) {
    PassIntroduction(wizard);
    ChooseSerial(wizard);
    wizard.ExpectPage(BusyPage);
}

void GoToVerification(WizardRun& wizard) {
    GoToIdentification(wizard);
    wizard.ExpectPage(BusyPage);
}

void CorruptByte(const fs::path& image, std::streamoff offset) {
    std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(offset);
    const char old = static_cast<char>(file.get());
    file.seekp(offset);
    file.put(static_cast<char>(old + 1));
}

TEST(End, an_old_activesync_ends_the_run_before_any_other_page) {
    auto&& [home, image, cradle] = PcWithHandheld({.manager = {"--major", "3", "--minor", "1"}});
    WizardRun wizard(home);
    wizard.Answer(ActiveSyncVersionPage, "esc"); // does nothing here
    wizard.Send("1175");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(std::vector<int>{ActiveSyncVersionPage}, wizard.Pages());
}

TEST(End, cancel_on_any_introduction_page_ends_the_run) {
    auto&& [home, image, cradle] = PcWithHandheld();
    const int pages[] = {UpgradeNoticePage, WelcomePage, HostChecklistPage, DeviceChecklistPage};
    for (std::size_t last = 0; last < std::size(pages); ++last) {
        WizardRun wizard(home);
        for (std::size_t page = 0; page < last; ++page)
            wizard.Answer(pages[page], "");
        wizard.Answer(pages[last], last % 2 ? "2" : "esc");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(pages[last], wizard.Pages().back());
    }
    EXPECT_FALSE(cradle.Handheld().Has("CreateProcess"));
}

TEST(End, no_handheld_and_no_record_is_error_101) {
    auto&& [home, image, cradle] = PcWithHandheld();
    cradle.Handheld().Signal(SIGKILL);
    cradle.Handheld().Wait();
    WizardRun wizard(home);
    PassIntroduction(wizard);
    wizard.ExpectPage(BusyPage);
    ExpectQuit(wizard, ConnectionErrorPage);
}

constexpr char OldRecord[] =
    "[HKEY_CURRENT_USER\\Software\\FlashUtility]\n\"Flash\"=dword:00000001\n";

TEST(End, leaving_the_choice_of_the_link_keeps_an_old_record) {
    auto&& [home, image, cradle] = PcWithHandheld();
    AppendToRegistry(home, OldRecord);
    WizardRun wizard(home);
    wizard.ExpectPage(BusyPage); // no introduction
    ExpectQuit(wizard, ConnectionTypePage);
    EXPECT_TRUE(HasProgressRecord(home));
}

TEST(End, passing_the_choice_of_the_link_forgets_an_old_record) {
    auto&& [home, image, cradle] = PcWithHandheld();
    AppendToRegistry(home, OldRecord);
    WizardRun wizard(home);
    ChooseSerial(wizard);
    wizard.ExpectPages({BusyPage, BusyPage});
    ExpectQuit(wizard, ActionChoicePage);
    EXPECT_FALSE(HasProgressRecord(home));
}

TEST(End, a_program_that_does_not_run_on_the_handheld_is_error_106) {
    for (const char* program : {"Morvikor.exe", "Tesselor.exe"}) {
        auto&& [home, image, cradle] = PcWithHandheld({.run = {"--refuse-program", program}});
        WizardRun wizard(home);
        GoToIdentification(wizard);
        if (std::string(program) == "Tesselor.exe")
            wizard.ExpectPage(BusyPage);
        ExpectQuitWithoutConnection(wizard, cradle, RemoteProgramErrorPage);
        EXPECT_FALSE(HasProgressRecord(home));
    }
}

TEST(End, a_flash_size_that_never_comes_is_error_106_after_a_minute_of_the_clock) {
    auto&& [home, image, cradle] = PcWithHandheld({.run = {"--no-type-file"}});
    WizardRun wizard(home, {{"ROM_WIZARD_CLOCK", "200"}});
    GoToVerification(wizard);
    ExpectQuit(wizard, RemoteProgramErrorPage);
}

TEST(End, a_flasher_that_does_not_start_is_error_106_without_a_record) {
    auto&& [home, image, cradle] = PcWithHandheld({.run = {"--refuse-program", "Harbel_Link.exe"}});
    WizardRun wizard(home);
    ChooseUpgrade(wizard);
    ConfirmUpgrade(wizard);
    wizard.ExpectPage(PreparePage);
    ExpectQuitWithoutConnection(wizard, cradle, RemoteProgramErrorPage);
    EXPECT_FALSE(HasProgressRecord(home));
    EXPECT_EQ("1.10", cradle.StatusOf("version").substr(0, 4));
}

TEST(End, a_missing_image_or_folder_is_error_103) {
    for (const char* missing : {"image", "folder", "working directory"}) {
        TestHome home;
        const fs::path image = home.AddLanguageFolder();
        const fs::path deep = home.Tree() / std::string(200, 'd') / std::string(60, 'd');
        fs::create_directories(deep); // too long for Windows
        std::string before = ":";
        if (missing == std::string("image"))
            fs::remove(image);
        else if (missing == std::string("folder"))
            fs::remove_all(image.parent_path());
        else
            before = "cd '" + deep.string() + "'";
        Cradle cradle(home);
        WizardRun wizard(home, {}, before);
        GoToIdentification(wizard);
        ExpectQuit(wizard, ImageMissingPage);
    }
}

TEST(End, an_image_that_cannot_be_opened_or_is_shorter_than_a_header_is_error_104) {
    for (const bool exists : {true, false}) {
        TestHome home;
        const fs::path image = home.AddLanguageFolder();
        fs::remove(image);
        if (exists)
            std::ofstream(image) << "TOLKP1000-ENG-2.00-12-";
        else
            fs::create_symlink("nowhere", image);
        Cradle cradle(home);
        WizardRun wizard(home);
        GoToIdentification(wizard);
        ExpectQuit(wizard, ImageOpenErrorPage);
    }
}

TEST(End, a_power_report_that_fails_ends_the_run_with_no_page) {
    auto&& [home, image, cradle] =
        PcWithHandheld({.run = {"--drop-rapi-at", "GetSystemPowerStatus"}});
    WizardRun wizard(home);
    GoToIdentification(wizard);
    wizard.ExpectEnd(BusyPage);
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(BusyPage, wizard.Pages().back());
}

TEST(End, a_handheld_on_its_battery_waits_for_the_adapter) {
    TestHome home;
    home.AddLanguageFolder();
    Cradle cradle(home, {.run = {"--battery", "--battery-byte", "255"}}); // only 1 is an adapter
    WizardRun wizard(home);
    GoToIdentification(wizard);
    wizard.ExpectPage(PowerWarningPage);
    wizard.ExpectLine("[-] "); // the watch has seen that there is no adapter
    home.RunHandheld({"power", home.Device().string(), "on"});
    wizard.ExpectLine("[1] "); // and that there is one
    wizard.Send("1");
    wizard.ExpectPage(BusyPage);
    ExpectQuit(wizard, ActionChoicePage);
}

TEST(End, one_changed_byte_is_error_102) {
    for (const std::streamoff offset :
         {std::streamoff{3}, std::streamoff{0x20}, std::streamoff{0x10001F}}) {
        TestHome home;
        CorruptByte(home.AddLanguageFolder(), offset);
        Cradle cradle(home);
        WizardRun wizard(home);
        GoToVerification(wizard);
        ExpectQuit(wizard, ChecksumErrorPage);
        EXPECT_FALSE(HasProgressRecord(home));
    }
}

TEST(End, a_missing_module_list_is_error_108_which_enter_passes) {
    TestHome home;
    home.AddLanguageFolder();
    fs::remove(home.Tree() / "English/module.dat");
    Cradle cradle(home);
    {
        WizardRun wizard(home);
        GoToVerification(wizard);
        ExpectQuit(wizard, ModuleDataErrorPage);
    }
    WizardRun wizard(home);
    GoToVerification(wizard);
    wizard.Answer(ModuleDataErrorPage, "");
    ExpectQuit(wizard, ActionChoicePage);
}

TEST(End, an_image_for_another_handheld_is_error_100) {
    struct Case {
        const char *model, *language;
    };
    for (const Case& one : {Case{"TOLKP2000", "ENG"}, Case{"TOLKP1000", "FRE"}}) {
        TestHome home;
        home.AddLanguageFolder({.model = one.model, .language = one.language});
        Cradle cradle(home);
        WizardRun wizard(home);
        ChooseUpgrade(wizard);
        ExpectQuit(wizard, IncompatibleImagePage);
        EXPECT_FALSE(cradle.Handheld().Has("Harbel_Link"));
    }
}

TEST(End, an_image_larger_than_the_flash_ends_an_upgrade_but_not_a_restore) {
    TestHome home;
    home.AddLanguageFolder({.size = 0x300000}); // 3 MiB on a flash of 2
    const fs::path small = home.MakeImage({.folder = "saved", .size = 0x100020});
    const fs::path large = home.MakeImage({.folder = "large", .size = 0x300000});
    Cradle cradle(home);
    {
        WizardRun wizard(home);
        ChooseUpgrade(wizard);
        ExpectQuit(wizard, ImageTooLargePage);
    }
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    ChooseRestore(wizard, large.string());
    wizard.Answer(ImageTooLargePage, "2");
    wizard.Answer(ActionChoicePage, "1036");
    wizard.ExpectLine("== open ==");
    wizard.Send(small.string());
    wizard.ExpectPage(BusyPage);
    ExpectQuit(wizard, VersionConfirmPage);
}

// Otherwise the transfer would find it, with the handheld changed and waiting for its image.
TEST(End, an_image_too_short_to_be_sent_is_error_104_before_the_handheld_is_touched) {
    for (const bool restore : {false, true}) {
        TestHome home;
        const fs::path good = home.AddLanguageFolder();
        const fs::path image = home.MakeImage({.folder = "saved", .size = 0x8001F});
        if (!restore)
            fs::rename(image, good);
        Cradle cradle(home);
        WizardRun wizard(home);
        GoToActionChoice(wizard);
        wizard.Send(restore ? "1036" : "1035");
        if (restore) {
            wizard.ExpectLine("== open ==");
            wizard.Send(image.string());
            wizard.ExpectPage(BusyPage);
        }
        ExpectQuitWithoutConnection(wizard, cradle, ImageOpenErrorPage);
        EXPECT_FALSE(cradle.Handheld().Has("RegSetValue"));
        EXPECT_FALSE(HasProgressRecord(home));
    }
}

TEST(End, cancelling_the_file_dialog_leads_back_to_the_default_image) {
    auto&& [home, image, cradle] = PcWithHandheld();
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    wizard.Send("1036");
    wizard.ExpectLine("== open ==");
    wizard.Send("");
    wizard.Answer(ActionChoicePage, "1035");
    wizard.ExpectPage(VersionConfirmPage);
    EXPECT_NE(std::string::npos, wizard.PageText(VersionConfirmPage).find("2.00"));
    wizard.Send("2");
    EXPECT_EQ(0, wizard.Wait());
}

TEST(End, leaving_any_decision_page_changes_nothing_on_the_handheld) {
    auto&& [home, image, cradle] = PcWithHandheld();
    const int pages[] = {ActionChoicePage, VersionConfirmPage, BackupChoicePage, UpgradeReadyPage};
    for (std::size_t last = 0; last < std::size(pages); ++last) {
        WizardRun wizard(home);
        GoToActionChoice(wizard);
        for (std::size_t page = 0; page < last; ++page) {
            wizard.Send(page == 0 ? "1035" : "1");
            wizard.ExpectPage(pages[page + 1]);
        }
        wizard.Send(last % 2 ? "esc" : "2");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(pages[last], wizard.Pages().back());
    }
    EXPECT_FALSE(cradle.Handheld().Has("Harbel_Link"));
    EXPECT_FALSE(HasProgressRecord(home));
}

TEST(End, the_enter_key_on_the_choice_of_the_action_ends_the_run) {
    auto&& [home, image, cradle] = PcWithHandheld();
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    wizard.Send("");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(ActionChoicePage, wizard.Pages().back());
}

TEST(End, a_port_that_is_not_there_is_error_105_and_can_be_resumed) {
    auto&& [home, image, cradle] = PcWithHandheld();
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    fs::remove(home.Home() / "ports/COM1");
    fs::create_symlink(home.Home() / "nowhere", home.Home() / "ports/COM1");
    wizard.Send("1035");
    ConfirmUpgrade(wizard);
    wizard.ExpectPage(PreparePage);
    wizard.ExpectEnd(PreparePage);
    ExpectQuit(wizard, PortErrorPage);
    EXPECT_TRUE(HasProgressRecord(home));
}

} // namespace
