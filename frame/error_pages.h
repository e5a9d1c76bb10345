// The numbered failures: what the user can meet, each with its page.
//
// Where the failure is an end, EndRun shows the page; three of them are questions or leave a way
// on, and their results have names here. All others have one button, which quits.
#pragma once

#include "frame/page.h"

extern const Page IncompatibleImagePage;  // 100, of the mismatch flags it clears both
extern const Page ConnectionErrorPage;    // 101
extern const Page ChecksumErrorPage;      // 102
extern const Page ImageMissingPage;       // 103
extern const Page ImageOpenErrorPage;     // 104
extern const Page PortErrorPage;          // 105
extern const Page RemoteProgramErrorPage; // 106
extern const Page BackupSpaceErrorPage;   // 107
extern const Page ModuleDataErrorPage;    // 108: a ModuleDataErrorResult
extern const Page BackupFailedPage;       // 109
extern const Page ImageTooLargePage;      // 110
extern const Page FileExistsPage;         // 112: a FileExistsResult
extern const Page ActiveSyncVersionPage;  // 115

enum ModuleDataErrorResult : INT_PTR {
    ModuleDataErrorSkip = 1, // the Enter key: go on without the list
    ModuleDataErrorQuit = 2,
};

enum FileExistsResult : INT_PTR {
    FileExistsReplace = 1,
    FileExistsChooseOther = 2,
};
