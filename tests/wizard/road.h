// What road tests share: a handheld in its cradle, a folder tree, and the pages of the usual road.
#pragma once

#include "tests/support/cradle.h"
#include "tests/support/pc_registry.h"
#include "tests/support/wizard_run.h"

#include <gtest/gtest.h>

#include <string>

namespace road {

using test_support::Cradle;
using test_support::CradleOptions;
using test_support::HasProgressRecord;
using test_support::ImageOptions;
using test_support::IsMarkedCritical;
using test_support::TestHome;
using test_support::WizardRun;

using namespace test_support::pages;

inline void PassIntroduction(WizardRun& wizard) {
    wizard.Answer(UpgradeNoticePage, "1181");
    wizard.Answer(WelcomePage, "1");
    wizard.Answer(HostChecklistPage, "1");
    wizard.Answer(DeviceChecklistPage, "1");
}

inline void ChooseSerial(WizardRun& wizard) {
    wizard.ExpectPage(BusyPage);
    wizard.Answer(ConnectionTypePage, "1151");
    wizard.Send("1");
}

// From the start to the choice of the action, with the image verified.
inline void GoToActionChoice(WizardRun& wizard) {
    PassIntroduction(wizard);
    ChooseSerial(wizard);
    wizard.ExpectPage(BusyPage); // identification
    wizard.ExpectPage(BusyPage); // verification
    wizard.ExpectPage(ActionChoicePage);
}

inline void ConfirmUpgrade(WizardRun& wizard) {
    wizard.Answer(VersionConfirmPage, "1");
    wizard.Answer(BackupChoicePage, "1");
    wizard.Answer(UpgradeReadyPage, "1");
}

// Up to the transfer, which is then under way.
inline void GoToTransfer(WizardRun& wizard) {
    GoToActionChoice(wizard);
    wizard.Send("1035");
    ConfirmUpgrade(wizard);
    wizard.ExpectPage(PreparePage);
    wizard.ExpectPage(ProgressPage);
}

inline void FinishUpgrade(WizardRun& wizard) {
    wizard.Answer(UpgradeDonePage, "1181");
    wizard.Home().AwaitConnectionManager();
    wizard.ExpectPage(FinishPage);
    wizard.Send("1134"); // no readme
    wizard.Send("1");
}

} // namespace road
