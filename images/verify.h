// The check of a whole image file against the checksum of its header.
#pragma once

#include <windows.h>

enum class Verification {
    Passed,
    Mismatch, // the caller shows ChecksumErrorPage
    Ended,    // a failure page has been shown and MainWindow closed
};

// Works on State.Paths.ImagePath, whose header ReadImageHeader has read before. Carries out the
// module list of the language folder on the handheld and asks it for its flash size. BusyPage,
// owned by `owner`, is up meanwhile. Main thread.
Verification VerifyImage(HWND owner);
