// Copying a PC file to the handheld, for everything that is pushed there.
#pragma once

#include "rapi/rapi.h"

#include <windows.h>

#include <functional>

// Bytes that go over in one write at most.
constexpr DWORD MaxCopyBlock = 4096;

// Opens the PC file, then the target, and copies in writes of `block`
// bytes, 1 to MaxCopyBlock; another number counts as the nearer of the two. `openTarget` is called
// only when the file has been opened; CeInvalidHandle from it is a failure. True when the whole
// file was written; both are closed on every way out, and what a failed copy leaves stays.
bool CopyToDevice(const char* pcPath, DWORD block, const std::function<CeHandle()>& openTarget);
