// The PC stays awake and on while a backup or a transfer runs, and no longer.

#include "testing/login_manager.h"
#include "tests/roads/road.h"

namespace {

using namespace road;
using test_support::LoginManager;

void ExpectKept(LoginManager& manager, const char* why) {
    manager.Process().ExpectLine("inhibited sleep:idle block");
    manager.Process().ExpectLine(std::string("inhibited shutdown block ") + why);
}
void ExpectReleased(LoginManager& manager) {
    for (int lock = 0; lock < 2; ++lock)
        manager.Process().ExpectLine("released");
}

TEST(Awake, the_pc_is_kept_from_sleep_and_shutdown_by_a_backup_and_by_a_transfer) {
    TestHome home;
    home.AddLanguageFolder();
    LoginManager manager;
    Cradle cradle(home, {.flashMegabytes = 16, .run = {"--silent-at", "start"}});
    WizardRun wizard(home, manager.Variables());
    ChooseUpgrade(wizard);
    EXPECT_FALSE(manager.Process().Has("inhibited"));
    GoToBackup(wizard, home.Path("saved.nbf").string());
    wizard.ExpectPages({BackupPage, UpgradeReadyPage});
    ExpectKept(manager, "Sauvegarde de l'image ROM actuelle.");
    ExpectReleased(manager);
    wizard.Send("1");
    wizard.ExpectPage(PreparePage);
    wizard.ExpectPage(ProgressPage); // whose transfer gets no answer
    ExpectKept(manager, "Mise à niveau de l'image ROM sur votre Tolk Pocket PC...");
    EXPECT_EQ(0u, manager.Process().Lines().back().find("inhibited"));
    wizard.ExpectPage(UpgradeErrorPage);
    ExpectReleased(manager);
    wizard.Send("");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(0u, manager.Process().Lines().back().find("released"));
}

} // namespace
