// The pages of a running transfer. The two of an upgrade show the same template; they differ in the
// worker.
#pragma once

#include "frame/page.h"

extern const Page ProgressPage;       // starts UpgradeThread: 1 all went out, 2 stalled
extern const Page ResumeProgressPage; // starts ResumeThread
extern const Page BackupPage;         // starts BackupThread: 1 saved, 2 the worker did not start
