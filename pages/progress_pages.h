// The pages of a running transfer. The two of an upgrade show the same template; they differ in the
// worker.
#pragma once

#include "frame/page.h"

extern const Page ProgressPage;       // starts UpgradeThread: a TransferResult, see link/stall.h
extern const Page ResumeProgressPage; // starts ResumeThread: the same
extern const Page BackupPage;         // starts BackupThread

enum BackupResult : INT_PTR {
    BackupSaved = 1,
    BackupNotStarted = 2, // there is no worker
};
