// Whole runs on the desktop, by the keyboard alone: an upgrade, and a backup with its restore.

#include "testing/comes_true.h"
#include "testing/login_manager.h"
#include "testing/x_desktop.h"
#include "tests/roads/road.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
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
        for (const char* folder : {"XDG_RUNTIME_DIR", "HOME"})
            variables.emplace_back(folder, home_.Path().string());
        return variables;
    }
    // On each page in turn, one key after the other.
    void Press(int page, std::initializer_list<const char*> keys) {
        desktop_.AwaitPage(page);
        for (const char* key : keys)
            desktop_.Press(key);
    }
    // In the user's own folder, where the dialog starts: the folders of a longer path are read
    // while it is typed, and Enter may come before that is done.
    void EnterFileName(const std::filesystem::path& file) {
        desktop_.AwaitWindow("file-dialog");
        desktop_.Press("Control+a");
        desktop_.Type(file.filename().string());
        desktop_.Press("Return");
    }
    void GoToActionChoice(const char* link) {
        for (const int page :
             {UpgradeNoticePage, WelcomePage, HostChecklistPage, DeviceChecklistPage})
            Press(page, {"Return"});
        // The first of the two has the focus and is not chosen yet.
        if (link == Usb)
            Press(ConnectionTypePage, {"space", "Return"});
        else
            Press(ConnectionTypePage, {"Down", "space", "Return"});
        desktop_.AwaitPage(ActionChoicePage);
    }
    void ConfirmWithoutBackup() {
        Press(VersionConfirmPage, {"Return"});
        Press(BackupChoicePage, {"Tab", "Tab", "Return"}); // past the one that leaves
        Press(UpgradeReadyPage, {"Return"});
    }
    void FinishUpgrade(WizardRun& wizard, int lastPage) {
        Press(UpgradeDonePage, {"Return"});
        home_.AwaitConnectionManager();
        Press(lastPage, {"Tab", "space", "Return"}); // no readme
        EXPECT_EQ(0, wizard.Wait());
    }

    TestHome home_;
    XDesktop desktop_;
};

TEST_F(Desk, an_upgrade_needs_only_the_keyboard_and_shows_its_progress_in_the_task_bar) {
    const auto image = home_.AddLanguageFolder();
    Cradle cradle(home_);
    test_support::LoginManager bus;
    Environment variables = Variables();
    for (const auto& variable : bus.Variables())
        variables.push_back(variable);
    WizardRun wizard(home_, variables);
    GoToActionChoice(Serial);
    Press(ActionChoicePage, {"Tab", "Return"});
    ConfirmWithoutBackup();
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

TEST_F(Desk, a_backup_is_saved_and_restored_by_the_keyboard) {
    home_.AddLanguageFolder();
    Cradle cradle(home_, {.flashMegabytes = 16});
    const auto saved = home_.Path("Documents/saved.nbf");
    std::filesystem::create_directory(saved.parent_path());
    {
        WizardRun wizard(home_, Variables());
        GoToActionChoice(Usb);
        Press(ActionChoicePage, {"Alt+m"});
        Press(VersionConfirmPage, {"Return"});
        Press(BackupChoicePage, {"Alt+u"});
        desktop_.AwaitWindow("file-dialog");
        desktop_.Press("Escape"); // the page is up as before
        Press(BackupChoicePage, {"Alt+u"});
        EnterFileName(saved);
        Press(UpgradeReadyPage, {"Return"});
        FinishUpgrade(wizard, FinishUsbPage);
        cradle.Handheld().ExpectLine(": complete");
    }
    EXPECT_FALSE(cradle.FlashEquals(saved));
    cradle.Reset();
    WizardRun wizard(home_, Variables());
    GoToActionChoice(Serial);
    Press(ActionChoicePage, {"Tab", "Tab", "space"});
    EnterFileName(saved);
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
