// The handheld's present ROM, saved into a file of the PC.
//
// Nothing goes over the flash link: a program on the handheld lays the ROM out piece by piece as
// one and the same file, and the PC fetches each piece over RAPI and deletes it, which is the sign
// for the next one. The handheld itself is not changed.
#pragma once

#include <cstdint>

constexpr std::uint32_t BackupPieceSize = 0x40000;

// Bytes of the handheld's ROM, a whole number of pieces. `languageFolder` and `versionText` as in
// State; a version that is no number counts as an early one.
std::uint32_t RomSize(const char* languageFolder, const char* versionText);

enum class BackupOutcome { Saved, ProgramDidNotStart, FileNotCreated, Failed };

// Writes State.Paths.BackupPath, on the worker of BackupPage, whose bar it moves. What a failure
// has written stays and does not verify.
BackupOutcome SaveRom();
