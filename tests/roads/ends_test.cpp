// Every end of a run: each failure shows its page, with the record, the handheld and the exit code
// as they must be, and no page comes after it.
// label: threads

#include "tests/roads/road.h"

#include <algorithm>
#include <filesystem>

namespace {

using namespace road;
namespace fs = std::filesystem;

// An upgrade that comes to the page of a failure.
struct Failure {
    const char* name;
    int page;
    // What is wrong: with the image, with the handheld or ActiveSync; and what a shell does to the
    // tree first, in the process that becomes the wizard.
    ImageOptions image{};
    CradleOptions cradle{};
    const char* before = ":";
    bool takenOut = false; // the handheld
    // While the page stands: whether RAPI has been given up, and which page is up behind it.
    bool rapiEnded = false;
    std::vector<int> behind{};
    std::vector<const char*> leave = {"2"};
    const char* clock = "20";
    bool record = false; // is left for the next run
};

const Failure Failures[] = {
    {.name = "ActiveSync is old",
     .page = ActiveSyncVersionPage,
     .cradle = {.manager = {"--major", "3", "--minor", "1"}},
     .leave = {"esc", "1175"}}, // the first does nothing here
    {.name = "no handheld answers",
     .page = ConnectionErrorPage,
     .takenOut = true,
     .clock = "1"}, // it is waited for three seconds, and not three minutes

    {.name = "the identification does not start",
     .page = RemoteProgramErrorPage,
     .cradle = {.run = {"--refuse-program", "Morvikor.exe"}},
     .rapiEnded = true},
    {.name = "the flash size is not asked for",
     .page = RemoteProgramErrorPage,
     .cradle = {.run = {"--refuse-program", "Tesselor.exe"}},
     .rapiEnded = true},
    {.name = "the flash size never comes, for a minute of the clock",
     .page = RemoteProgramErrorPage,
     .cradle = {.run = {"--no-type-file"}},
     .clock = "200"},
    {.name = "the flasher does not start",
     .page = RemoteProgramErrorPage,
     .cradle = {.run = {"--refuse-program", "Harbel_Link.exe"}},
     .rapiEnded = true,
     .behind = {PreparePage}},
    {.name = "no image", .page = ImageMissingPage, .before = "rm English/TOLKROM.nbf"},
    {.name = "the working directory is too long for Windows",
     .page = ImageMissingPage,
     .before = "deep=$(printf '%0200d/%060d' 0 0); mkdir -p $deep; cd $deep"},
    {.name = "the image does not open",
     .page = ImageOpenErrorPage,
     .before = "ln -sf nowhere English/TOLKROM.nbf"},
    // Otherwise the transfer would find it, with the handheld changed and waiting for its image.
    {.name = "the image is too short to be sent",
     .page = ImageOpenErrorPage,
     .image = {.size = 0x8001F},
     .rapiEnded = true},
    {.name = "a byte of the header differs",
     .page = ChecksumErrorPage,
     .before = "printf x | dd of=English/TOLKROM.nbf bs=1 seek=3 conv=notrunc status=none"},
    {.name = "the last byte differs",
     .page = ChecksumErrorPage,
     .before = "truncate -s -1 English/TOLKROM.nbf; printf x >>English/TOLKROM.nbf"},
    {.name = "no module list",
     .page = ModuleDataErrorPage,
     .before = "rm English/module.dat",
     .behind = {BusyPage}},
    {.name = "the image is of another model",
     .page = IncompatibleImagePage,
     .image = {.model = "TOLKP2000"}},
    {.name = "the image is of another language",
     .page = IncompatibleImagePage,
     .image = {.language = "FRE"}},
    {.name = "the image is larger than the flash", // 3 MiB in 2
     .page = ImageTooLargePage,
     .image = {.size = 0x300000}},
    {.name = "the port is not there", // ActiveSync has been ended by then
     .page = PortErrorPage,
     .before = "ln -sfn nowhere ../home/ports/COM1",
     .rapiEnded = true,
     .record = true},
};

class Ending : public testing::TestWithParam<Failure> {};

TEST_P(Ending, comes_to_its_page_and_to_no_other) {
    const Failure& one = GetParam();
    TestHome home;
    home.AddLanguageFolder(one.image);
    Cradle cradle(home, one.cradle);
    if (one.takenOut)
        cradle.TakeOut();
    WizardRun wizard(home, {{"ROM_WIZARD_CLOCK", one.clock}}, one.before);
    EXPECT_EQ(one.page, wizard.AnswerUpgrade(Serial));
    if (one.rapiEnded)
        cradle.Handheld().ExpectLine("RAPI connection ended");
    else
        EXPECT_FALSE(cradle.Handheld().Has("RAPI connection ended"));
    std::vector<int> standing = one.behind;
    standing.push_back(one.page);
    EXPECT_EQ(standing, wizard.StandingPages());
    for (const char* line : one.leave)
        wizard.Send(line);
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(one.page, wizard.Pages().back());
    EXPECT_EQ(one.record, HasProgressRecord(home));
    EXPECT_EQ(one.record, cradle.Handheld().Has("mode flasher"));
}

INSTANTIATE_TEST_SUITE_P(End, Ending, testing::ValuesIn(Failures), [](const auto& one) {
    std::string name = one.param.name;
    std::ranges::replace_if(
        name, [](char letter) { return letter == ' ' || letter == ','; }, '_');
    return name;
});

TEST(End, leaving_any_page_ahead_of_the_transfer_ends_the_run_and_changes_nothing) {
    auto&& [home, image, cradle] = PcWithHandheld();
    for (const int last :
         {UpgradeNoticePage, WelcomePage, HostChecklistPage, DeviceChecklistPage, ActionChoicePage,
          VersionConfirmPage, BackupChoicePage, UpgradeReadyPage}) {
        WizardRun wizard(home);
        EXPECT_EQ(last, wizard.AnswerUpgrade(Serial, last));
        wizard.Send(last % 2 ? "2" : "esc");
        EXPECT_EQ(0, wizard.Wait());
        EXPECT_EQ(last, wizard.Pages().back());
        // Nothing has been asked of the handheld yet.
        EXPECT_TRUE(last != DeviceChecklistPage || !cradle.Handheld().Has("CreateProcess"));
    }
    EXPECT_FALSE(cradle.Handheld().Has("Harbel_Link"));
    EXPECT_FALSE(HasProgressRecord(home));
}

constexpr char OldRecord[] =
    "[HKEY_CURRENT_USER\\Software\\FlashUtility]\n\"Flash\"=dword:00000001\n";

TEST(End, an_old_record_is_kept_until_the_user_has_chosen_the_link) {
    auto&& [home, image, cradle] = PcWithHandheld();
    AppendToRegistry(home, OldRecord);
    {
        WizardRun wizard(home);
        wizard.ExpectPage(BusyPage); // no introduction
        ExpectQuit(wizard, ConnectionTypePage);
        EXPECT_TRUE(HasProgressRecord(home));
    }
    WizardRun wizard(home);
    ChooseLink(wizard, Serial);
    wizard.ExpectPages({BusyPage, BusyPage});
    ExpectQuit(wizard, ActionChoicePage);
    EXPECT_FALSE(HasProgressRecord(home));
}

// As the first page after the identification shows.
TEST(End, a_power_report_that_fails_ends_the_run_with_no_page) {
    auto&& [home, image, cradle] =
        PcWithHandheld({.run = {"--drop-rapi-at", "GetSystemPowerStatus"}});
    WizardRun wizard(home);
    PassIntroduction(wizard);
    ChooseLink(wizard, Serial);
    wizard.ExpectPage(BusyPage);
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(BusyPage, wizard.Pages().back());
}

TEST(End, a_handheld_on_its_battery_waits_for_the_adapter) {
    auto&& [home, image, cradle] =
        PcWithHandheld({.run = {"--battery", "--battery-byte", "255"}}); // only 1 is an adapter
    WizardRun wizard(home);
    EXPECT_EQ(PowerWarningPage, wizard.AnswerUpgrade(Serial));
    for (const char* power : {"off", "on", "off", "on"}) { // as the watch sees it
        home.RunHandheld({"power", home.Device().string(), power});
        wizard.ExpectLine(power == std::string("on") ? "[1] " : "[-] ");
    }
    wizard.Send("1");
    wizard.ExpectPage(BusyPage);
    ExpectQuit(wizard, ActionChoicePage);
}

// An upgrade of such images ends: it has no other one to choose.
TEST(End,
     a_restore_asks_again_for_a_file_that_is_not_there_or_too_large_and_ends_at_one_too_short) {
    auto&& [home, image, cradle] = PcWithHandheld();
    const fs::path large = home.MakeImage({.folder = "large", .size = 0x300000});
    const fs::path tooShort = home.MakeImage({.folder = "short", .size = 0x8001F});
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    wizard.Send("1036");
    wizard.ExpectLine("== open ==");
    wizard.Send("no such file.nbf");
    wizard.ExpectLine("== open ==");
    wizard.Send(large.string());
    wizard.ExpectPage(BusyPage);
    wizard.Answer(ImageTooLargePage, "2");
    wizard.ExpectPage(ActionChoicePage);
    ChooseRestore(wizard, tooShort.string());
    wizard.ExpectPage(ImageOpenErrorPage);
    cradle.Handheld().ExpectLine("RAPI connection ended");
    wizard.Send("2");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_FALSE(cradle.Handheld().Has("RegSetValue"));
}

// A second after its start; it is waited for six.
TEST(End, a_handheld_that_answers_late_is_waited_for) {
    auto&& [home, image, cradle] = PcWithHandheld({.run = {"--rapi-after", "20000"}});
    WizardRun wizard(home, {{"ROM_WIZARD_CLOCK", "0.5,1000"}});
    EXPECT_EQ(ActionChoicePage, wizard.AnswerUpgrade(Serial, ActionChoicePage));
    EXPECT_EQ(0, wizard.Finish());
}

TEST(End, enter_passes_a_missing_module_list) {
    auto&& [home, image, cradle] = PcWithHandheld();
    fs::remove(home.Tree() / "English/module.dat");
    WizardRun wizard(home);
    EXPECT_EQ(ModuleDataErrorPage, wizard.AnswerUpgrade(Serial));
    wizard.Send("");
    ExpectQuit(wizard, ActionChoicePage, ""); // which here is none of the two actions
}

TEST(End, cancelling_the_file_dialog_leads_back_to_the_default_image) {
    auto&& [home, image, cradle] = PcWithHandheld();
    WizardRun wizard(home);
    GoToActionChoice(wizard);
    wizard.Send("1036");
    wizard.ExpectLine("== open ==");
    wizard.Send("");
    wizard.Answer(ActionChoicePage, "1035");
    ExpectQuit(wizard, VersionConfirmPage);
    EXPECT_NE(std::string::npos, wizard.PageText(VersionConfirmPage).find("2.00"));
}

} // namespace
