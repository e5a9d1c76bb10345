// The device-side programs and their data files.
//
// The simulator does what they would do; the files are what the wizard pushes. Each begins with a
// line that names it and ends with the CRC-32 of all before, so that a file that was pushed only in
// part is not run.
#pragma once

#include "simulator/host_files.h"

namespace simulator {

constexpr std::string_view IdentityProgram = "Morvikor.exe"; // on every handheld from the start
constexpr std::string_view FlashSizeProgram = "Tesselor.exe";
constexpr std::string_view BackupProgram = "sarvel.exe";
constexpr std::string_view FlashProgram = "Harbel_Link.exe";
constexpr std::string_view SerialFlasher = "harbel_line.nb";
constexpr std::string_view UsbFlasher = "harbel_bus.nb";
constexpr std::string_view ClockLibrary = "Clepsa.dll";

// The whole file of that agent, so many bytes long.
Bytes MakeAgent(std::string_view name, std::size_t size);

// The file is what MakeAgent gives for this name, of whatever size.
bool IsWholeAgent(std::span<const std::uint8_t> file, std::string_view name);

// All files that belong beside an image: the agents, module.dat and readme.doc. Makes the folder.
void MakeAgents(const std::filesystem::path& folder);

// The module.dat of MakeAgents names this file first; a new handheld has it in \Windows.
constexpr std::string_view OldModule = "OldPlayer.exe";

} // namespace simulator
