// The PC stays awake while a backup or a transfer runs, and no longer.

#include "testing/comes_true.h"
#include "testing/login_manager.h"
#include "tests/roads/road.h"

namespace {

using namespace road;
using test_support::LoginManager;

void ExpectHeld(LoginManager& manager, int count) {
    EXPECT_TRUE(test_support::ComesTrue([&] { return manager.HeldLocks() == count; }))
        << manager.HeldLocks();
}

TEST(Awake, the_pc_is_kept_from_sleeping_by_a_backup_and_by_a_transfer) {
    TestHome home;
    home.AddLanguageFolder();
    LoginManager manager(home.Path().string());
    Cradle cradle(home, {.flashMegabytes = 16, .run = {"--silent-at", "start"}});
    WizardRun wizard(home, manager.Variables());
    ChooseUpgrade(wizard);
    EXPECT_TRUE(manager.Requests().empty());
    GoToBackup(wizard, home.Path("saved.nbf").string());
    wizard.ExpectPages({BackupPage, UpgradeReadyPage});
    ExpectHeld(manager, 0);
    wizard.Send("1");
    wizard.ExpectPage(PreparePage);
    wizard.ExpectPage(ProgressPage); // whose transfer gets no answer
    ExpectHeld(manager, 1);
    wizard.ExpectPage(UpgradeErrorPage);
    wizard.Send("");
    EXPECT_EQ(0, wizard.Wait());
    ExpectHeld(manager, 0);
    EXPECT_EQ((std::vector<std::string>(2, "sleep:idle block")), manager.Requests());
}

} // namespace
