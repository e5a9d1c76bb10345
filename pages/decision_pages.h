// The pages on which the user commits to something.
#pragma once

#include "frame/page.h"

extern const Page ConnectionTypePage; // 0 with SerialLinkSelected set, 1 leave
extern const Page ActionChoicePage;   // 1035 upgrade, 1036 restore, 1 leave, 0 the Enter key
extern const Page VersionConfirmPage; // 1 go on, 2 leave
extern const Page BackupChoicePage;   // 1 no backup, BackupFileChosen, 2 leave
extern const Page UpgradeReadyPage;   // 1 go on, 2 leave

constexpr INT_PTR BackupFileChosen = 1000; // BackupPath names it
