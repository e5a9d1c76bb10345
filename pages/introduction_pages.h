// The pages that tell the user what is coming, and the warning of a handheld on its battery.
#pragma once

#include "frame/page.h"

enum IntroductionResult : INT_PTR { IntroductionNext = 0, IntroductionCancel = 1 };

extern const Page UpgradeNoticePage;
extern const Page WelcomePage;
extern const Page HostChecklistPage;
extern const Page DeviceChecklistPage;

// Warning 111, once the link has been chosen. It reads the handheld's power while it is up.
extern const Page PowerWarningPage;
