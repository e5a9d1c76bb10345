// The pages on which the user commits to something.
#pragma once

#include "frame/page.h"

extern const Page ConnectionTypePage;
enum ConnectionTypeResult : INT_PTR {
    ConnectionTypeNext = 0, // SerialLinkSelected is set
    ConnectionTypeCancel = 1,
};

extern const Page ActionChoicePage;
enum ActionChoiceResult : INT_PTR {
    ActionChoiceEnter = 0, // the Enter key, which leaves like Cancel
    ActionChoiceCancel = 1,
    ActionChoiceUpgrade = 1035, // IDC_UPGRADE and IDC_RESTORE
    ActionChoiceRestore = 1036,
};

extern const Page BackupChoicePage;
enum BackupChoiceResult : INT_PTR {
    BackupChoiceNone = 1,
    BackupChoiceCancel = 2,
    BackupChoiceFile = 1000, // BackupPath names it
};

extern const Page VersionConfirmPage, UpgradeReadyPage;
enum ConfirmResult : INT_PTR { ConfirmNext = 1, ConfirmCancel = 2 };
