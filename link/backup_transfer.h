// The handheld's present ROM, saved into a file of the PC.
//
// Nothing goes over the flash link: a program on the handheld lays the ROM out piece by piece as
// one and the same file, and the PC fetches each piece over RAPI and deletes it, which is the sign
// for the next one. The handheld itself is not changed.
#pragma once

#include <windows.h>

#include <cstdint>

constexpr std::uint32_t BackupPieceSize = 0x40000;

// Bytes of the handheld's ROM, a whole number of pieces. `languageFolder` and `versionText` as in
// State; a version that is no number counts as an early one.
std::uint32_t RomSize(const char* languageFolder, const char* versionText);

// The worker of BackupPage, of which it moves the bar: writes State.Paths.BackupPath, sets
// BackupDone and ends the page with 1. After a failure it has shown its page and ended the run;
// what has been written stays and does not verify.
DWORD WINAPI BackupThread(LPVOID);
