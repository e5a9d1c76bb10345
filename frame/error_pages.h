// The numbered failures: what the user can meet, each with its page. Whoever meets the failure
// shows the page and decides what follows.
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
extern const Page ModuleDataErrorPage;    // 108: 2 quit, 1 the Enter key: go on without
extern const Page BackupFailedPage;       // 109
extern const Page ImageTooLargePage;      // 110
extern const Page FileExistsPage;         // 112: 1 replace, 2 choose another
extern const Page ActiveSyncVersionPage;  // 115
