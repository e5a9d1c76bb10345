// The pages on which the user commits to something.
#pragma once

#include "pages/frame.h"

extern const Page ConnectionTypePage; // 0 with SerialLinkSelected set, 1 leave
extern const Page ActionChoicePage;   // 1035 upgrade, 1036 restore, 1 leave, 0 the Enter key
extern const Page VersionConfirmPage; // 1 go on, 2 leave
extern const Page BackupChoicePage;   // 1 no backup, 1000 a file has been chosen, 2 leave
extern const Page UpgradeReadyPage;   // 1 go on, 2 leave
