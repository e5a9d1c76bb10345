// Whole runs on the desktop by the keyboard alone: an upgrade with its resume, and a backup with
// its restore.

#include "testing/comes_true.h"
#include "testing/login_manager.h"
#include "testing/x_desktop.h"
#include "tests/roads/road.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>

namespace {

using namespace road;
using test_support::ComesTrue;
using test_support::Environment;
using test_support::XDesktop;

class Desk : public testing::Test {
protected:
    Environment Variables() const {
        Environment variables = desktop_.Variables();
        variables.emplace_back("QT_QPA_PLATFORMTHEME", "gnome"); // has keys of its own for buttons
        variables.emplace_back("HOME", home_.Path().string());
        return variables;
    }
    // On a page, one key after the other.
    void Press(int page, std::initializer_list<const char*> keys) {
        desktop_.AwaitPage(page);
        for (const char* key : keys)
            desktop_.Press(key);
    }

    void AwaitAndPress(const char* window, const char* key) {
        desktop_.AwaitWindow(window);
        desktop_.Press(key);
    }
    void GoToActionChoice(const char* link) {
        Press(UpgradeNoticePage, {"Return"});
        Press(WelcomePage, {"space"});
        Press(HostChecklistPage, {"Alt+s"});
        Press(DeviceChecklistPage, {"Tab", "Shift+Tab", "Return"});
        // The first of the two has the focus and is not chosen yet.
        Press(ConnectionTypePage, {link == Usb ? "space" : "Down", "Return"});
        desktop_.AwaitPage(ActionChoicePage);
    }
    void ConfirmWithoutBackup() {
        Press(VersionConfirmPage, {"Return"});
        Press(BackupChoicePage, {"Tab", "Tab", "Return"}); // past the one that leaves
        Press(UpgradeReadyPage, {"Return"});
    }
    void FinishUpgrade(WizardRun& wizard, int lastPage) {
        Press(UpgradeDonePage, {"space"});
        home_.AwaitConnectionManager();
        Press(lastPage, {"Tab", "space", "Return"}); // with the readme's mark cleared
        EXPECT_EQ(0, wizard.Wait());
    }

    TestHome home_;
    XDesktop desktop_;
};

// A stray byte in the transfer ends the first run; the second one finds its record.
TEST_F(Desk, leads_through_an_upgrade_that_fails_and_its_resume) {
    const auto image = home_.AddLanguageFolder();
    Cradle cradle(home_, {.run = {"--stray-at", "2"}});
    {
        WizardRun wizard(home_, Variables());
        GoToActionChoice(Serial);
        Press(ActionChoicePage, {"Tab", "Return"});
        ConfirmWithoutBackup();
        Press(UpgradeErrorPage, {"space"});
        EXPECT_EQ(0, wizard.Wait());
    }
    EXPECT_TRUE(HasProgressRecord(home_));
    cradle.Reset();
    test_support::LoginManager bus;
    Environment variables = Variables();
    std::ranges::copy(bus.Variables(), std::back_inserter(variables));
    WizardRun wizard(home_, variables);
    desktop_.AwaitPage(ProgressPage);
    desktop_.Press("Escape"); // nothing comes of it
    FinishUpgrade(wizard, FinishPage);
    bus.Process().ExpectLine("progress none"); // in the task bar
    std::vector<int> progress;
    for (const std::string& line : bus.Process().Lines()) {
        int percent = 0;
        if (std::sscanf(line.c_str(), "progress %d", &percent) == 1)
            progress.push_back(percent);
    }
    EXPECT_GT(progress.size(), 2U);
    EXPECT_TRUE(std::ranges::is_sorted(progress));
    EXPECT_TRUE(cradle.FlashEquals(image));
    EXPECT_EQ("", cradle.Refused());
}

TEST_F(Desk, saves_a_backup_upgrades_and_restores_the_backup) {
    home_.AddLanguageFolder();
    Cradle cradle(home_, {.flashMegabytes = 16});
    const auto saved = home_.Path("Documents/TOLKROM110.nbf");
    std::filesystem::create_directory(saved.parent_path());
    {
        WizardRun wizard(home_, Variables());
        GoToActionChoice(Usb);
        Press(ActionChoicePage, {"Alt+m"});
        Press(VersionConfirmPage, {"Return"});
        Press(BackupChoicePage, {"Alt+u"});
        AwaitAndPress("file-dialog",
                      "Escape"); // the page is up as before, the focus on the same button
        Press(BackupChoicePage, {"Return"});
        AwaitAndPress("file-dialog", "Return"); // with the name that is proposed
        Press(UpgradeReadyPage, {"Return"});
        FinishUpgrade(wizard, FinishUsbPage);
        cradle.Handheld().ExpectLine(": complete");
    }
    EXPECT_FALSE(cradle.FlashEquals(saved));
    cradle.Reset();
    WizardRun wizard(home_, Variables());
    GoToActionChoice(Serial);
    Press(ActionChoicePage, {"Tab", "Tab", "space"});
    desktop_.AwaitWindow("file-dialog"); // in the user's own folder
    desktop_.Type(saved.filename().string());
    desktop_.Press("Return");
    ConfirmWithoutBackup();
    FinishUpgrade(wizard, FinishPage);
    EXPECT_TRUE(cradle.FlashEquals(saved));
}

// Counts the colours of a picture of the screen, four bytes a pixel.
std::size_t Colours(const std::vector<std::uint8_t>& picture) {
    std::set<std::array<std::uint8_t, 4>> colours;
    for (std::size_t at = 0; at + 4 <= picture.size(); at += 4)
        colours.insert({picture[at], picture[at + 1], picture[at + 2], picture[at + 3]});
    return colours.size();
}

// The handheld never reports its flash size, so the wizard is in a wait that serves no messages.
TEST_F(Desk, the_picture_is_drawn_anew_while_the_wizard_blocks) {
    home_.AddLanguageFolder();
    Cradle cradle(home_, {.run = {"--no-type-file"}});
    Environment variables = Variables();
    variables.emplace_back("ROM_WIZARD_CLOCK", "1");
    WizardRun wizard(home_, variables);
    for (const int page : {UpgradeNoticePage, WelcomePage, HostChecklistPage, DeviceChecklistPage})
        Press(page, {"Return"});
    Press(ConnectionTypePage, {"space", "Return"});
    cradle.Handheld().ExpectLine("CreateProcess \\Temp\\Tesselor.exe");
    desktop_.AwaitPage(BusyPage);
    std::vector<std::uint8_t> before, now = desktop_.Screenshot();
    ASSERT_TRUE(ComesTrue([&] { // drawn, with the shades of its letters, and not a bare window
        before.swap(now);
        now = desktop_.Screenshot();
        return now == before && Colours(now) > 2;
    }));
    desktop_.ForceRedraw();
    EXPECT_TRUE(ComesTrue([&] { return desktop_.Screenshot() == before; }));
    EXPECT_TRUE(desktop_.Shows("page-" + std::to_string(BusyPage)));
    wizard.Process().Signal(SIGKILL);
}

} // namespace
