// What road tests share: a handheld in its cradle, a folder tree, and the pages of the usual road.
#pragma once

#include "tests/support/cradle.h"
#include "tests/support/wizard_run.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace road {

using test_support::Cradle;
using test_support::CradleOptions;
using test_support::ImageOptions;
using test_support::TestHome;
using test_support::WizardRun;

// Page numbers as the terminal tells them.
enum Page {
    ProgressPage = 102,
    WelcomePage = 103,
    PowerWarningPage = 105,
    ActionChoicePage = 109,
    UpgradeErrorPage = 114,
    HostChecklistPage = 121,
    BusyPage = 122,
    IncompatibleImagePage = 123,
    VersionConfirmPage = 124,
    BackupChoicePage = 125,
    UpgradeReadyPage = 130,
    ConnectionErrorPage = 138,
    ChecksumErrorPage = 139,
    ImageMissingPage = 140,
    ImageOpenErrorPage = 141,
    CommunicationErrorPage = 142,
    PortErrorPage = 143,
    RemoteProgramErrorPage = 144,
    ModuleDataErrorPage = 146,
    ImageTooLargePage = 151,
    PreparePage = 153,
    ConnectionTypePage = 158,
    FinishPage = 160,
    DeviceChecklistPage = 161,
    ActiveSyncVersionPage = 165,
    UpgradeNoticePage = 166,
    UpgradeDonePage = 167,
};

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
    wizard.ExpectPage(FinishPage);
    wizard.Send("1134"); // no readme
    wizard.Send("1");
}

// The registry of the PC, as it is on the disk.
inline std::string PcRegistry(const TestHome& home) {
    std::ifstream file(home.Home() / "registry.reg");
    return {std::istreambuf_iterator<char>(file), {}};
}

inline bool HasProgressRecord(const TestHome& home) {
    return PcRegistry(home).find("\"Flash\"=dword:00000001") != std::string::npos;
}

inline bool IsMarkedCritical(const TestHome& home) {
    return PcRegistry(home).find("\"Critical\"=dword:00000001") != std::string::npos;
}

} // namespace road
