// What tests of whole runs share: the usual pages in their order, answered as a user would.
#pragma once

#include "testing/cradle.h"
#include "testing/pc_registry.h"
#include "testing/wizard_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace road {

using test_support::AppendToRegistry;
using test_support::Cradle;
using test_support::CradleOptions;
using test_support::HasProgressRecord;
using test_support::ImageOptions;
using test_support::IsMarkedCritical;
using test_support::TestHome;
using test_support::WizardRun;

using namespace test_support::pages;

// A folder tree with an image, and a handheld in its cradle.
struct PcWithHandheld {
    explicit PcWithHandheld(const CradleOptions& options = {}) : cradle(home, options) {}

    TestHome home;
    const std::filesystem::path image = home.AddLanguageFolder();
    Cradle cradle;
};

inline void PassIntroduction(WizardRun& wizard) {
    wizard.Answer(UpgradeNoticePage, "1181");
    wizard.Answer(WelcomePage, "1");
    wizard.Answer(HostChecklistPage, "1");
    wizard.Answer(DeviceChecklistPage, "1");
}

// Makes COM2 the port of the handheld and of ActiveSync; by default both use COM1.
inline void MoveToSecondPort(const TestHome& home) {
    const auto ports = home.Home() / "ports";
    std::filesystem::remove(ports / "COM2");
    std::filesystem::copy_symlink(ports / "COM1", ports / "COM2");
    std::filesystem::remove(ports / "COM1");
    std::filesystem::create_symlink("no such port", ports / "COM1");
    AppendToRegistry(home, "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows CE Services]\n"
                           "\"SerialPort\"=\"COM2\"\n");
}

// The one that is marked last counts.
inline void ChooseLink(WizardRun& wizard, const std::string& link) {
    wizard.ExpectPage(BusyPage);
    wizard.Answer(ConnectionTypePage, link == Usb ? Serial : Usb);
    wizard.Send(link);
    wizard.Send("1");
}

// From the start to the choice of the action, with the image verified.
inline void GoToActionChoice(WizardRun& wizard, const char* link = Serial) {
    PassIntroduction(wizard);
    ChooseLink(wizard, link);
    wizard.ExpectPages({BusyPage, BusyPage, ActionChoicePage}); // identification, verification
}

inline void ChooseUpgrade(WizardRun& wizard, const char* link = Serial) {
    GoToActionChoice(wizard, link);
    wizard.Send("1035");
}

// From the choice of the action to the check of the file that is to be restored.
inline void ChooseRestore(WizardRun& wizard, const std::string& file) {
    wizard.Send("1036");
    wizard.ExpectLine("== open ==");
    wizard.Send(file);
    wizard.ExpectPage(BusyPage);
}

inline void ConfirmUpgrade(WizardRun& wizard) {
    wizard.Answer(VersionConfirmPage, "1");
    wizard.Answer(BackupChoicePage, "1");
    wizard.Answer(UpgradeReadyPage, "1");
}

// From the confirmation of the version to the backup, which is then under way.
inline void GoToBackup(WizardRun& wizard, const std::string& file) {
    wizard.Answer(VersionConfirmPage, "1");
    wizard.Answer(BackupChoicePage, "1030");
    wizard.ExpectLine("== save ==");
    wizard.Send(file);
}

// Up to the transfer, which is then under way.
inline void GoToTransfer(WizardRun& wizard, const char* link = Serial) {
    ChooseUpgrade(wizard, link);
    ConfirmUpgrade(wizard);
    wizard.ExpectPage(PreparePage);
    wizard.ExpectEnd(PreparePage);
    wizard.ExpectPage(ProgressPage);
}

// The run ends with this page, by its Quit button.
inline void ExpectQuit(WizardRun& wizard, int page, const std::string& button = "2") {
    wizard.Answer(page, button);
    EXPECT_EQ(0, wizard.Wait());
    EXPECT_EQ(page, wizard.Pages().back());
}

// From the end of the transfer to that of the run. On USB the last page is another one than on a
// serial link.
inline void FinishUpgrade(WizardRun& wizard, int lastPage = FinishPage) {
    wizard.Answer(UpgradeDonePage, "1181");
    wizard.Home().AwaitConnectionManager();
    wizard.ExpectPage(lastPage);
    wizard.Send("1134"); // no readme
    wizard.Send("1");
    EXPECT_EQ(0, wizard.Wait());
}

} // namespace road
