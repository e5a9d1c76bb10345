// The pages before the wizard has anything to decide: 0 to go on, 1 to leave.
#pragma once

#include "frame/page.h"

extern const Page UpgradeNoticePage;
extern const Page WelcomePage;
extern const Page HostChecklistPage;
extern const Page DeviceChecklistPage;
extern const Page PowerWarningPage; // 111
