// Whole runs on the desktop, by the keyboard alone and by the mouse alone: an upgrade with its
// resume, and a backup with its restore.

#include "platform/windows/dialog_template.h"
#include "platform/windows/resources.h"
#include "testing/comes_true.h"
#include "testing/login_manager.h"
#include "testing/x_desktop.h"
#include "tests/roads/road.h"

#include <winuser.h>

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

// By the keyboard alone, or by the mouse alone.
enum class Hand { Keyboard, Mouse };

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

    TestHome home_;
    XDesktop desktop_;
};

class EitherHand : public Desk, public testing::WithParamInterface<Hand> {
protected:
    EitherHand() {
        platform::UseResources(resources_.data(), resources_.data() + resources_.size());
    }
    bool HasMouse() const { return GetParam() == Hand::Mouse; }

    // A control of a page, by a click or by keys.
    void Use(int page, int control, std::initializer_list<const char*> keys) {
        if (!HasMouse())
            return Press(page, keys);
        desktop_.AwaitPage(page);
        EXPECT_TRUE(Click(page, control));
    }
    // In the middle of where the template has the control.
    bool Click(int page, int control) {
        const auto bytes =
            platform::FindResourceData(platform::DialogResource, static_cast<std::uint16_t>(page));
        const auto dialog = platform::ReadDialogTemplate(bytes.value());
        for (const auto& place : dialog.value().controls)
            if (place.id == control)
                return desktop_.Click("page-" + std::to_string(page),
                                      platform::PixelsAcross(place.x + place.width / 2),
                                      platform::PixelsDown(place.y + place.height / 2));
        return false;
    }
    // The one of the two buttons of the file dialog that takes its name or that calls it off.
    bool ClickInDialog(bool take) { return desktop_.Click("file-dialog", -51, take ? -53 : -23); }
    void AnswerDialog(bool take) {
        desktop_.AwaitWindow("file-dialog");
        if (HasMouse())
            EXPECT_TRUE(ClickInDialog(take));
        else
            desktop_.Press(take ? "Return" : "Escape");
    }
    // In the user's own folder, where the dialog starts and where no other file is.
    void OpenFile(const std::filesystem::path& file) {
        desktop_.AwaitWindow("file-dialog");
        if (HasMouse()) // as soon as the folder has been read
            EXPECT_TRUE(ComesTrue([&] {
                return !desktop_.Click("file-dialog", 180, 70) || !ClickInDialog(true) ||
                       !desktop_.Shows("file-dialog");
            }));
        else
            desktop_.Type(file.filename().string()), desktop_.Press("Return");
    }

    void GoToActionChoice(const char* link) {
        Use(UpgradeNoticePage, Next, {"Return"});
        Use(WelcomePage, IDOK, {"space"});
        Use(HostChecklistPage, IDOK, {"Alt+s"});
        Use(DeviceChecklistPage, IDOK, {"Tab", "Shift+Tab", "Return"});
        // The first of the two has the focus and is not chosen yet.
        Use(ConnectionTypePage, std::atoi(link), {link == Usb ? "space" : "Down"});
        if (HasMouse()) // once the page has turned the button on
            EXPECT_TRUE(ComesTrue([&] { return !Click(ConnectionTypePage, IDOK); }));
        else
            Press(ConnectionTypePage, {"Return"});
        desktop_.AwaitPage(ActionChoicePage);
    }
    void ConfirmWithoutBackup() {
        Use(VersionConfirmPage, IDOK, {"Return"});
        Use(BackupChoicePage, IDOK, {"Tab", "Tab", "Return"}); // past the one that leaves
        Use(UpgradeReadyPage, IDOK, {"Return"});
    }
    void FinishUpgrade(WizardRun& wizard, int lastPage) {
        Use(UpgradeDonePage, Next, {"space"});
        home_.AwaitConnectionManager();
        Use(lastPage, Readme, {"Tab", "space"}); // cleared
        Use(lastPage, IDOK, {"Return"});
        EXPECT_EQ(0, wizard.Wait());
    }

    static constexpr int Next = 1181, Upgrade = 1035, Restore = 1036, Save = 1030, Readme = 1134;

private:
    const std::string resources_ = test_support::ReadBytes(BUILD_FOLDER "/wizard.res");
};

// A stray byte in the transfer ends the first run; the second one finds its record.
TEST_P(EitherHand, leads_through_an_upgrade_that_fails_and_its_resume) {
    const auto image = home_.AddLanguageFolder();
    Cradle cradle(home_, {.run = {"--stray-at", "2"}});
    {
        WizardRun wizard(home_, Variables());
        GoToActionChoice(Serial);
        Use(ActionChoicePage, Upgrade, {"Tab", "Return"});
        ConfirmWithoutBackup();
        Use(UpgradeErrorPage, IDCANCEL, {"space"});
        EXPECT_EQ(0, wizard.Wait());
    }
    EXPECT_TRUE(HasProgressRecord(home_));
    cradle.Reset();
    test_support::LoginManager bus;
    Environment variables = Variables();
    std::ranges::copy(bus.Variables(), std::back_inserter(variables));
    WizardRun wizard(home_, variables);
    desktop_.AwaitPage(ProgressPage);
    if (!HasMouse())
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

TEST_P(EitherHand, saves_a_backup_upgrades_and_restores_the_backup) {
    home_.AddLanguageFolder();
    Cradle cradle(home_, {.flashMegabytes = 16});
    const auto saved = home_.Path("Documents/TOLKROM110.nbf");
    std::filesystem::create_directory(saved.parent_path());
    {
        WizardRun wizard(home_, Variables());
        GoToActionChoice(Usb);
        Use(ActionChoicePage, Upgrade, {"Alt+m"});
        Use(VersionConfirmPage, IDOK, {"Return"});
        Use(BackupChoicePage, Save, {"Alt+u"});
        AnswerDialog(false); // the page is up as before, the focus on the same button
        Use(BackupChoicePage, Save, {"Return"});
        AnswerDialog(true); // with the name that is proposed
        Use(UpgradeReadyPage, IDOK, {"Return"});
        FinishUpgrade(wizard, FinishUsbPage);
        cradle.Handheld().ExpectLine(": complete");
    }
    EXPECT_FALSE(cradle.FlashEquals(saved));
    cradle.Reset();
    WizardRun wizard(home_, Variables());
    GoToActionChoice(Serial);
    Use(ActionChoicePage, Restore, {"Tab", "Tab", "space"});
    OpenFile(saved);
    ConfirmWithoutBackup();
    FinishUpgrade(wizard, FinishPage);
    EXPECT_TRUE(cradle.FlashEquals(saved));
}

INSTANTIATE_TEST_SUITE_P(All, EitherHand, testing::Values(Hand::Keyboard, Hand::Mouse),
                         [](const auto& hand) {
                             return hand.param == Hand::Keyboard ? "keyboard" : "mouse";
                         });

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
