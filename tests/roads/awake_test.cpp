// The PC stays awake while a backup or a transfer runs, and no longer.

#include "testing/login_manager.h"
#include "tests/roads/road.h"

namespace {

using namespace road;
using test_support::LoginManager;

TEST(Awake, the_pc_is_kept_from_sleeping_by_a_backup_and_by_a_transfer) {
    TestHome home;
    home.AddLanguageFolder();
    LoginManager manager;
    Cradle cradle(home, {.flashMegabytes = 16, .run = {"--silent-at", "start"}});
    WizardRun wizard(home, manager.Variables());
    ChooseUpgrade(wizard);
    EXPECT_FALSE(manager.Process().Has("inhibited"));
    GoToBackup(wizard, home.Path("saved.nbf").string());
    wizard.ExpectPages({BackupPage, UpgradeReadyPage});
    manager.Process().ExpectLine("inhibited sleep:idle block");
    manager.Process().ExpectLine("released");
    wizard.Send("1");
    wizard.ExpectPage(PreparePage);
    wizard.ExpectPage(ProgressPage); // whose transfer gets no answer
    manager.Process().ExpectLine("inhibited sleep:idle block");
    EXPECT_NE("released", manager.Process().Lines().back());
    wizard.ExpectPage(UpgradeErrorPage);
    manager.Process().ExpectLine("released");
    wizard.Send("");
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ("released", manager.Process().Lines().back());
}

} // namespace
