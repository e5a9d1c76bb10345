// A whole run at a terminal of 80 columns, and keys that break nothing off.

#include "tests/roads/road.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iterator>

namespace {

using namespace road;
constexpr char Red[] = "\033[31m", Plain[] = "\033[0m";

class AtTerminal : public testing::Test {
protected:
    // A wizard on a pseudo-terminal that knows colours.
    static WizardRun Start(const TestHome& home, const char* clock = "20",
                           const char* noColour = "") {
        return WizardRun(home,
                         {{"ROM_WIZARD_CLOCK", clock}, {"NO_COLOR", noColour}, {"TERM", "xterm"}},
                         "exec setsid --ctty \"$0\"", true);
    }
    // Columns that the line takes: without escape codes, a character of UTF-8 each.
    static std::size_t ColumnsOf(std::string line) {
        for (const char* code : {Red, Plain})
            for (std::size_t at; (at = line.find(code)) != std::string::npos;)
                line.erase(at, std::strlen(code));
        return static_cast<std::size_t>(std::ranges::count_if(
            line, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
    }
    // Percentages overwrite one another on their line.
    static void ExpectToFit(WizardRun& wizard) {
        for (const std::string& line : wizard.Process().Lines()) {
            const bool percentages = line.find('%') != std::string::npos;
            EXPECT_TRUE(percentages || ColumnsOf(line) <= 80) << line;
        }
    }
};

TEST_F(AtTerminal, an_upgrade_reads_in_80_columns_with_its_warnings_in_red) {
    auto&& [home, image, cradle] = PcWithHandheld();
    WizardRun wizard = Start(home);
    wizard.Send("77");
    wizard.Send("x y");
    GoToTransfer(wizard);
    FinishUpgrade(wizard);
    EXPECT_TRUE(cradle.FlashEquals(image));
    ExpectToFit(wizard);
    EXPECT_TRUE(wizard.Process().Has("no such number on this page: 77"));
    EXPECT_TRUE(wizard.Process().Has("not understood: x y "));
    for (const char* text : {"REMARQUE", "Ne retirez pas la connexion", "Consultez le CD"})
        EXPECT_TRUE(wizard.Process().Has(std::string(Red) + text)) << text;
    std::vector<std::string> percentages; // all on one line
    std::ranges::copy_if(wizard.Process().Lines(), std::back_inserter(percentages),
                         [](const std::string& line) { return line.find('%') != line.npos; });
    ASSERT_EQ(1U, percentages.size());
    EXPECT_LE(3, std::ranges::count(percentages[0], '%')) << percentages[0];
}

// Held up between two of its tokens, so that it lasts for as long as the user needs.
TEST_F(AtTerminal, a_transfer_is_broken_off_by_no_key_no_sigterm_and_no_end_of_the_terminal) {
    auto&& [home, image, cradle] =
        PcWithHandheld({.run = {"--late-at", "start", "--late-by", "40000"}});
    WizardRun wizard = Start(home, "3,500");
    GoToTransfer(wizard);
    cradle.Handheld().ExpectLine("late at start");
    cradle.Handheld().Signal(SIGSTOP);
    for (const char* key : {"\x03", "\x1A", "\x1C"}) { // Ctrl-C, Ctrl-Z, Ctrl-Backslash
        wizard.Process().Type(key);
        wizard.ExpectLine("not broken off: ");
    }
    wizard.Process().Signal(SIGTERM);
    wizard.ExpectLine("not broken off: ");
    wizard.Process().Type("\x13"); // Ctrl-S
    cradle.Handheld().Signal(SIGCONT);
    cradle.Handheld().ExpectLine(": complete");
    EXPECT_TRUE(cradle.FlashEquals(image));
    wizard.Process().HangUp();
    EXPECT_EQ(0, wizard.Process().Wait());
}

TEST_F(AtTerminal, ctrl_c_leaves_a_file_dialog_or_a_page_or_else_the_wizard) {
    auto&& [home, image, cradle] = PcWithHandheld();
    {
        WizardRun wizard = Start(home);
        GoToActionChoice(wizard);
        wizard.Send("1036");
        wizard.ExpectLine("== open ==");
        wizard.Process().Type("\x03");
        wizard.ExpectPage(ActionChoicePage);
        wizard.Process().Signal(SIGHUP); // as the end of input
        EXPECT_EQ(0, wizard.Wait());
    }
    cradle.StartManager({"--major", "3", "--minor", "1"});
    WizardRun wizard = Start(home, "20", "1"); // this user wants no colours
    wizard.ExpectPage(ActiveSyncVersionPage);
    wizard.Process().Type("\x03");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_FALSE(wizard.Process().Has("\033"));
}

TEST_F(AtTerminal, is_where_a_wizard_that_finds_no_desktop_shows_itself_and_is_ended_by_sigterm) {
    auto&& [home, image, cradle] = PcWithHandheld();
    WizardRun wizard(home, {{"ROM_WIZARD_DISPLAY", ""}, {"DISPLAY", ":4711"}});
    wizard.ExpectPage(UpgradeNoticePage);
    wizard.Process().Signal(SIGTERM);
    EXPECT_EQ(128 + SIGTERM, wizard.Wait());
}

} // namespace
